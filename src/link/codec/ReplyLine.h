#pragma once

// The device's reply lines: collecting a line from the stream and finding out what it means.
// No windows.h.

#include <cstddef>
#include <cstdint>

// What the device's last reply line asked for. 4 is not used.
enum ReplyState : std::uint32_t {
    ReplyNone = 0,   // no transfer runs; lines are not looked at
    ReplyAck = 1,    // the last block arrived, or the device has restarted for a boot
    ReplyNack = 2,   // the last block is wanted again
    ReplyCancel = 3, // the device gave up
    ReplySend = 5,   // a block is wanted by its number
    ReplyDone = 6,   // all data arrived
};

// A line being collected. Characters beyond the capacity are dropped until the line ends.
struct LineBuffer {
    static constexpr std::uint32_t Capacity = 260;

    char text[Capacity + 2] = {}; // room for the line's own LF and the NUL
    std::uint32_t length = 0;
    std::uint32_t answerAt = 0; // how much came in front of an awaited answer byte

    void Add(char character);
    void DropFront(std::uint32_t count); // at most `length`
    void Clear();
};

struct Reply {
    ReplyState state = ReplyNone; // ReplyNone: the line is no reply
    std::uint32_t block = 0;      // the block wanted, for ReplySend
    bool shown = true;            // the line is terminal text too
    bool restarted = false;       // the device has restarted, and waits for its system
};

// Returns what a complete line (without CR and LF) means. Words count only as whole lines in
// lower case, except "send", which the block number follows directly.
Reply RecognizeReply(const char* line, std::size_t length);

// The value of a row of decimal digits, in 32-bit arithmetic that wraps. Nothing is validated: a
// character counts with its code minus 48, whatever it is. An empty text gives 0.
std::uint32_t ParseDecimal(const char* text, std::size_t length);
