#pragma once

class ZoTerm;

// Is in every function that runs a message loop on behalf of a terminal: a dialog of the system, or a
// wait. As long as one stands, functions of the terminal are on the stack below that loop, so the
// terminal is not destroyed, whatever a person or another program asks. GUI thread.
class ModalScope {
public:
    enum Kind { Dialog, Wait };

    explicit ModalScope(ZoTerm& terminal, Kind kind = Dialog);
    ~ModalScope();
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;

    // True when the innermost loop of the thread is a dialog of this terminal.
    static bool DialogOnTopIs(const ZoTerm& terminal);

private:
    ZoTerm& m_Terminal;
    Kind m_Kind;
    ModalScope* m_Below;
};
