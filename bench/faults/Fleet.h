#pragma once

// The terminals of the fault runs, each with a thread that carries out one run after another, and
// what they use together.

#include "rig/ComPeer.h"
#include "rig/Files.h"

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

struct FleetResult {
    int runs = 0;
    int failed = 0;
    bool grew = false; // threads, handles, GDI or USER objects
};

// Not the GUI thread, which has a dispatcher and carries out messages meanwhile. Runs the plans of
// `runs` seeds, from `seed` on, on one terminal for each pair of ports. Prints what fails, and how
// far it has come.
FleetResult RunFleet(const TestFolder& folder, const std::vector<ComPair>& pairs, int runs,
                     std::uint32_t seed);
