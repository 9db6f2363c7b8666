#pragma once

// Bytes lost, damaged, repeated or inserted at random, the same ones for the same seed.

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace sim {

class LineNoise {
public:
    // How many of a thousand bytes are hit.
    struct Rates {
        std::uint32_t lost = 0;
        std::uint32_t damaged = 0;
        std::uint32_t repeated = 0;
        std::uint32_t inserted = 0;
    };

    LineNoise() = default;
    LineNoise(const Rates& rates, std::uint32_t seed) : m_Rates(rates), m_Random(seed) {}

    // The bytes as they come out at the other end.
    std::string Pass(std::string_view bytes) {
        std::string passed;
        for (const char byte : bytes) {
            if (Hits(m_Rates.lost))
                continue;
            const bool damaged = Hits(m_Rates.damaged);
            const auto flipped = static_cast<char>(byte ^ (1 << (m_Random() % 8)));
            passed.push_back(damaged ? flipped : byte);
            if (Hits(m_Rates.repeated))
                passed.push_back(byte);
            if (m_Rates.inserted != 0 && Hits(m_Rates.inserted))
                passed.push_back(static_cast<char>(m_Random()));
        }
        return passed;
    }

private:
    bool Hits(std::uint32_t rate) { return m_Random() % 1000 < rate; }

    Rates m_Rates;
    std::mt19937 m_Random;
};

} // namespace sim
