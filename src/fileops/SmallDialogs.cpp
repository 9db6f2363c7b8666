#include "fileops/SmallDialogs.h"

#include "base/FileNames.h"
#include "base/Text.h"
#include "batch/DeviceName.h"
#include "fileops/SendFilesDialog.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/ZoTerm.h"

#include <cwchar>

namespace {

constexpr char VersionText[] = "Version 1.0 build 50";

INT_PTR Close(HWND dialog) {
    CloseCover(dialog);
    return TRUE;
}

// A dialog for one field: what shows it, and what OK does with it.
template <INT_PTR (*Show)(HWND), INT_PTR (*Take)(HWND)>
INT_PTR CALLBACK FieldDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: return Show(dialog);
    case WM_COMMAND:
        switch (LOWORD(wParam)) {
        case IDOK: return Take(dialog);
        case IDCANCEL: return Close(dialog);
        }
    }
    return FALSE;
}

INT_PTR InitPort(HWND dialog) {
    CenterOverTerminal(dialog);
    SetDlgItemInt(dialog, IDC_NAME,
                  static_cast<UINT>(TerminalOfDialog(dialog).Settings.m_PortNumber), FALSE);
    return TRUE;
}

// What is no number leaves the dialog open, and so does a port that is at work.
INT_PTR OpenTypedPort(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    BOOL isNumber = FALSE;
    const UINT number = GetDlgItemInt(dialog, IDC_NAME, &isNumber, FALSE);
    if (!isNumber || !terminal.MayChangeLine())
        return TRUE;
    terminal.OpenPort(static_cast<std::int32_t>(number), terminal.Settings.m_BaudRate);
    return Close(dialog);
}

INT_PTR InitBaudRate(HWND dialog) {
    CenterOverTerminal(dialog);
    SetDlgItemInt(dialog, IDC_NAME, TerminalOfDialog(dialog).Settings.m_BaudRate, FALSE);
    return TRUE;
}

// A rate that the port refuses leaves the dialog open.
INT_PTR SetTypedBaudRate(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    BOOL isNumber = FALSE;
    const UINT rate = GetDlgItemInt(dialog, IDC_NAME, &isNumber, FALSE);
    const bool taken =
        isNumber && rate > 0 && terminal.MayChangeLine() && terminal.SelectBaudRate(rate);
    return taken ? Close(dialog) : TRUE;
}

INT_PTR InitDevice(HWND dialog) {
    CenterOverTerminal(dialog);
    SetDlgItemTextA(dialog, IDC_NAME, TerminalOfDialog(dialog).Settings.m_DeviceName);
    return TRUE;
}

INT_PTR SetTypedDevice(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    if (!terminal.MayChangeLine())
        return TRUE;
    GetDlgItemTextA(dialog, IDC_NAME, terminal.Settings.m_DeviceName,
                    sizeof(terminal.Settings.m_DeviceName));
    terminal.SelectDevice(terminal.Settings.m_DeviceName);
    return Close(dialog);
}

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

// The batch goes on.
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

INT_PTR InitAbout(HWND dialog) {
    CenterOverTerminal(dialog);
    SetDlgItemTextA(dialog, IDC_VERSION, VersionText);
    return TRUE;
}

// Only its button closes it.
INT_PTR CALLBACK AboutDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: return InitAbout(dialog);
    case WM_COMMAND: return LOWORD(wParam) == IDOK ? Close(dialog) : FALSE;
    }
    return FALSE;
}

} // namespace

void OpenPortDialog(ZoTerm& terminal) {
    OpenCover(terminal, IDD_OPEN_PORT, &FieldDialog<&InitPort, &OpenTypedPort>);
}

void OpenBaudRateDialog(ZoTerm& terminal) {
    OpenCover(terminal, IDD_BAUD_RATE, &FieldDialog<&InitBaudRate, &SetTypedBaudRate>);
}

void OpenDeviceDialog(ZoTerm& terminal) {
    OpenCover(terminal, IDD_SELECT_DEVICE, &FieldDialog<&InitDevice, &SetTypedDevice>);
}

void OpenAboutDialog(ZoTerm& terminal) {
    OpenCover(terminal, IDD_ABOUT, &AboutDialog);
}

bool OpenRenameDialog(ZoTerm& terminal) {
    return OpenCover(terminal, IDD_RENAME, &RenameDialog) != nullptr;
}
