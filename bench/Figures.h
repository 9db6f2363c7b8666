#pragma once

// What the measures share: the rows that they print, the text that they stream.

#include <cstddef>
#include <string>

constexpr double NoBound = -1;
constexpr std::size_t StreamSize = 2U << 20; // bytes
constexpr double BitsOfAByte = 10;           // on the line

// Prints a figure beside its bound.
void Row(const std::string& what, double figure, const char* unit, double bound);

// Bytes of a streamed text of that size that are in a log, in order and one after another from
// its first line.
std::size_t ArrivedInLog(const std::string& log, std::size_t size = StreamSize);
