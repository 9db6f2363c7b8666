#pragma once

// The 16-bit checksum after every command line, and the line as it goes over the wire.
// No windows.h, no state of its own: the register belongs to the caller.

#include <cstddef>
#include <cstdint>

// Sets the register to its start value, 0.
void ResetCommandSum(std::uint32_t& sum);

// Folds one character into the register: exclusive or, then a shift left by one that brings bit
// 16 back in at the bottom. A character of 0x80 and above counts as negative.
void AddCommandSum(std::uint32_t& sum, char character);

// Bytes that a command line of `length` characters can take on the wire, LF and sum included.
constexpr std::size_t CommandLineRoom(std::size_t length) {
    return length + 5;
}

// Writes a command line as the device expects it: the text, an LF when it does not end in one,
// then the low and the high byte of the sum. The sum covers the text before the trailing CR and
// LF characters. `sum` is left at the line's register value. `out` holds at least
// CommandLineRoom(strlen(line)) bytes. Returns the number of bytes written.
std::size_t EncodeCommandLine(const char* line, std::uint32_t& sum, std::uint8_t* out);
