#pragma once

// What a command line of ZoLink asks for. Texts are UTF-8.

#include <cstdint>
#include <string>
#include <vector>

enum class LinkCommand { None, Ports, Run, Send, Image, Receive, Boot, Listen, Macro };

struct LinkOptions {
    LinkCommand command = LinkCommand::None;

    std::int32_t port = 0;       // n of COMn
    std::uint32_t baud = 115200; // bits per second
    bool json = false;
    bool quiet = false; // errors only

    std::vector<std::string> lines; // Run
    double wait = 0.3;              // seconds of silence after the last answer
    bool keepsGoing = false;        // a failure does not end a batch

    std::vector<std::string> files; // Send
    std::string file;               // Image, Boot, Macro
    std::string folder = "default"; // on the device
    std::string as;                 // the name on the device; empty: the file's own
    std::uint32_t blockSize = 264;  // bytes, Image
    bool eager = false;             // no pauses
    bool reboot = false;            // Boot asks for the restart

    std::string name; // Receive: the file on the device
    std::string to;   // and where it goes; empty: here, under its name

    double seconds = 0; // Listen; 0: no limit
    std::string until;
    std::string log;
    bool timestamps = false;

    std::string section; // Macro
};
