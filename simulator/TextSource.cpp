#include "TextSource.h"

#include <string_view>

namespace sim {

namespace {

constexpr std::string_view LineEnd = "\r\n";

} // namespace

std::string TextLine(std::uint32_t number) {
    std::string line = std::to_string(number % 100000000);
    line.insert(0, 8 - line.size(), '0');
    line.push_back(' ');
    const std::uint32_t length = 20 + number % 41 * 13 % 41;
    const std::uint32_t first = number % 94 * 31;
    for (std::uint32_t i = 0; i < length; ++i)
        line.push_back(static_cast<char>(33 + (first + i * 7) % 94));
    line.append(LineEnd);
    return line;
}

void TextSource::Start(std::uint64_t bytes) {
    m_Left = bytes;
    m_Number = 1;
}

void TextSource::Stop() {
    m_Left = 0;
}

std::string TextSource::NextLine() {
    std::string line = TextLine(m_Number++);
    if (line.size() + 1 == m_Left)
        line.insert(line.size() - LineEnd.size(), 1, '.'); // else a part of a line end is left
    if (line.size() > m_Left) {
        const auto left = static_cast<std::size_t>(m_Left);
        const std::size_t end = left < LineEnd.size() ? left : LineEnd.size();
        line.resize(left - end);
        line.append(LineEnd.substr(LineEnd.size() - end));
    }
    m_Left -= line.size();
    return line;
}

} // namespace sim
