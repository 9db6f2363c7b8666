#pragma once

// What a hostile device says: floods, noise, absurd replies and packets, for a host that must
// survive them all. The same seed gives the same bursts.

#include <cstddef>
#include <cstdint>
#include <random>
#include <string>

namespace sim {

// What the host makes of bytes at present; half of the bursts aim at it.
enum class HostExpects { Text, Replies, Packets };

enum class BurstKind { Noise, Nuls, LineEnds, EndlessLine, Answers, Replies, Numbers, Packets };

struct Burst {
    BurstKind kind = BurstKind::Noise;
    std::uint32_t silence = 0; // ms in front of it
    std::string bytes;         // at least one
};

class Hostile {
public:
    static constexpr std::uint32_t Kinds = 8;
    static constexpr std::uint32_t LongestSilence = 400; // ms
    static constexpr std::uint32_t UsualPace = 115200;   // of a device that has no pace

    explicit Hostile(std::uint32_t seed) : m_Random(seed) {}

    Burst Next(HostExpects expects);

private:
    std::uint32_t Below(std::uint32_t limit);
    std::uint32_t Size(std::uint32_t most);
    template <std::size_t Count> const char* OneOf(const char* const (&texts)[Count]);
    BurstKind ChooseKind(HostExpects expects);
    std::string Make(BurstKind kind);
    std::string Characters(std::uint32_t low, std::uint32_t high);
    std::string NumberLine();
    std::string Packet();

    std::mt19937 m_Random;
};

} // namespace sim
