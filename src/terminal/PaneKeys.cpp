// The keyboard in the output pane. Its text cannot be edited: typed and pasted text goes to the
// command box. Selecting, copying and moving about work.

#include "resources/resource.h"
#include "terminal/ZoTerm.h"

namespace {

enum ControlCharacter : WPARAM { CtrlA = 1, CtrlC = 3, CtrlV = 22, CtrlBackspace = 127 };

bool IsShiftDown() {
    return GetKeyState(VK_SHIFT) < 0;
}

// The control would insert an input method's text into its own; the default procedure turns it into
// WM_CHAR instead.
bool IsOfInputMethod(UINT message) {
    return (message >= WM_IME_STARTCOMPOSITION && message <= WM_IME_COMPOSITION) ||
           message == WM_IME_CHAR;
}

} // namespace

LRESULT CALLBACK ZoTerm::OutputEditProc(HWND pane, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* terminal = reinterpret_cast<ZoTerm*>(GetWindowLongPtrW(GetParent(pane), GWLP_USERDATA));
    if (!terminal || IsOfInputMethod(message))
        return DefWindowProcW(pane, message, wParam, lParam);
    if (message == WM_DROPFILES)
        return terminal->OnDropFiles(reinterpret_cast<HDROP>(wParam));
    if (TakeTab(message, wParam, terminal->m_hCommand) ||
        terminal->TakePaneInput(message, wParam, lParam))
        return 0;
    if (message == WM_KILLFOCUS)
        terminal->NoteCaret();
    if (message == WM_LBUTTONDOWN)
        terminal->m_PaneCaretFirst = false;
    if (message == EM_SETSEL)
        terminal->m_PaneCaretFirst = lParam >= 0 && static_cast<LPARAM>(wParam) > lParam;
    return CallWindowProcW(terminal->m_OldOutputProc, pane, message, wParam, lParam);
}

bool ZoTerm::TakePaneInput(UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CHAR: return TakePaneCharacter(wParam, lParam);
    case WM_KEYDOWN:
        if (wParam == VK_INSERT && IsShiftDown())
            PassToCommandBox(WM_PASTE, 0, 0);
        return wParam == VK_DELETE || (wParam == VK_INSERT && IsShiftDown());
    case WM_SYSKEYDOWN:
    case WM_SYSCHAR: return wParam == VK_BACK; // undo
    case WM_PASTE: PassToCommandBox(WM_PASTE, 0, 0); return true;
    case WM_CUT:
    case WM_CLEAR:
    case WM_UNDO:
    case EM_UNDO: return true;
    }
    return false;
}

bool ZoTerm::TakePaneCharacter(WPARAM character, LPARAM lParam) {
    const bool typed = character >= ' ' && character != CtrlBackspace;
    if (character == CtrlA)
        SendMessageW(m_hOutput, EM_SETSEL, 0, -1);
    else if (character == CtrlV)
        PassToCommandBox(WM_PASTE, 0, 0);
    else if (typed || character == VK_RETURN || character == VK_BACK)
        PassToCommandBox(WM_CHAR, character, lParam);
    return character != CtrlC;
}

// Focuses the edit field itself: the box would select its line, and the next character replace
// it.
void ZoTerm::PassToCommandBox(UINT message, WPARAM wParam, LPARAM lParam) {
    if (!IsWindowEnabled(m_hCommand))
        return;
    const HWND edit = GetDlgItem(m_hCommand, IDC_COMMAND_EDIT);
    SetFocus(edit);
    SendMessageW(edit, message, wParam, lParam);
}
