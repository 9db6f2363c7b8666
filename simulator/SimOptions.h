#pragma once

// The command line of ZorbelSim.exe.

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace sim {

struct SimOptions {
    std::uint32_t port = 11; // the number of the COM port
    std::uint32_t baud = 115200;
    std::filesystem::path files;  // the host folder with the device's files; empty: no storage
    std::filesystem::path script; // the fault script; empty: none
    std::uint32_t pace = 0;
    std::uint32_t text = 0;
    std::uint32_t startDelay = 0;
    std::uint32_t replyDelay = 20;
    std::uint32_t restartPause = 500;
    std::uint32_t bootWait = 3000;
    std::uint32_t byNumber = 0;
    std::uint32_t hostile = 0; // the seed; 0: a device that behaves
};

// Reads the arguments after the program's name, in UTF-8. Returns what is wrong with them; an
// empty text when nothing is, with either `options` or, when the user asks for them, the help or
// the version in `help`.
std::string ParseOptions(const std::vector<std::string>& arguments, SimOptions& options,
                         std::string& help);

} // namespace sim
