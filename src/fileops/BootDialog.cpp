// A new operating-system image for the device, which has to be restarted for it.

#include "fileops/BootDialog.h"

#include "base/Text.h"
#include "fileops/FileOperation.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

namespace {

INT_PTR OnInitDialog(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    AttachOperation(terminal, dialog);
    ShowOperation(dialog);
    SetFileLine(dialog, "Booting", terminal.m_BootFile);
    SetProgressLine(dialog, "Waiting for reboot...");
    const bool started = terminal.Port->StartSend(nullptr, terminal.m_BootFile, nullptr,
                                                  SendModeBoot, ComPort::DefaultImageBlockSize) ||
                         terminal.Port->LastError() == ERROR_IO_PENDING;
    if (started) {
        BeginOperation(terminal, IDV_SEND);
        return FALSE; // the focus is where it belongs
    }
    terminal.m_ProgressDialog = nullptr;
    DestroyWindow(dialog);
    return FALSE;
}

// The status comes from the snapshot, which may be newer than the notification.
INT_PTR OnTransfer(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    ShowWindow(GetDlgItem(dialog, IDC_REBOOT), SW_HIDE);
    SendMessageA(dialog, DM_SETDEFID, IDCANCEL, 0);
    TransferInfo info = {};
    const bool open = terminal.Port->GetTransferInfo(&info);
    if (info.Block == 0)
        PlayClip(terminal);
    if (!open || info.Status != ERROR_IO_PENDING) {
        EndOperation(terminal, terminal.m_CompleteWav);
        return TRUE;
    }
    char text[100];
    FormatText(text, "%u of %u (%u blocks, %u errors)", info.Done, info.Size, info.Block,
               info.Errors);
    SetProgressLine(dialog, text);
    SetBar(dialog, IDC_FILE_BAR, info.Done, info.Size);
    return TRUE;
}

INT_PTR OnCancel(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    terminal.Port->StopSend(); // its last notification closes the dialog
    TransferInfo info = {};
    terminal.Port->GetTransferInfo(&info);
    if (info.Status == ERROR_IO_PENDING && info.Block == 0)
        EndOperation(terminal, terminal.m_CompleteWav);
    return TRUE;
}

INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command == IDC_REBOOT)
        TerminalOfDialog(dialog).SendCommandAloud("reboot");
    return command == IDCANCEL ? OnCancel(dialog) : command == IDC_REBOOT;
}

INT_PTR CALLBACK BootDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case LinkMessage: return OnTransfer(dialog);
    case WM_DESTROY: ForgetOperation(dialog); return TRUE;
    }
    return FALSE;
}

} // namespace

void OpenBootDialog(ZoTerm& terminal) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_BOOT), terminal.m_hWnd, &BootDialog, 0);
}
