#pragma once

// What one fault run does, drawn from its seed: an operation, the faults of its line and device,
// what the user does meanwhile. The same seed gives the same plan everywhere.

#include "simulator/ZorbelDevice.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

enum class Work { Send, Receive, Image, Boot, Lines, Macro };

struct PlannedFile {
    std::string name;
    std::size_t size; // bytes
    bool goodName;    // the device takes it
};

enum class Deed {
    Cancel,
    OtherList, // hands another list over
    Line,      // types a line
    Stop,      // types "c", which ends the device's part of a transfer
    Reboot,    // Ctrl+R
    Clear,
    Dialog,       // opens a dialog and leaves it open for a while
    Rate,         // chooses another baud rate
    OtherPort,    // chooses no port, and the port again
    Unplug,       // the adapter, which comes back
    UnplugDevice, // the other end of the cable
    Close,        // the window, with whatever it does
};

struct PlannedDeed {
    std::uint64_t at; // ms after the start of the work
    Deed deed;
    std::uint32_t number; // what the deed is to be varied by
};

struct Plan {
    std::uint32_t seed = 0;
    Work work = Work::Send;
    std::vector<PlannedFile> files;
    std::vector<std::string> lines;
    std::string script;
    sim::DeviceSetup device;
    std::vector<PlannedDeed> deeds;
    std::uint64_t patience = 0;   // ms until the user cancels
    bool replaces = false;        // the file to receive is there already
    bool knowsNoFile = false;     // the device has no such file
    bool fast = false;            // settings
    bool asksForNames = false;    //
    bool showsSummary = false;    //
    bool showsProgress = false;   //
    bool dropsOldest = false;     //
    std::uint32_t imageBlock = 0; //
    bool lies = false;            // a fault makes the device say that it has what it has not

    // Nothing disturbs the work: all of it must succeed.
    bool Harmless() const { return script.empty() && deeds.empty() && !device.hostile; }

    // The batch ends as it begins.
    bool NamesNothing() const;
};

Plan DrawPlan(std::uint32_t seed);

// One line for each thing, for a log.
std::string Describe(const Plan& plan);

const char* NameOf(Deed deed);
