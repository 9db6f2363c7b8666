// A send's way through its file, for any replies of the device.

#include "FuzzTarget.h"

#include "link/codec/SendCursor.h"

#include <cstring>

namespace {

std::uint32_t Number(const std::uint8_t* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

} // namespace

// Size and block size, then replies of a byte and a block number each.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 8)
        return 0;
    SendCursor cursor;
    cursor.size = Number(data) & 0x7FFFFFFF;
    cursor.blockSize = 1 + (Number(data + 4) & 0xFFFE);
    for (std::size_t at = 8; at + 5 <= size; at += 5) {
        const std::uint32_t before = cursor.errors;
        const SendStep step =
            TakeReply(cursor, static_cast<ReplyState>(data[at] % 7), Number(data + at + 1));
        Demand(cursor.errors - before <= 1);
        if (step == SendStep::Finish || step == SendStep::Cancel)
            return 0;
        if (step == SendStep::Nothing)
            continue;
        Demand(step == SendStep::NewFrame || cursor.framed);
        Demand(cursor.length <= cursor.blockSize);
        Demand(cursor.offset <= cursor.size && cursor.length <= cursor.size - cursor.offset);
        FrameWritten(cursor, step);
    }
    return 0;
}
