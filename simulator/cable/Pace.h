#pragma once

// When the bytes of one direction are through the wire: 10 bits each, at a fixed rate.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>

class Pace {
public:
    using Clock = std::chrono::steady_clock;
    using Time = Clock::time_point;

    // Bits per second; 0 is a wire without a limit.
    explicit Pace(unsigned long bitsPerSecond)
        : m_BytesPerSecond(static_cast<double>(bitsPerSecond) / 10.0) {}

    bool Limited() const { return m_BytesPerSecond > 0; }

    // A byte enters an empty wire: its first bit goes out now, or when the last byte is through.
    void Start(Time now) {
        m_Start = std::max(now, After(m_Sent));
        m_Sent = 0;
    }

    // Bytes that are through by now and were not taken yet.
    std::size_t Through(Time now) const {
        const double elapsed = std::chrono::duration<double>(now - m_Start).count();
        const double through = std::floor(elapsed * m_BytesPerSecond + Rounding);
        return through > m_Sent ? static_cast<std::size_t>(through - m_Sent) : 0;
    }

    void Take(std::size_t count, Time now) {
        m_Sent += static_cast<double>(count);
        m_LastTaken = now;
    }

    // The receiver took nothing for a while: time that went by unused is lost.
    void Stall(Time now) {
        if (Through(now) > 0)
            Restart(now);
    }

    // When to look again: the next byte is through, and the receiver gets what came since in one
    // piece, as from the queue of a serial chip.
    Time Next() const { return std::max(After(m_Sent + 1), m_LastTaken + Granularity); }

private:
    static constexpr std::chrono::milliseconds Granularity{2};
    static constexpr double Rounding = 1e-6; // of a byte

    Time After(double bytes) const {
        const std::chrono::duration<double> wire(bytes / m_BytesPerSecond);
        return m_Start + std::chrono::ceil<Clock::duration>(wire);
    }

    void Restart(Time now) {
        m_Start = now;
        m_Sent = 0;
    }

    double m_BytesPerSecond;
    double m_Sent = 0; // bytes since m_Start
    Time m_Start{};
    Time m_LastTaken{};
};
