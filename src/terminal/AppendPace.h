#pragma once

// Decides when the pane takes its next text. An append costs much the same for any length, most of
// it for the scroll bars, so under a flood text is joined and appends are spaced in proportion to
// what they cost. A short burst shows at once. Times are in ms of one running clock.
class AppendPace {
public:
    void Appended(double began, double ended); // reports an append and its times

    // The moment from which the next append may come.
    double Due() const { return m_Due; }

private:
    double m_Due = 0;
    double m_PaidAt = 0; // when the pauses for all appends so far would be over
};
