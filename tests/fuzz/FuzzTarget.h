#pragma once

// What every fuzz target shares.

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// A property of the code under test; the run ends where it does not hold.
inline void Demand(bool holds) {
    if (!holds)
        std::abort();
}
