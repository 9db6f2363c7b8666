#include "ReplyLine.h"

#include <algorithm>
#include <cstring>
#include <string_view>

void LineBuffer::Add(char character) {
    if (length < Capacity)
        text[length++] = character;
}

void LineBuffer::DropFront(std::uint32_t count) {
    length -= count;
    std::memmove(text, text + count, length);
    answerAt -= std::min(answerAt, count);
}

void LineBuffer::Clear() {
    length = 0;
    answerAt = 0;
}

namespace {

struct ReplyWord {
    std::string_view word;
    ReplyState state;
    bool shown;
};

// The boot banner lets a waiting boot transfer go on, and is text for the reader as well.
constexpr ReplyWord ReplyWords[] = {
    {"ack", ReplyAck, false},       {"nack", ReplyNack, false},
    {"cancel", ReplyCancel, false}, {"done", ReplyDone, false},
    {"can", ReplyCancel, false},    {"Preparing to load ZoOS", ReplyAck, true},
};

constexpr std::string_view SendWord = "send";

} // namespace

Reply RecognizeReply(const char* line, std::size_t length) {
    const std::string_view text(line, length);
    for (const ReplyWord& entry : ReplyWords)
        if (text == entry.word)
            return {entry.state, 0, entry.shown, entry.shown}; // of these only the banner is shown
    if (text.substr(0, SendWord.size()) == SendWord) {
        const std::string_view number = text.substr(SendWord.size());
        return {ReplySend, ParseDecimal(number.data(), number.size()), false, false};
    }
    return {};
}

std::uint32_t ParseDecimal(const char* text, std::size_t length) {
    std::uint32_t value = 0;
    std::uint32_t weight = 1;
    for (std::size_t i = length; i > 0; --i) {
        const auto code = static_cast<std::uint32_t>(static_cast<std::int8_t>(text[i - 1]));
        value += (code - 48U) * weight;
        weight *= 10U;
    }
    return value;
}
