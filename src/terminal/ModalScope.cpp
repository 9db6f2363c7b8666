#include "terminal/ModalScope.h"

#include "terminal/MessageLoop.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

namespace {

ModalScope* Top = nullptr; // of the GUI thread, the only one

// True for a dialog of the system that holds the terminal's window or a dialog of it.
bool Holds(HWND dialog, HWND terminal) {
    const HWND owner = GetWindow(dialog, GW_OWNER);
    return owner && !IsWindowEnabled(owner) &&
           (owner == terminal || GetWindow(owner, GW_OWNER) == terminal) && IsDialog(dialog) &&
           GetWindowLongPtrA(dialog, GWLP_HINSTANCE) != reinterpret_cast<LONG_PTR>(ProgramModule);
}

} // namespace

ModalScope::ModalScope(ZoTerm& terminal, Kind kind)
    : m_Terminal(terminal), m_Kind(kind), m_Below(Top) {
    Top = this;
    m_Terminal.EnterModal();
    if (m_Kind == Dialog)
        m_Terminal.LookLater(); // ShowDialogsOf
}

ModalScope::~ModalScope() {
    Top = m_Below;
    m_Terminal.LeaveModal();
}

bool ModalScope::DialogOnTopIs(const ZoTerm& terminal) {
    return Top && Top->m_Kind == Dialog && &Top->m_Terminal == &terminal;
}

// Finds the scope's dialog, which no other scope has.
BOOL CALLBACK ModalScope::FindDialog(HWND window, LPARAM scope) {
    auto& sought = *reinterpret_cast<ModalScope*>(scope);
    for (const ModalScope* other = Top; other; other = other->m_Below)
        if (other->m_Dialog == window)
            return TRUE;
    if (Holds(window, sought.m_Terminal.m_hWnd))
        sought.m_Dialog = window;
    return !sought.m_Dialog;
}

void ModalScope::ShowDialogsOf(const ZoTerm& terminal) {
    for (ModalScope* scope = Top; scope; scope = scope->m_Below) {
        if (scope->m_Kind != Dialog || scope->m_Dialog || &scope->m_Terminal != &terminal)
            continue;
        EnumThreadWindows(GetCurrentThreadId(), &FindDialog, reinterpret_cast<LPARAM>(scope));
        if (scope->m_Dialog && !IsWindowVisible(scope->m_Dialog))
            ShowWindow(scope->m_Dialog, SW_SHOWNORMAL);
    }
}
