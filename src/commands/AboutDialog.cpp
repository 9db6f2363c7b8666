#include "commands/AboutDialog.h"

#include "resources/resource.h"
#include "terminal/Dialogs.h"

#include <windows.h>

namespace {

constexpr char VersionText[] = "Version 1.0 build 50";

INT_PTR InitAbout(HWND dialog) {
    CenterOverTerminal(dialog);
    SetDlgItemTextA(dialog, IDC_VERSION, VersionText);
    return TRUE;
}

// Only its button closes it.
INT_PTR CALLBACK AboutDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: return InitAbout(dialog);
    case WM_COMMAND: return LOWORD(wParam) == IDOK ? CloseCover(dialog) : FALSE;
    }
    return FALSE;
}

} // namespace

void OpenAboutDialog(ZoTerm& terminal) {
    OpenCover(terminal, IDD_ABOUT, &AboutDialog);
}
