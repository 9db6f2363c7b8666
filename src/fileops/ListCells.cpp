#include "fileops/ListCells.h"

#include "base/Owned.h"
#include "terminal/Module.h"

#include <commctrl.h>

namespace {

using CellText = wchar_t[4096]; // longer texts are cut

constexpr int CellPadding = 12;                    // pixels that a cell leaves free beside its text
constexpr wchar_t TipProperty[] = L"ZoConsoleTip"; // of the list: its tip's window

int CountColumns(HWND list) {
    const auto header = reinterpret_cast<HWND>(SendMessageW(list, LVM_GETHEADER, 0, 0));
    return static_cast<int>(SendMessageW(header, HDM_GETITEMCOUNT, 0, 0));
}

void GetTitle(HWND list, int column, CellText& text) {
    text[0] = L'\0';
    LVCOLUMNW title = {};
    title.mask = LVCF_TEXT;
    title.pszText = text;
    title.cchTextMax = sizeof(text) / sizeof(text[0]);
    SendMessageW(list, LVM_GETCOLUMNW, static_cast<WPARAM>(column),
                 reinterpret_cast<LPARAM>(&title));
}

void GetCell(HWND list, int row, int column, CellText& text) {
    text[0] = L'\0';
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = text;
    item.cchTextMax = sizeof(text) / sizeof(text[0]);
    SendMessageW(list, LVM_GETITEMTEXTW, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

// Without a place for it, the text is but counted.
struct TextWriter {
    wchar_t* out;
    std::size_t length = 0;

    void Add(const wchar_t* text) {
        for (; *text; ++text, ++length)
            if (out)
                out[length] = *text;
    }
};

// A row's cells, or, for row -1, the columns' titles.
void WriteRow(HWND list, int row, TextWriter& writer) {
    const int columns = CountColumns(list);
    CellText text;
    for (int column = 0; column < columns; ++column) {
        if (row < 0)
            GetTitle(list, column, text);
        else
            GetCell(list, row, column, text);
        writer.Add(text);
        writer.Add(column + 1 < columns ? L"\t" : L"\r\n");
    }
}

void WriteRows(HWND list, TextWriter& writer) {
    const WPARAM which =
        SendMessageW(list, LVM_GETSELECTEDCOUNT, 0, 0) > 0 ? LVNI_SELECTED : LVNI_ALL;
    int row = -1;
    do {
        WriteRow(list, row, writer);
        row = static_cast<int>(SendMessageW(list, LVM_GETNEXTITEM, static_cast<WPARAM>(row),
                                            static_cast<LPARAM>(which)));
    } while (row >= 0);
}

// The visible part of a cell whose text does not fit into it. False for any other.
bool IsClipped(HWND list, int row, int column, const wchar_t* text, RECT& visible) {
    RECT label = {};
    label.left = LVIR_LABEL;
    label.top = column;
    RECT client = {};
    GetClientRect(list, &client);
    const LRESULT width =
        SendMessageW(list, LVM_GETSTRINGWIDTHW, 0, reinterpret_cast<LPARAM>(text));
    return SendMessageW(list, LVM_GETSUBITEMRECT, static_cast<WPARAM>(row),
                        reinterpret_cast<LPARAM>(&label)) &&
           IntersectRect(&visible, &label, &client) &&
           width + CellPadding > visible.right - visible.left;
}

TTTOOLINFOW CurrentTool(HWND tip) {
    TTTOOLINFOW tool = {};
    tool.cbSize = TTTOOLINFOW_V2_SIZE;
    SendMessageW(tip, TTM_ENUMTOOLSW, 0, reinterpret_cast<LPARAM>(&tool));
    return tool;
}

void ForgetTool(HWND tip) {
    TTTOOLINFOW tool = CurrentTool(tip);
    if (tool.hwnd)
        SendMessageW(tip, TTM_DELTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

// Makes the cell under the mouse the tip's one tool, if it is clipped. Keeps the tool of the same
// cell, since a new one would restart the tip's delay.
void FollowMouse(HWND list, HWND tip, POINT at) {
    LVHITTESTINFO hit = {};
    hit.pt = at;
    SendMessageW(list, LVM_SUBITEMHITTEST, 0, reinterpret_cast<LPARAM>(&hit));
    CellText text;
    TTTOOLINFOW tool = {};
    tool.cbSize = TTTOOLINFOW_V2_SIZE;
    tool.uFlags = TTF_TRANSPARENT;
    tool.hwnd = list;
    tool.lpszText = text;
    bool clipped = hit.iItem >= 0;
    if (clipped) {
        GetCell(list, hit.iItem, hit.iSubItem, text);
        tool.uId = static_cast<UINT_PTR>(hit.iItem) * static_cast<UINT_PTR>(CountColumns(list)) +
                   static_cast<UINT_PTR>(hit.iSubItem);
        clipped = IsClipped(list, hit.iItem, hit.iSubItem, text, tool.rect);
    }
    const TTTOOLINFOW before = CurrentTool(tip);
    if (clipped && before.hwnd && before.uId == tool.uId && EqualRect(&before.rect, &tool.rect))
        return;
    ForgetTool(tip);
    if (clipped)
        SendMessageW(tip, TTM_ADDTOOLW, 0, reinterpret_cast<LPARAM>(&tool));
}

void Relay(HWND list, HWND tip, UINT message, WPARAM wParam, LPARAM lParam) {
    MSG relayed = {};
    relayed.hwnd = list;
    relayed.message = message;
    relayed.wParam = wParam;
    relayed.lParam = lParam;
    SendMessageW(tip, TTM_RELAYEVENT, 0, reinterpret_cast<LPARAM>(&relayed));
}

LRESULT CALLBACK ClippedCellsProc(HWND list, UINT message, WPARAM wParam, LPARAM lParam) {
    const auto listProc = reinterpret_cast<WNDPROC>(GetWindowLongPtrW(list, GWLP_USERDATA));
    const auto tip = static_cast<HWND>(GetPropW(list, TipProperty));
    if (message == WM_MOUSEMOVE)
        FollowMouse(list, tip,
                    {static_cast<short>(LOWORD(lParam)), static_cast<short>(HIWORD(lParam))});
    if (message == LVM_DELETEALLITEMS)
        ForgetTool(tip);
    if (message >= WM_MOUSEFIRST && message <= WM_MOUSELAST)
        Relay(list, tip, message, wParam, lParam);
    if (message == WM_NCDESTROY)
        RemovePropW(list, TipProperty);
    return CallWindowProcW(listProc, list, message, wParam, lParam);
}

} // namespace

void CopyRows(HWND list) {
    if (SendMessageW(list, LVM_GETITEMCOUNT, 0, 0) == 0)
        return;
    TextWriter counted{nullptr};
    WriteRows(list, counted);
    Owned<HGLOBAL, &GlobalFree> text(
        GlobalAlloc(GHND, (counted.length + 1) * sizeof(wchar_t))); // the NUL is there
    if (!text)
        return;
    TextWriter writer{static_cast<wchar_t*>(GlobalLock(text.get()))};
    WriteRows(list, writer);
    GlobalUnlock(text.get());
    if (!OpenClipboard(list))
        return;
    EmptyClipboard();
    if (SetClipboardData(CF_UNICODETEXT, text.get()))
        static_cast<void>(text.release()); // the system's now
    CloseClipboard();
}

void ShowClippedCells(HWND list) {
    const HWND tip = CreateWindowExW(WS_EX_TOPMOST, TOOLTIPS_CLASSW, nullptr,
                                     WS_POPUP | TTS_ALWAYSTIP | TTS_NOPREFIX, 0, 0, 0, 0,
                                     GetParent(list), nullptr, ProgramModule, nullptr);
    SendMessageW(list, LVM_SETTOOLTIPS, 0, 0); // the list's own tip would cover it
    if (!tip || !SetPropW(list, TipProperty, tip))
        return;
    SetWindowLongPtrW(list, GWLP_USERDATA, GetWindowLongPtrW(list, GWLP_WNDPROC));
    SetWindowLongPtrW(list, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&ClippedCellsProc));
}
