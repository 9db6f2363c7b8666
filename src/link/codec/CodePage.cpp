#include "CodePage.h"

#include <algorithm>
#include <iterator>

namespace {

bool LeadByte[256];
bool IsUtf8 = false;

constexpr std::size_t LongestUtf8 = 4;

// Bytes of the character that a byte of UTF-8 begins; 0 for one inside a character.
std::size_t Utf8Length(unsigned char byte) {
    if (byte < 0x80)
        return 1;
    if (byte < 0xC0)
        return 0;
    return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : LongestUtf8;
}

// Looks back from the end for the byte that begins the last character.
std::size_t WholeUtf8(const char* text, std::size_t count) {
    for (std::size_t back = 1; back < LongestUtf8 && back <= count; ++back) {
        const std::size_t length = Utf8Length(static_cast<unsigned char>(text[count - back]));
        if (length > 0)
            return length > back ? count - back : count;
    }
    return count;
}

} // namespace

void UseCodePage(const unsigned char* leadBytes, bool utf8) {
    std::fill(std::begin(LeadByte), std::end(LeadByte), false);
    for (; leadBytes[0] || leadBytes[1]; leadBytes += 2)
        std::fill(LeadByte + leadBytes[0], LeadByte + leadBytes[1] + 1, true);
    IsUtf8 = utf8;
}

bool IsLeadByte(char byte) {
    return LeadByte[static_cast<unsigned char>(byte)];
}

std::size_t WholeCharacters(const char* text, std::size_t count) {
    if (IsUtf8)
        return WholeUtf8(text, count);
    std::size_t at = 0;
    while (at < count) {
        const std::size_t next = at + (IsLeadByte(text[at]) ? 2 : 1);
        if (next > count)
            return at;
        at = next;
    }
    return count;
}
