// Several lines pasted into the command box: they are sent one after another, and what follows the
// last line end stays in the box.

#include "base/WideText.h"
#include "terminal/ZoTerm.h"

#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

namespace {

constexpr wchar_t LineEnds[] = L"\r\n";

// A copy of the clipboard's text; null when it holds none.
WideBuffer ClipboardText(HWND window) {
    if (!OpenClipboard(window))
        return nullptr;
    WideBuffer text;
    const HANDLE data = GetClipboardData(CF_UNICODETEXT);
    const auto* const source = data ? static_cast<const wchar_t*>(GlobalLock(data)) : nullptr;
    if (source) {
        const std::size_t length = wcsnlen(source, GlobalSize(data) / sizeof(wchar_t));
        text = MakeWideBuffer(length + 1);
        if (text)
            std::wmemcpy(text.get(), source, length);
        GlobalUnlock(data);
    }
    CloseClipboard();
    return text;
}

// The edit field's text with `pasted` in place of the selection.
WideBuffer TextAfterPaste(HWND edit, const wchar_t* pasted) {
    DWORD from = 0;
    DWORD to = 0;
    SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&from), reinterpret_cast<LPARAM>(&to));
    const auto length = static_cast<std::size_t>(GetWindowTextLengthW(edit));
    const std::size_t added = std::wcslen(pasted);
    const WideBuffer before = MakeWideBuffer(length + 1);
    WideBuffer after = MakeWideBuffer(length + added + 1);
    if (!before || !after)
        return nullptr;
    GetWindowTextW(edit, before.get(), static_cast<int>(length + 1));
    if (from > to || to > std::wcslen(before.get()))
        return nullptr;
    std::wmemcpy(after.get(), before.get(), from);
    std::wmemcpy(after.get() + from, pasted, added);
    std::wcscpy(after.get() + from + added, before.get() + to);
    return after;
}

// The lines that have an end, as a packed list in the system's code page; null without memory. An
// empty line is left out. `rest` is what follows the last line end.
std::unique_ptr<char[]> PackLines(const wchar_t* text, const wchar_t*& rest) {
    const std::size_t room = 4 * std::wcslen(text) + 2;
    std::unique_ptr<char[]> list(new (std::nothrow) char[room]());
    char* at = list.get();
    for (rest = text; list && rest[std::wcscspn(rest, LineEnds)];) {
        const std::size_t length = std::wcscspn(rest, LineEnds);
        if (length > 0) {
            at +=
                WideCharToMultiByte(CP_ACP, 0, rest, static_cast<int>(length), at,
                                    static_cast<int>(list.get() + room - at) - 2, nullptr, nullptr);
            *at++ = '\0';
        }
        rest += length + 1;
    }
    return list;
}

} // namespace

// False when the clipboard has no line end: then the box pastes it itself.
bool ZoTerm::PasteLines(HWND edit) {
    const WideBuffer pasted = ClipboardText(m_hWnd);
    if (!pasted || !pasted[std::wcscspn(pasted.get(), LineEnds)])
        return false;
    const WideBuffer text = TextAfterPaste(edit, pasted.get());
    const wchar_t* rest = nullptr;
    const std::unique_ptr<char[]> lines = text ? PackLines(text.get(), rest) : nullptr;
    if (!lines)
        return true;
    if (lines[0])
        QueueLines(lines.get(), LineAloud);
    for (const char* line = lines.get(); *line; line += std::strlen(line) + 1)
        if (std::strlen(line) < LineRoom)
            RememberLine(line);
    wchar_t kept[LineRoom] = {};
    std::wcsncpy(kept, rest, LineRoom - 1);
    SetWindowTextW(edit, kept);
    SendMessageW(edit, EM_SETSEL, LineRoom, LineRoom);
    return true;
}
