#pragma once

// Times before the lines of the output log. No windows.h.

#include <cstddef>

constexpr std::size_t LogTimeLength = 24; // of "2026-11-25 14:03:07.123 "

// Puts a time of that length before each line of a text that comes in pieces.
struct LogStamp {
    bool inLine = false; // the last piece ended within a line, which has its time

    // The bytes that Stamp will write.
    std::size_t StampedSize(const char* bytes, std::size_t count) const;
    void Stamp(const char* bytes, std::size_t count, const char* time, char* out);
};
