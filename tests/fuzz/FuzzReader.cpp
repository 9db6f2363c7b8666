// The reader's way from bytes to lines, replies and terminal text.

#include "FuzzTarget.h"

#include "link/codec/ReplyLine.h"
#include "link/codec/TerminalText.h"

#include <cstring>
#include <vector>

// The first byte chooses the input buffer's size; the rest comes from the device.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::uint32_t room = 1U + data[0];
    std::vector<std::uint8_t> store(room); // of exactly that size: the sanitizer guards its end
    InputBuffer buffer{store.data(), room, 0};
    AppendText(buffer, data + 1, size - 1);
    Demand(buffer.count < room);
    std::uint8_t out[16];
    while (TakeFront(buffer, out, sizeof(out)) > 0)
        for (const std::uint8_t byte : out)
            Demand(!IsAnswerByte(byte) || buffer.count == 0);
    AppendRaw(buffer, data + 1, size - 1);
    Demand(buffer.count < room);

    LineBuffer line;
    for (std::size_t i = 1; i < size; ++i) {
        if (data[i] != '\n') {
            line.Add(static_cast<char>(data[i]));
            continue;
        }
        const Reply reply = RecognizeReply(line.text, line.length);
        Demand(reply.state == ReplyNone || line.length >= 3);
        Demand(line.length <= LineBuffer::Capacity);
        line.Clear();
    }
    return 0;
}
