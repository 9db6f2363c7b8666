#pragma once

// Text whose every byte a reader can predict, to prove that none was lost on the way.

#include <cstddef>
#include <cstdint>
#include <string>

namespace sim {

// Line `number` (the first is 1) with its CR LF: eight decimal digits of the number, a blank, then
// 20 + number * 13 % 41 characters, of which character i (the first is 0) has the code
// 33 + (number * 31 + i * 7) % 94.
std::string TextLine(std::uint32_t number);

class TextSource {
public:
    // Begins at line 1, for exactly `bytes` bytes, line ends included. The last line is cut to
    // the remainder and still ends in CR LF (in LF when only one byte is left).
    void Start(std::uint64_t bytes);
    void Stop();
    bool Done() const { return m_Left == 0; }

    // The next line; empty when all bytes are out.
    std::string NextLine();

private:
    std::uint64_t m_Left = 0;
    std::uint32_t m_Number = 1;
};

} // namespace sim
