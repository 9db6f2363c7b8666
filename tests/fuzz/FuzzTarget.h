#pragma once

// What every fuzz target shares.

#include "link/codec/CodePage.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// A property of the code under test; the run ends where it does not hold.
inline void Demand(bool holds) {
    if (!holds)
        std::abort();
}

// One of the three kinds of code pages: of single bytes, with pairs, and UTF-8.
inline void ChooseCodePage(std::uint8_t number) {
    constexpr unsigned char Pairs[] = {0x81, 0x9F, 0xE0, 0xFC, 0, 0};
    UseCodePage(number % 3 == 1 ? Pairs : Pairs + 4, number % 3 == 2);
}

// True for a text that a console can show.
inline bool IsPrintable(std::string_view text) {
    return std::none_of(
        text.begin(), text.end(),
        [](char character) { return (character >= 0 && character < 0x20) || character == 0x7F; });
}
