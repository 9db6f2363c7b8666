#pragma once

// When the pane takes its next text. An append may cost its control many times what the text is
// worth, most of it for the scroll bars, so in a flood text is joined until appends and the pauses
// between them are in proportion. A burst shows at once: only what goes on for long pays.
// Times are in ms of one running clock.
class AppendPace {
public:
    void Appended(double began, double ended);

    // The moment from which the next append may come.
    double Due() const { return m_Due; }

private:
    double m_Due = 0;
    double m_PaidAt = 0; // when the pauses for all appends so far would be over
};
