#pragma once

// Where a send is in its file, and what the device's next reply makes it do. No windows.h.

#include "ReplyLine.h"

#include <cstdint>

enum class SendStep {
    NewFrame,    // write the block that the cursor points to
    RepeatFrame, // write the last frame once more
    Nothing,     // wait for the next reply
    Finish,      // all data arrived
    Cancel,      // give up
};

struct SendCursor {
    static constexpr std::uint32_t MostNacks = 3; // of one block

    std::uint32_t size = 0;      // of the file, in bytes
    std::uint32_t blockSize = 0; // at least 1
    std::uint32_t block = 0;     // the number of the next new frame
    std::uint32_t offset = 0;    // of the current frame's data in the file; the end at the end
    std::uint32_t length = 0;    // of the current frame's data, which lies within the file
    std::uint32_t end = 0;       // where the next "ack" goes on
    std::uint32_t nacks = 0;     // since the last "ack"
    std::uint32_t errors = 0;    // "nack" replies, and requests for an earlier or no block
    bool framed = false;         // a frame has been written
};

// Acts on a reply; `wanted` is the block number of a ReplySend. The caller writes the frame and
// then calls FrameWritten.
SendStep TakeReply(SendCursor& cursor, ReplyState reply, std::uint32_t wanted);

// The frame that TakeReply asked for is out.
void FrameWritten(SendCursor& cursor, SendStep step);
