#pragma once

// Command lines as they come in: text up to an LF, then the low and the high byte of a 16-bit sum
// over the text without the CRs at its end.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "Millis.h"

namespace sim {

// The sum that the host sends after a command line with this text.
std::uint16_t LineSum(std::string_view text);

struct CommandLine {
    std::string text;   // without LF and without the CRs before it
    bool bare = false;  // the line was a lone LF
    bool valid = false; // it fitted and its sum was right
};

class LineReceiver {
public:
    static constexpr std::size_t Longest = 1024; // characters of a line, its LF not counted
    static constexpr Millis SumTimeout = 1000;   // from the LF to the second sum byte

    // Takes one byte that arrived at `now`. True when it completed a line, which is then in
    // `line`; false, with `line` left alone, while more is to come. A line whose sum does not
    // follow in time is forgotten, and the byte starts a new one.
    bool Add(std::uint8_t byte, Millis now, CommandLine& line);

    // True while a line has begun and is not complete.
    bool Begun() const { return m_Expect != Expect::Text || !m_Text.empty(); }

    // Forgets what has arrived of a line.
    void Reset();

private:
    enum class Expect { Text, LowByte, HighByte };

    void AddText(std::uint8_t byte, Millis now);
    CommandLine Complete(std::uint16_t sum) const;

    Expect m_Expect = Expect::Text;
    std::string m_Text;
    bool m_Overlong = false;
    std::uint8_t m_LowByte = 0;
    Millis m_LineEnd = 0; // when the LF came
};

} // namespace sim
