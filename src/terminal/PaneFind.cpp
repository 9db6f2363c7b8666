// Find: looks for a text in the output pane, with the system's dialog.

#include "base/Text.h"
#include "resources/resource.h"
#include "terminal/PaneView.h"
#include "terminal/ZoTerm.h"

#include <cwchar>

namespace {

constexpr char NotFound[] = "Not found: ";

struct Search {
    const wchar_t* text;
    int length;
    const wchar_t* wanted;
    int wantedLength;
    bool wholeWord;
};

bool IsOfWord(wchar_t character) {
    return IsCharAlphaNumericW(character) || character == L'_';
}

bool IsAt(const Search& search, int at) {
    const int end = at + search.wantedLength;
    if (std::wmemcmp(search.text + at, search.wanted,
                     static_cast<std::size_t>(search.wantedLength)) != 0)
        return false;
    return !search.wholeWord || ((at == 0 || !IsOfWord(search.text[at - 1])) &&
                                 (end == search.length || !IsOfWord(search.text[end])));
}

// Tries every place once, from `start` on, and wraps around at the end of the text. -1: none.
int Find(const Search& search, int start, int step) {
    const int places = search.length - search.wantedLength + 1;
    int at = start;
    for (int tried = 0; tried < places; ++tried, at += step) {
        if (at < 0)
            at = places - 1;
        if (at >= places)
            at = 0;
        if (IsAt(search, at))
            return at;
    }
    return -1;
}

} // namespace

UINT ZoTerm::FindMessage() {
    static const UINT message = RegisterWindowMessageW(FINDMSGSTRINGW);
    return message;
}

// A terminal has one at most; it closes with the terminal's window.
void ZoTerm::ShowFindDialog(WORD) {
    if (m_FindDialog) {
        SetActiveWindow(m_FindDialog);
        return;
    }
    m_Find.lStructSize = sizeof(m_Find);
    m_Find.hwndOwner = m_hWnd;
    m_Find.Flags = m_FindChoices;
    m_Find.lpstrFindWhat = m_FindText;
    m_Find.wFindWhatLen = FindRoom; // of bytes, but some take characters
    m_FindDialog = FindTextW(&m_Find);
}

void ZoTerm::FindAgain(WORD command) {
    if (m_FindText[0])
        FindInPane(command == CMD_FIND_NEXT);
    else
        ShowFindDialog(command);
}

// Uses the terminal's own record: the message's pointer may come from any process. Keeps the
// choices, which the dialog may clear when it closes.
LRESULT ZoTerm::OnFindMessage() {
    if (m_Find.Flags & FR_DIALOGTERM) {
        m_FindDialog = nullptr;
    } else if (m_Find.Flags & FR_FINDNEXT) {
        m_FindChoices = m_Find.Flags & (FR_DOWN | FR_MATCHCASE | FR_WHOLEWORD);
        FindInPane((m_FindChoices & FR_DOWN) != 0);
    }
    return 0;
}

// Searches from the selection on, which is not found again itself.
void ZoTerm::FindInPane(bool down) {
    const auto text = PaneText(m_hOutput);
    wchar_t wanted[FindRoom];
    std::wmemcpy(wanted, m_FindText, FindRoom);
    const auto length = static_cast<int>(text ? std::wcslen(text.get()) : 0);
    const auto wantedLength = static_cast<int>(std::wcslen(wanted));
    if (!(m_FindChoices & FR_MATCHCASE)) {
        CharUpperBuffW(text.get(), static_cast<DWORD>(length));
        CharUpperBuffW(wanted, static_cast<DWORD>(wantedLength));
    }
    DWORD from = 0;
    DWORD to = 0;
    SendMessageW(m_hOutput, EM_GETSEL, reinterpret_cast<WPARAM>(&from),
                 reinterpret_cast<LPARAM>(&to));
    const Search search = {text.get(), length, wanted, wantedLength,
                           (m_FindChoices & FR_WHOLEWORD) != 0};
    const int at = down ? Find(search, static_cast<int>(to), 1)
                        : Find(search, static_cast<int>(from) - wantedLength, -1);
    if (at < 0) {
        ReportNotFound();
        return;
    }
    ForgetStatusText(NotFound);
    SendMessageW(m_hOutput, EM_SETSEL, static_cast<WPARAM>(at), at + wantedLength);
    SendMessageW(m_hOutput, EM_SCROLLCARET, 0, 0);
}

void ZoTerm::ReportNotFound() {
    char text[2 * FindRoom] = {};
    char status[sizeof(text) + sizeof(NotFound)];
    WideCharToMultiByte(CP_ACP, 0, m_FindText, -1, text, int{sizeof(text)} - 1, nullptr, nullptr);
    FormatText(status, "%s%s", NotFound, text);
    SetStatusText(status);
}
