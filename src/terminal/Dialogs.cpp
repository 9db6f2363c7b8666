#include "terminal/Dialogs.h"

ZoTerm& TerminalOfDialog(HWND dialog) {
    return *reinterpret_cast<ZoTerm*>(GetWindowLongPtrA(GetParent(dialog), GWLP_USERDATA));
}

void CenterOverTerminal(HWND dialog) {
    RECT parent = {};
    RECT own = {};
    GetWindowRect(GetParent(dialog), &parent);
    GetWindowRect(dialog, &own);
    const LONG width = own.right - own.left;
    const LONG height = own.bottom - own.top;
    const LONG left = (parent.left + parent.right) / 2 - width / 2;
    const LONG top = (parent.top + parent.bottom) / 2 - height / 2;
    MoveTo(dialog, {left, top, left + width, top + height});
}

void MoveTo(HWND window, const RECT& rect) {
    MoveWindow(window, rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top, TRUE);
}
