#pragma once

// What the device sends: bytes with the time from which they may go, at the line's pace, in pieces
// when a fault asks for it, with generated text in the background.

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>

#include "Millis.h"
#include "TextSource.h"

namespace sim {

// How bytes are cut: at most `piece` bytes at once, then nothing for `gap` ms. 0: not cut.
struct Shape {
    std::size_t piece = 0;
    std::uint32_t gap = 0;
};

class OutputQueue {
public:
    static constexpr Millis PaceStep = 5;   // paced output is not worth a look more often
    static constexpr Millis CatchUp = 1000; // lateness of the caller that the pace makes up for

    // `pace` in bits per second with ten bits for each byte; 0 sends everything at once.
    explicit OutputQueue(std::uint32_t pace) : m_Pace(pace) {}

    // Appends bytes that go at `due` at the earliest, and after everything appended before.
    void Add(std::string bytes, Millis due, Shape shape);

    // Sends `bytes` of generated text from `due` on. Whole lines of it fill the time in which no
    // appended bytes are due.
    void StartText(std::uint64_t bytes, Millis due, Shape shape);
    void StopText() { m_Text.Stop(); }
    bool TextDone() const { return m_Text.Done(); }

    // Moves what may go at `now` to `out`, at most `room` bytes and never more than one piece.
    // Returns the number of bytes. To be called with times that do not go back.
    std::size_t Take(Millis now, std::uint8_t* out, std::size_t room);

    // When Take is worth its next call; Never when nothing is left.
    Millis NextDue() const;

private:
    struct Segment {
        std::string bytes;
        Millis due;
        Shape shape;
    };

    bool Prepare(Millis now);
    Millis Earliest() const;
    std::uint64_t Allowance(Millis now);
    Millis LineFree(std::uint64_t further) const;

    std::uint32_t m_Pace;
    std::deque<Segment> m_Segments;
    std::size_t m_Sent = 0; // bytes of the first segment that are out

    Shape m_Shape;               // of the bytes taken last
    std::size_t m_PieceSent = 0; // bytes of the current piece that are out
    Millis m_GapEnd = 0;

    TextSource m_Text;
    Millis m_TextDue = 0;
    Shape m_TextShape;

    Millis m_PaceStart = 0;       // since when the line has been busy
    std::uint64_t m_PaceSent = 0; // bytes since then
    Millis m_NextStep = 0;
};

} // namespace sim
