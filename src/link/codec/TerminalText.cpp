#include "TerminalText.h"

#include <algorithm>
#include <cstring>

namespace {

// A line end needs two bytes at once: half a CR LF would never be completed.
bool TakesLineEnd(const InputBuffer& buffer) {
    return buffer.count + 2 < buffer.size;
}

} // namespace

std::uint8_t AppendText(InputBuffer& buffer, const std::uint8_t* bytes, std::size_t count) {
    std::uint8_t answer = 0;
    for (std::size_t i = 0; i < count && !buffer.Full(); ++i) {
        const std::uint8_t byte = bytes[i];
        if (byte == '\r')
            continue;
        if (IsAnswerByte(byte)) {
            if (answer == 0)
                answer = byte;
            continue;
        }
        if (byte == '\n') {
            if (!TakesLineEnd(buffer))
                break;
            buffer.bytes[buffer.count++] = '\r';
        }
        buffer.bytes[buffer.count++] = byte;
    }
    return answer;
}

void AppendRaw(InputBuffer& buffer, const std::uint8_t* bytes, std::size_t count) {
    if (buffer.Full())
        return;
    const std::size_t room = buffer.size - 1 - buffer.count;
    const auto taken = static_cast<std::uint32_t>(std::min(count, room));
    std::memcpy(buffer.bytes + buffer.count, bytes, taken);
    buffer.count += taken;
}

std::uint32_t TakeFront(InputBuffer& buffer, std::uint8_t* out, std::uint32_t count) {
    const std::uint32_t taken = std::min(count, buffer.count);
    std::memcpy(out, buffer.bytes, taken);
    buffer.count -= taken;
    std::memmove(buffer.bytes, buffer.bytes + taken, buffer.count);
    return taken;
}
