#pragma once

// What goes wrong on the device's side, for tests of the host.
//
// docs/simulator.md describes scripts and faults.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

enum class FaultKind {
    Silent,
    Refuse,
    Late,
    NoiseBefore,
    NoiseAfter,
    Split,
    Unanswered,
    AnswerTwice,
    Early,
    Mute,
    Pause,
    Nack,
    Ask,
    Cancel,
    Can,
    Done,
    BadCrc,
    WrongBlock,
    Overlong,
    Noise,
    End,
    Twice,
    Hasty,
    Text,
    Deaf,
    Restart,
    Lose,
    Damage,
    Repeat,
    Insert,
};

struct Fault {
    static constexpr std::size_t MaxNumbers = 2;

    std::uint32_t command = 0; // 0: every command
    FaultKind kind = FaultKind::Silent;
    std::array<std::uint32_t, MaxNumbers> numbers = {};
};

struct ScriptError {
    std::size_t line = 0; // the first is 1
    std::string text;
};

class FaultScript {
public:
    // Reads a script and keeps the faults of its good lines, in place of those it had. Returns one
    // error for each bad line, in their order; none when all is well.
    std::vector<ScriptError> Parse(std::string_view script);

    // The fault of that kind that hits a command, or null.
    const Fault* Find(FaultKind kind, std::uint32_t command) const;

private:
    std::string ParseLine(std::string_view line);
    std::string ParseWhen(std::string_view word, std::uint32_t& command) const;

    std::vector<Fault> m_Faults;
    std::uint32_t m_LastCommand = 0;
};

} // namespace sim
