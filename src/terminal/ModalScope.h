#pragma once

#include <windows.h>

class ZoTerm;

// Put one into every function that runs a message loop for a terminal: a dialog of the system, or a
// wait. While one lives, functions of the terminal are on the stack below that loop, so the
// terminal is not destroyed, whatever the user or another program asks for. GUI thread.
class ModalScope {
public:
    enum Kind { Dialog, Wait };

    explicit ModalScope(ZoTerm& terminal, Kind kind = Dialog);
    ~ModalScope();
    ModalScope(const ModalScope&) = delete;
    ModalScope& operator=(const ModalScope&) = delete;

    // True when the innermost loop of the thread is a dialog of this terminal.
    static bool DialogOnTopIs(const ZoTerm& terminal);

    // Shows the terminal's new dialogs that are still hidden: a dialog of the system shows itself
    // when its loop finds the queue empty, which a busy queue or a loop above it puts off.
    static void ShowDialogsOf(const ZoTerm& terminal);

private:
    static BOOL CALLBACK FindDialog(HWND window, LPARAM scope);

    ZoTerm& m_Terminal;
    Kind m_Kind;
    HWND m_Dialog = nullptr; // of a Dialog, once it was seen to show; hidden again, it has ended
    ModalScope* m_Below;
};
