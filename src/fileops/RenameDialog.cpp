#include "fileops/RenameDialog.h"

#include "base/FileNames.h"
#include "base/Text.h"
#include "batch/DeviceName.h"
#include "fileops/SendBatch.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/ZoTerm.h"

#include <cwchar>

namespace {

INT_PTR InitRename(HWND dialog) {
    TerminalOfDialog(dialog).Operation.m_RenameDialog = dialog;
    MakeRoomForText(dialog, IDC_RENAME_TEXT);
    CenterOverTerminal(dialog);
    char path[MAX_PATH];
    wchar_t longPath[MAX_PATH];
    CopyText(path, TerminalOfDialog(dialog).Batch.m_CurrentFile);
    WidenPath(path, longPath); // the name that the user knows
    const wchar_t* const backslash = std::wcsrchr(longPath, L'\\');
    const wchar_t* const name = backslash ? backslash + 1 : longPath;
    SetDlgItemTextW(dialog, IDC_FILE_LINE, name);
    SetDlgItemTextW(dialog, IDC_NEW_NAME, name);
    SendDlgItemMessageA(dialog, IDC_NEW_NAME, EM_SETSEL, 0, -1);
    FocusControl(dialog, IDC_NEW_NAME);
    return FALSE;
}

bool TakeTypedName(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    GetDlgItemTextA(dialog, IDC_NEW_NAME, terminal.Batch.m_DeviceFileName,
                    sizeof(terminal.Batch.m_DeviceFileName));
    return ValidDeviceName(terminal.Batch.m_DeviceFileName) != 0;
}

INT_PTR CloseRename(HWND dialog, bool renamed) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    CloseCover(dialog);
    TakeName(terminal, renamed);
    return TRUE;
}

INT_PTR OnRenameCommand(HWND dialog, WORD command, WORD notification) {
    switch (command) {
    case IDC_NEW_NAME:
        if (notification == EN_CHANGE)
            EnableWindow(GetDlgItem(dialog, IDOK), TakeTypedName(dialog));
        return TRUE;
    case IDOK: return TakeTypedName(dialog) ? CloseRename(dialog, true) : TRUE;
    case IDCANCEL: return CloseRename(dialog, false);
    }
    return FALSE;
}

INT_PTR CALLBACK RenameDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: return InitRename(dialog);
    case WM_DESTROY: TerminalOfDialog(dialog).Operation.m_RenameDialog = nullptr; return TRUE;
    case WM_COMMAND: return OnRenameCommand(dialog, LOWORD(wParam), HIWORD(wParam));
    }
    return FALSE;
}

} // namespace

bool OpenRenameDialog(ZoTerm& terminal) {
    return OpenCover(terminal, IDD_RENAME, &RenameDialog) != nullptr;
}
