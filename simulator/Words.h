#pragma once

// Small helpers for the texts that people and the host write: words, numbers, printable text.

#include <cstdint>
#include <string>
#include <string_view>

namespace sim {

// Cuts the first word off `text`. Words are separated by blanks and tabs. Returns an empty view
// when no word is left. The blanks after the word are cut off, too.
std::string_view NextWord(std::string_view& text);

// The value of a row of decimal digits within [low, high]. False, with `value` left alone, for
// anything else.
bool ParseNumber(std::string_view digits, std::uint32_t low, std::uint32_t high,
                 std::uint32_t& value);

// `text` with its control characters replaced, so that it can be shown on a console and never
// holds a byte that the host takes for an answer.
std::string Printable(std::string_view text);

} // namespace sim
