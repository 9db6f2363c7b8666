#include "SendCursor.h"

#include <algorithm>

namespace {

SendStep Continue(SendCursor& cursor) {
    cursor.nacks = 0;
    cursor.offset = cursor.end;
    if (cursor.offset >= cursor.size) // beyond it once the device has asked by number
        return SendStep::Finish;
    cursor.length = std::min(cursor.blockSize, cursor.size - cursor.offset);
    cursor.end = cursor.offset + cursor.length;
    return SendStep::NewFrame;
}

// A block beyond the file's end is sent empty.
SendStep Jump(SendCursor& cursor, std::uint32_t wanted) {
    const std::uint64_t start = std::uint64_t{cursor.blockSize} * wanted;
    if (wanted < cursor.block || start >= cursor.size)
        ++cursor.errors;
    cursor.offset = static_cast<std::uint32_t>(std::min<std::uint64_t>(start, cursor.size));
    cursor.length = std::min(cursor.blockSize, cursor.size - cursor.offset);
    cursor.block = wanted;
    cursor.end += cursor.length; // grows by what was sent: it is not set to the block's end
    return SendStep::NewFrame;
}

SendStep Repeat(SendCursor& cursor) {
    if (!cursor.framed)
        return SendStep::Nothing;
    ++cursor.errors;
    return ++cursor.nacks > SendCursor::MostNacks ? SendStep::Cancel : SendStep::RepeatFrame;
}

} // namespace

SendStep TakeReply(SendCursor& cursor, ReplyState reply, std::uint32_t wanted) {
    switch (reply) {
    case ReplyAck: return Continue(cursor);
    case ReplySend: return Jump(cursor, wanted);
    case ReplyNack: return Repeat(cursor);
    case ReplyDone: return SendStep::Finish;
    case ReplyNone:
    case ReplyCancel: break;
    }
    return SendStep::Cancel;
}

void FrameWritten(SendCursor& cursor, SendStep step) {
    cursor.framed = true;
    if (step == SendStep::NewFrame)
        ++cursor.block;
}
