#include "commands/LineDialogs.h"

#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/ZoTerm.h"

namespace {

// A dialog for one field: what shows it, and what OK does with it.
template <INT_PTR (*Show)(HWND), INT_PTR (*Take)(HWND)>
INT_PTR CALLBACK FieldDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: return Show(dialog);
    case WM_COMMAND:
        switch (LOWORD(wParam)) {
        case IDOK: return Take(dialog);
        case IDCANCEL: return CloseCover(dialog);
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

// Stays open when the text is no number, or while the port is at work.
INT_PTR OpenTypedPort(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    BOOL isNumber = FALSE;
    const UINT number = GetDlgItemInt(dialog, IDC_NAME, &isNumber, FALSE);
    if (!isNumber || !terminal.MayChangeLine())
        return TRUE;
    terminal.OpenPort(static_cast<std::int32_t>(number), terminal.Settings.m_BaudRate);
    return CloseCover(dialog);
}

INT_PTR InitBaudRate(HWND dialog) {
    CenterOverTerminal(dialog);
    SetDlgItemInt(dialog, IDC_NAME, TerminalOfDialog(dialog).Settings.m_BaudRate, FALSE);
    return TRUE;
}

// Stays open when the port refuses the rate.
INT_PTR SetTypedBaudRate(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    BOOL isNumber = FALSE;
    const UINT rate = GetDlgItemInt(dialog, IDC_NAME, &isNumber, FALSE);
    const bool taken =
        isNumber && rate > 0 && terminal.MayChangeLine() && terminal.SelectBaudRate(rate);
    return taken ? CloseCover(dialog) : TRUE;
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
    return CloseCover(dialog);
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
