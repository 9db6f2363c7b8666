#include "terminal/AppendPace.h"

#include <algorithm>

namespace {

constexpr double LeastPause = 30;     // ms between two appends
constexpr double LongestPause = 140;  // ms: what shows must not lag behind the line
constexpr double PausePerAppend = 16; // of the time that an append takes
constexpr double Credit = 1000;       // ms of pauses that a burst need not make

} // namespace

void AppendPace::Appended(double began, double ended) {
    const double paid = std::max(m_PaidAt, began) + (ended - began) * PausePerAppend;
    m_PaidAt = std::min(paid, ended + Credit + LongestPause);
    m_Due = ended + std::clamp(m_PaidAt - Credit - ended, LeastPause, LongestPause);
}
