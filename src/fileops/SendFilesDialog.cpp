// The progress dialog of a batch.

#include "fileops/SendFilesDialog.h"

#include "base/Text.h"
#include "batch/PackedList.h"
#include "fileops/BatchConversion.h"
#include "fileops/FileOperation.h"
#include "fileops/SendBatch.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

namespace {

BatchSettings SettingsInUse(const TermSettings& settings) {
    BatchSettings used;
    CopyText(used.folder, settings.m_DeviceName);
    CopyText(used.completeWav, settings.m_CompleteWav);
    CopyText(used.errorWav, settings.m_CmdErrWav);
    used.imageBlockSize = settings.m_ImageBlockSize;
    used.asksForNames = settings.m_AskBeforeSendWrongFile != 0;
    used.showsSummary = settings.m_DisplaySummary != 0;
    return used;
}

INT_PTR OnInitDialog(HWND dialog, bool image) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    AttachOperation(terminal, dialog, Activity::Sending);
    terminal.Batch.Used = SettingsInUse(terminal.Settings);
    if (image)
        SetWindowTextA(dialog, "Sending Image File");
    if (image || terminal.Settings.m_ShowProgress)
        ShowOperation(dialog);
    if (image) {
        EndAsList(terminal.Settings.m_ImageFile);
        BeginBatch(terminal, terminal.Settings.m_ImageFile, true);
    } else if (!ConvertFirst(terminal)) {
        BeginBatch(terminal, terminal.Batch.m_FileList, false);
    }
    return FALSE; // the focus is where it belongs
}

void ShowProgress(ZoTerm& terminal, const TransferInfo& info) {
    const HWND dialog = terminal.Operation.m_ProgressDialog;
    const std::uint32_t total = terminal.Batch.m_BatchBytesTotal;
    const std::uint32_t done = info.Done + terminal.Batch.m_BatchBytesDone;
    char text[100];
    FormatText(text, "%u of %u (%u blocks, %u errors)", info.Done, info.Size, info.Block,
               info.Errors);
    SetProgressLine(dialog, text);
    SetBar(dialog, IDC_FILE_BAR, info.Done, info.Size);
    SetBar(dialog, IDC_BATCH_BAR, done, total);
    ShowTotal(terminal, done, total);
    FormatText(text, "%u of %u bytes sended", done, total);
    terminal.SetStatusText(text);
}

INT_PTR OnTransfer(HWND dialog, LPARAM notification) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    TransferInfo info = {};
    const TransferNews news = LookAtTransfer(terminal, notification, info);
    if (news == TransferNews::None)
        return TRUE;
    if (info.Block == 0 && terminal.Batch.AtFirstOfList())
        PlayClip(terminal);
    if (news == TransferNews::Progress)
        ShowProgress(terminal, info);
    else
        EndFile(terminal, info);
    return TRUE;
}

INT_PTR OnLine(HWND dialog, LPARAM tag) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    if (static_cast<std::uint32_t>(tag) == terminal.Operation.m_AwaitedLine)
        LetSettle(terminal);
    return TRUE;
}

INT_PTR OnTimer(HWND dialog) {
    KillTimer(dialog, SettleTimer);
    StartSettled(TerminalOfDialog(dialog));
    return TRUE;
}

// A running transfer's last notification ends the batch; any other wait ends here.
INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command != IDCANCEL)
        return FALSE;
    ZoTerm& terminal = TerminalOfDialog(dialog);
    terminal.Batch.m_CancelRequested = 1;
    if (terminal.Operation.m_Transfer != 0)
        terminal.Port->StopSend();
    else
        CancelBatch(terminal);
    return TRUE;
}

INT_PTR CALLBACK SendFilesDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog, lParam != 0);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case WM_TIMER: return wParam == SettleTimer ? OnTimer(dialog) : FALSE;
    case LinkMessage:
        return wParam == NotifyAnswer ? OnLine(dialog, lParam) : OnTransfer(dialog, lParam);
    case WM_DESTROY: ForgetOperation(dialog); return TRUE;
    }
    return FALSE;
}

} // namespace

void OpenSendFilesDialog(ZoTerm& terminal, bool image) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_SEND), terminal.m_hWnd, &SendFilesDialog,
                       image);
}
