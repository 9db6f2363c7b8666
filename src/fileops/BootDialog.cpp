// Boots a new operating-system image into the device, which has to restart for it.

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
    AttachOperation(terminal, dialog, Activity::Booting);
    ShowOperation(dialog);
    SendMessageA(dialog, DM_SETDEFID, IDCANCEL, 0); // Enter presses the focused button
    terminal.Batch.m_CancelRequested = 0;
    SetFileLine(dialog, "Booting", terminal.Settings.m_BootFile);
    SetProgressLine(dialog, "Waiting for reboot...");
    if (terminal.Port->StartSend(nullptr, terminal.Settings.m_BootFile, nullptr, SendModeBoot,
                                 ComPort::DefaultImageBlockSize)) {
        AwaitTransfer(terminal);
        BeginOperation(terminal, IDV_SEND);
        return FALSE; // the focus is where it belongs
    }
    const DWORD error = terminal.Port->LastError();
    terminal.Operation = {};
    terminal.SetActivity(Activity::Idle);
    DestroyWindow(dialog);
    ShowFailure(terminal, "Boot", error);
    return FALSE;
}

// A hidden button must not keep the focus.
void HideReboot(HWND dialog) {
    const HWND button = GetDlgItem(dialog, IDC_REBOOT);
    if (GetFocus() == button)
        FocusControl(dialog, IDCANCEL);
    ShowWindow(button, SW_HIDE);
}

INT_PTR OnTransfer(HWND dialog, LPARAM notification) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    TransferInfo info = {};
    const TransferNews news = LookAtTransfer(terminal, notification, info);
    if (news == TransferNews::Ended) {
        EndOperation(terminal, terminal.Settings.m_CompleteWav, Activity::Idle);
        ShowFailure(terminal, "Boot", info.Status);
    }
    if (news != TransferNews::Progress)
        return TRUE;
    HideReboot(dialog);
    if (info.Block == 0)
        PlayClip(terminal);
    char text[100];
    FormatText(text, "%u of %u (%u blocks, %u errors)", info.Done, info.Size, info.Block,
               info.Errors);
    SetProgressLine(dialog, text);
    SetBar(dialog, IDC_FILE_BAR, info.Done, info.Size);
    ShowTotal(terminal, info.Done, info.Size);
    return TRUE;
}

// The transfer's last notification closes the dialog.
void Cancel(ZoTerm& terminal) {
    terminal.Batch.m_CancelRequested = 1;
    terminal.Port->StopSend();
}

INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command == IDC_REBOOT)
        TerminalOfDialog(dialog).QueueLine("reboot", LineAloud);
    if (command == IDCANCEL)
        Cancel(TerminalOfDialog(dialog));
    return command == IDCANCEL || command == IDC_REBOOT;
}

INT_PTR CALLBACK BootDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case LinkMessage: return OnTransfer(dialog, lParam);
    case WM_DESTROY: ForgetOperation(dialog); return TRUE;
    }
    return FALSE;
}

} // namespace

void OpenBootDialog(ZoTerm& terminal) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_BOOT), terminal.m_hWnd, &BootDialog, 0);
}
