#include "terminal/Dialogs.h"

#include "terminal/Module.h"
#include "terminal/Placement.h"
#include "terminal/ZoTerm.h"

#include <commctrl.h>

namespace {

RECT RectInDialog(HWND dialog, HWND control) {
    RECT rect = {};
    GetWindowRect(control, &rect);
    MapWindowPoints(nullptr, dialog, reinterpret_cast<POINT*>(&rect), 2);
    return rect;
}

void Grow(HWND dialog, LONG width, LONG height) {
    RECT rect = {};
    GetWindowRect(dialog, &rect);
    MoveTo(dialog, {rect.left, rect.top, rect.right + width, rect.bottom + height});
}

SIZE TextSize(HWND label) {
    char text[256];
    const int length = GetWindowTextA(label, text, sizeof(text));
    const HDC context = GetDC(label);
    auto* const font = reinterpret_cast<HGDIOBJ>(SendMessageA(label, WM_GETFONT, 0, 0));
    const HGDIOBJ before = SelectObject(context, font);
    SIZE size = {};
    GetTextExtentPoint32A(context, text, length, &size);
    SelectObject(context, before);
    ReleaseDC(label, context);
    return size;
}

// Widens a dialog at a place: controls across it grow, controls right of it move.
void InsertColumns(HWND dialog, LONG at, LONG width) {
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        RECT rect = RectInDialog(dialog, child);
        if (rect.left >= at)
            OffsetRect(&rect, width, 0);
        else if (rect.right > at)
            rect.right += width;
        MoveTo(child, rect);
    }
    Grow(dialog, width, 0);
}

} // namespace

ZoTerm& TerminalOfDialog(HWND dialog) {
    return *reinterpret_cast<ZoTerm*>(GetWindowLongPtrA(GetParent(dialog), GWLP_USERDATA));
}

HWND OpenCover(ZoTerm& terminal, WORD dialog, DLGPROC procedure) {
    terminal.EnterCover();
    const HWND cover =
        CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(dialog), terminal.m_hWnd, procedure, 0);
    if (cover)
        ShowWindow(cover, SW_SHOW);
    else
        terminal.LeaveCover();
    return cover;
}

// The window is enabled before the dialog goes: else another program's would become the active one.
INT_PTR CloseCover(HWND dialog) {
    TerminalOfDialog(dialog).LeaveCover();
    DestroyWindow(dialog);
    return TRUE;
}

void MakeRoomBelow(HWND dialog, int control) {
    const HWND upper = GetDlgItem(dialog, control);
    const RECT above = RectInDialog(dialog, upper);
    LONG covered = 0;
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        const LONG top = RectInDialog(dialog, child).top;
        const bool shown = (GetWindowLongPtrA(child, GWL_STYLE) & WS_VISIBLE) != 0;
        if (child != upper && shown && above.bottom - top > covered)
            covered = above.bottom - top;
    }
    if (covered == 0)
        return;
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        RECT rect = RectInDialog(dialog, child);
        OffsetRect(&rect, 0, covered);
        if (child != upper)
            MoveTo(child, rect);
    }
    Grow(dialog, 0, covered);
}

void MakeRoomForText(HWND dialog, int label) {
    const HWND control = GetDlgItem(dialog, label);
    RECT rect = RectInDialog(dialog, control);
    const LONG missing = TextSize(control).cx - (rect.right - rect.left);
    if (missing <= 0)
        return;
    rect.right += missing;
    MoveTo(control, rect);
    Grow(dialog, missing, 0);
}

void MakeRoomForCheckBox(HWND dialog, int box) {
    const HWND control = GetDlgItem(dialog, box);
    const RECT rect = RectInDialog(dialog, control);
    SIZE ideal = {};
    SendMessageA(control, BCM_GETIDEALSIZE, 0, reinterpret_cast<LPARAM>(&ideal));
    const LONG drawn = ideal.cx + ideal.cx / 32; // a theme may draw wider than is measured
    const LONG missing = drawn - (rect.right - rect.left);
    if (missing > 0)
        InsertColumns(dialog, (rect.left + rect.right) / 2, missing);
}

// Over a minimized window a dialog waits for it to be restored.
void CenterOverTerminal(HWND dialog) {
    const HWND terminal = GetParent(dialog);
    const RECT parent = RestoredRect(terminal);
    RECT own = {};
    GetWindowRect(dialog, &own);
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    const LONG left = (parent.left + parent.right) / 2 - width / 2;
    const LONG top = (parent.top + parent.bottom) / 2 - height / 2;
    const RECT centered = {left, top, left + width, top + height};
    MoveTo(dialog, IsIconic(terminal) || !IsInSight(centered) ? FitToWorkArea(centered) : centered);
}

void FocusControl(HWND dialog, int control) {
    SendMessageA(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(GetDlgItem(dialog, control)),
                 TRUE);
}

void MoveTo(HWND window, const RECT& rect) {
    MoveWindow(window, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, TRUE);
}
