#include "LineReceiver.h"

namespace sim {

namespace {

constexpr std::uint32_t RegisterMask = 0x1FFFF; // the sum's register is 17 bits wide
constexpr unsigned TopBit = 16;

} // namespace

std::uint16_t LineSum(std::string_view text) {
    std::uint32_t reg = 0;
    for (const char character : text) {
        std::uint32_t bits = static_cast<unsigned char>(character);
        if ((bits & 0x80) != 0)
            bits |= RegisterMask & ~0xFFU; // the host's characters are signed
        const std::uint32_t carry = reg >> TopBit;
        reg = (((reg ^ bits) << 1) | carry) & RegisterMask;
    }
    return static_cast<std::uint16_t>(reg & 0xFFFF);
}

bool LineReceiver::Add(std::uint8_t byte, Millis now, CommandLine& line) {
    if (m_Expect != Expect::Text && now - m_LineEnd > SumTimeout)
        Reset();
    if (m_Expect == Expect::Text) {
        AddText(byte, now);
        return false;
    }
    if (m_Expect == Expect::LowByte) {
        m_LowByte = byte;
        m_Expect = Expect::HighByte;
        return false;
    }
    line = Complete(static_cast<std::uint16_t>(m_LowByte | (byte << 8)));
    Reset();
    return true;
}

void LineReceiver::Reset() {
    m_Expect = Expect::Text;
    m_Text.clear();
    m_Overlong = false;
}

void LineReceiver::AddText(std::uint8_t byte, Millis now) {
    if (byte == '\n') {
        m_LineEnd = now;
        m_Expect = Expect::LowByte;
        return;
    }
    if (m_Text.size() == Longest) {
        m_Overlong = true;
        return;
    }
    m_Text.push_back(static_cast<char>(byte));
}

CommandLine LineReceiver::Complete(std::uint16_t sum) const {
    CommandLine line;
    line.bare = m_Text.empty();
    line.text = m_Text.substr(0, m_Text.find_last_not_of('\r') + 1);
    line.valid = !m_Overlong && LineSum(line.text) == sum;
    return line;
}

} // namespace sim
