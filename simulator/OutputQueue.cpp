#include "OutputQueue.h"

#include <algorithm>
#include <utility>

namespace sim {

namespace {

constexpr std::uint64_t BitMillis = 10000; // ten bits a byte, 1000 ms a second

} // namespace

void OutputQueue::Add(std::string bytes, Millis due, Shape shape) {
    if (bytes.empty())
        return;
    const Millis earliest = m_Segments.empty() ? due : std::max(due, m_Segments.back().due);
    m_Segments.push_back({std::move(bytes), earliest, shape});
}

void OutputQueue::StartText(std::uint64_t bytes, Millis due, Shape shape) {
    m_Text.Start(bytes);
    m_TextDue = due;
    m_TextShape = shape;
}

std::size_t OutputQueue::Take(Millis now, std::uint8_t* out, std::size_t room) {
    const auto limit = static_cast<std::size_t>(std::min<std::uint64_t>(room, Allowance(now)));
    std::size_t taken = 0;
    while (taken < limit && Prepare(now)) {
        const Segment& front = m_Segments.front();
        if (front.shape.piece != m_Shape.piece) {
            if (taken > 0)
                break;
            m_PieceSent = 0;
        }
        m_Shape = front.shape;
        std::size_t count = std::min(front.bytes.size() - m_Sent, limit - taken);
        if (m_Shape.piece != 0)
            count = std::min(count, m_Shape.piece - m_PieceSent);
        std::copy_n(front.bytes.data() + m_Sent, count, out + taken);
        taken += count;
        m_Sent += count;
        m_PieceSent += count;
        if (m_Sent == front.bytes.size()) {
            m_Segments.pop_front();
            m_Sent = 0;
        }
        if (m_PieceSent == m_Shape.piece) {
            m_PieceSent = 0;
            m_GapEnd = now + m_Shape.gap;
            break;
        }
    }
    if (taken < limit)
        m_PieceSent = 0; // nothing more to say: the next byte begins a piece
    if (taken > 0) {
        m_PaceSent += taken;
        m_NextStep = now + PaceStep;
    }
    return taken;
}

Millis OutputQueue::NextDue() const {
    const Millis due = Earliest();
    if (due == Never || m_Pace == 0)
        return due;
    const Millis free = LineFree(0);
    const Millis sent = free < due ? due + (BitMillis + m_Pace - 1) / m_Pace : LineFree(1);
    return std::max(sent, m_NextStep);
}

// Makes sure that the first segment is due. Text is made line by line, so that an answer never
// waits for more than one line of it.
bool OutputQueue::Prepare(Millis now) {
    if (!m_Segments.empty() && (m_Sent > 0 || m_Segments.front().due <= now))
        return true;
    if (m_Text.Done() || m_TextDue > now)
        return false;
    m_Segments.push_front({m_Text.NextLine(), m_TextDue, m_TextShape});
    return true;
}

// From when on the next byte may begin, the line's pace not counted.
Millis OutputQueue::Earliest() const {
    if (m_Sent > 0)
        return m_GapEnd;
    const Millis segment = m_Segments.empty() ? Never : m_Segments.front().due;
    const Millis text = m_Text.Done() ? Never : m_TextDue;
    return std::max(std::min(segment, text), m_GapEnd);
}

// How many bytes may be out at `now` beyond those that are.
std::uint64_t OutputQueue::Allowance(Millis now) {
    const Millis due = Earliest();
    if (due > now)
        return 0;
    if (m_Pace == 0)
        return Never;
    if (LineFree(0) < due) {
        m_PaceStart = due;
        m_PaceSent = 0;
    }
    if (LineFree(0) + CatchUp < now) {
        m_PaceStart = now - CatchUp;
        m_PaceSent = 0;
    }
    return (now - m_PaceStart) * m_Pace / BitMillis - m_PaceSent;
}

// When the bytes so far and `further` ones are out at the line's pace.
Millis OutputQueue::LineFree(std::uint64_t further) const {
    return m_PaceStart + ((m_PaceSent + further) * BitMillis + m_Pace - 1) / m_Pace;
}

} // namespace sim
