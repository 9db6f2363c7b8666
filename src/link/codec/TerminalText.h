#pragma once

// The device's stream as terminal text: answer bytes taken out, line ends made CR LF.
// No windows.h.

#include <cstddef>
#include <cstdint>

// The device's one-byte answer to a command line, and the state while it is awaited.
enum CommandAnswer : std::uint32_t {
    AnswerNone = 0, // no line waits for one
    AnswerRefused = 1,
    AnswerAccepted = 2,
    AnswerPending = 255,
};

constexpr bool IsAnswerByte(std::uint8_t byte) {
    return byte == AnswerRefused || byte == AnswerAccepted;
}

// A linear input buffer: the valid bytes are at its front, one byte stays free.
struct InputBuffer {
    std::uint8_t* bytes;
    std::uint32_t size;
    std::uint32_t count;

    bool Full() const { return count + 1 >= size; }
};

// Appends device text: CR is dropped, LF becomes CR LF, answer bytes are taken out. It stops at
// the first byte that does not fit; that byte and everything after it are lost. Returns the
// first answer byte among the bytes taken, 0 when there was none.
std::uint8_t AppendText(InputBuffer& buffer, const std::uint8_t* bytes, std::size_t count);

// Appends bytes unchanged, as many as fit.
void AppendRaw(InputBuffer& buffer, const std::uint8_t* bytes, std::size_t count);

// Takes up to `count` bytes from the front into `out`; returns how many.
std::uint32_t TakeFront(InputBuffer& buffer, std::uint8_t* out, std::uint32_t count);
