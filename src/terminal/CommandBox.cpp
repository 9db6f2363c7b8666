// The command box: one line to send at a time, and a history of the last ones.

#include "link/codec/CodePage.h"
#include "resources/resource.h"
#include "terminal/MessageLoop.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <cstring>

namespace {

constexpr WPARAM ReturnCharacter = 13;

// The edit field's grandparent is the terminal window.
ZoTerm* TerminalOfEdit(HWND edit) {
    const HWND window = GetParent(GetParent(edit));
    return reinterpret_cast<ZoTerm*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

} // namespace

LRESULT CALLBACK ZoTerm::CommandEditProc(HWND edit, UINT message, WPARAM wParam, LPARAM lParam) {
    ZoTerm* const terminal = TerminalOfEdit(edit);
    if (!terminal)
        return DefWindowProcW(edit, message, wParam, lParam);
    if (message == WM_CHAR && wParam == ReturnCharacter &&
        !SendMessageA(terminal->m_hCommand, CB_GETDROPPEDSTATE, 0, 0)) {
        PostMessageA(terminal->m_hWnd, WM_COMMAND, MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed),
                     reinterpret_cast<LPARAM>(terminal->m_hCommand));
        return 0;
    }
    if (TakeTab(message, wParam, terminal->m_hOutput))
        return 0;
    if (message == WM_PASTE && terminal->PasteLines(edit))
        return 0;
    return CallWindowProcW(terminal->m_OldCommandEditProc, edit, message, wParam, lParam);
}

bool ZoTerm::CreateCommandBox() {
    m_CommandLabel = CreateLabel("Command line");
    m_hCommand = CreateWindowExA(
        0, "COMBOBOX", "", WS_CHILD | WS_VISIBLE | CBS_DROPDOWN | CBS_AUTOHSCROLL, 0, 0, 0, 0,
        m_hWnd, reinterpret_cast<HMENU>(IDC_COMMAND), ProgramModule, nullptr);
    // The box takes no more than can be sent, so no line is cut silently.
    SendMessageA(m_hCommand, CB_LIMITTEXT, LineRoom - 1, 0);
    return m_hCommand != nullptr;
}

void ZoTerm::SubclassCommandEdit() {
    m_OldCommandEditProc = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(GetDlgItem(m_hCommand, IDC_COMMAND_EDIT), GWLP_WNDPROC,
                          reinterpret_cast<LONG_PTR>(&CommandEditProc)));
}

LRESULT ZoTerm::SendTypedLine() {
    char line[LineRoom] = {};
    GetWindowTextA(m_hCommand, line, LineRoom);
    line[WholeCharacters(line, std::strlen(line))] = '\0'; // the box may hold more bytes
    SetWindowTextA(m_hCommand, "");
    if (line[0])
        RememberLine(line);
    return SenderWaits() && !SenderWait::TooMany() ? AwaitAnswer(line) : QueueLine(line, LineAloud);
}

// Puts the line at the top of the history and, selected, back into the edit field: Enter sends it
// again, typing replaces it.
void ZoTerm::RememberLine(const char* line) {
    const auto text = reinterpret_cast<LPARAM>(line);
    const LRESULT known =
        SendMessageA(m_hCommand, CB_FINDSTRINGEXACT, static_cast<WPARAM>(-1), text);
    if (known != CB_ERR)
        SendMessageA(m_hCommand, CB_DELETESTRING, static_cast<WPARAM>(known), 0);
    else if (SendMessageA(m_hCommand, CB_GETCOUNT, 0, 0) >= HistoryLines)
        SendMessageA(m_hCommand, CB_DELETESTRING, HistoryLines - 1, 0);
    SendMessageA(m_hCommand, CB_INSERTSTRING, 0, text);
    SendMessageA(m_hCommand, CB_SETCURSEL, 0, 0);
}
