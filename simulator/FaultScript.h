#pragma once

// What goes wrong on the device's side, for tests of the host.
//
// A script has one fault a line; blank lines and lines that begin with # count as nothing:
//
//     WHEN FAULT [NUMBER...]
//
// WHEN names the command lines that the fault hits: a number (the first complete command line
// since the device was switched on is 1; bare LFs are not counted), "next" (the one after that of
// the script's last numbered line, at first 1) or "every" (those without a line of their own for
// the same fault). Several faults may hit one command line. FAULT is one of:
//
//     silent                      the line is lost: no answer, nothing is carried out
//     refuse                      answered with 0x01, nothing is carried out
//     late MS                     the answer comes MS after the line
//     noise-before COUNT SEED     COUNT random bytes, never 0x01 or 0x02, before the answer
//     noise-after COUNT SEED      the same behind the answer, before the command's output
//     split SIZE GAP              answer and output come in pieces of SIZE bytes, GAP ms apart
//
// The others hit the transfer that the command line starts. STEP counts what the device says in
// it: when it takes a file, 0 is the reply before the first block, and each block brings the next
// reply; when it gives one, 0 is the answer to the start, and each request brings the next packet.
//
//     mute STEP TIMES             TIMES replies or packets from STEP on are not sent
//     pause STEP MS               what is said at STEP comes MS later
//     nack STEP TIMES             "nack" TIMES times; the blocks count as not arrived
//     ask STEP BLOCK              BLOCK is asked for by number; later blocks too, as they are due
//     cancel STEP                 "cancel", and the transfer is over; can and done likewise
//     bad-crc STEP TIMES          packets with a damaged CRC
//     wrong-block STEP TIMES      good packets with the number of the block before
//     overlong STEP TIMES         packets whose length field says 600
//     noise STEP COUNT            COUNT random bytes right before a packet
//     end STEP                    an end packet, and the transfer is over
//     lose RATE SEED              of 1000 bytes RATE are lost on their way, in both directions
//     damage RATE SEED            one bit of the byte is turned over
//     repeat RATE SEED            the byte comes twice

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
    Lose,
    Damage,
    Repeat,
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
