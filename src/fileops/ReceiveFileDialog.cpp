// Receives one file. "pc on" before it and "pc off" after it switch the device's console.

#include "fileops/ReceiveFileDialog.h"

#include "base/Text.h"
#include "fileops/FileOperation.h"
#include "link/codec/PathName.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

#include <utility>

namespace {

constexpr UINT SettleTime = 300; // ms for the rest of the console's text

constexpr char ProgramTalks[] = "\n\0pc on\n\0";
constexpr char PersonTalks[] = "\n\0pc off\n\0";

// Shows the console's text that came during the transfer, and the rest after SettleTime.
void ShowConsoleText(ZoTerm& terminal) {
    terminal.ShowPortOutput();
    SetTimer(terminal.m_hWnd, SettleTimerId, SettleTime, nullptr);
}

INT_PTR OnInitDialog(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    AttachOperation(terminal, dialog, Activity::Receiving);
    if (terminal.Settings.m_ShowProgress)
        ShowOperation(dialog);
    SetFileLine(dialog, "Receiving", terminal.Settings.m_ReceiveFile);
    SetProgressLine(dialog, "Initializing...");

    char remote[2 * MAX_PATH]; // longer than any name that the link takes
    FormatText(remote, "/%s/%s", terminal.Settings.m_DeviceName,
               BaseName(terminal.Settings.m_ReceiveFile));
    terminal.Batch.m_CancelRequested = 0;
    terminal.QueueLines(ProgramTalks, LineSilent); // the transfer's own line follows
    if (terminal.Port->StartReceive(terminal.Settings.m_ReceiveFile, remote)) {
        AwaitTransfer(terminal);
        BeginOperation(terminal, IDV_RECEIVE);
        PlayClip(terminal);
        return FALSE;
    }
    const DWORD error = terminal.Port->LastError();
    terminal.After = {};
    terminal.After.consoleWaits = true;
    EndOperation(terminal, "", Activity::Ending);
    ShowFailure(terminal, "Receive", error);
    terminal.Batch.ClearRecords();
    ShowConsoleText(terminal);
    return FALSE; // the focus is where it belongs
}

INT_PTR OnTransfer(HWND dialog, LPARAM notification) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    TransferInfo info = {};
    const TransferNews news = LookAtTransfer(terminal, notification, info);
    if (news == TransferNews::Ended) {
        EndOperation(terminal, "", Activity::Idle);
        ShowFailure(terminal, "Receive", info.Status);
        terminal.QueueLines(PersonTalks, LineSilent);
        terminal.Batch.ClearRecords();
        ShowConsoleText(terminal);
    }
    if (news != TransferNews::Progress)
        return TRUE;
    char text[100];
    FormatText(text, "%u (%u blocks, %u errors)", info.Done, info.Block, info.Errors);
    SetProgressLine(dialog, text);
    // The device announces no size, so the total is what has come.
    FormatText(text, "%u of %u bytes received", info.Done, info.Done);
    terminal.SetStatusText(text);
    return TRUE;
}

INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command != IDCANCEL)
        return FALSE;
    ZoTerm& terminal = TerminalOfDialog(dialog);
    terminal.Batch.m_CancelRequested = 1;
    terminal.Port->StopReceive(); // its last notification ends the operation
    return TRUE;
}

INT_PTR CALLBACK ReceiveFileDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case LinkMessage: return OnTransfer(dialog, lParam);
    case WM_DESTROY: ForgetOperation(dialog); return TRUE;
    }
    return FALSE;
}

} // namespace

void OpenReceiveFileDialog(ZoTerm& terminal) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_RECEIVE), terminal.m_hWnd,
                       &ReceiveFileDialog, 0);
}

// SettleTime is over: the console's text is complete.
void ZoTerm::OnSettled() {
    KillTimer(m_hWnd, SettleTimerId);
    ShowPortOutput();
    if (!std::exchange(After.consoleWaits, false))
        return;
    QueueLines(PersonTalks, LineSilent);
    SetActivity(Activity::Idle);
}
