#include "fileops/SendBatch.h"

#include "fileops/BatchConversion.h"
#include "fileops/FileOperation.h"
#include "fileops/FileSizes.h"
#include "fileops/RenameDialog.h"
#include "fileops/SummaryDialog.h"
#include "resources/resource.h"
#include "terminal/Taskbar.h"
#include "terminal/ZoTerm.h"

#include <commctrl.h>

#include <utility>

namespace {

constexpr UINT SettleTime = 500; // ms that the device gets between two files

// How a batch ends: its sound, the record of its last file, whether it is complete.
struct Ending {
    char (BatchSettings::*sound)[BatchSettings::PathRoom];
    ResultCode record;
    bool complete;
};

constexpr Ending NormalEnding = {&BatchSettings::completeWav, ResultEnd, true};
constexpr Ending NoFileEnding = {&BatchSettings::completeWav, ResultEnd, false};
constexpr Ending StartFailedEnding = {&BatchSettings::errorWav, ResultApiError, false};
constexpr Ending FileFailedEnding = {&BatchSettings::completeWav, ResultApiError, false};
constexpr Ending CancelledEnding = {&BatchSettings::completeWav, ResultCancelled, false};

void NoteFailure(ZoTerm& terminal, DWORD status) {
    if (terminal.Operation.m_Failure == ERROR_SUCCESS)
        terminal.Operation.m_Failure = status;
    ShowTaskbarState(terminal.m_hWnd, TaskbarState::Failed);
}

// A summary opens by a posted message, when the dialog's own have ended. Without a summary the
// terminal is idle on return.
void EndBatch(ZoTerm& terminal, const Ending& ending) {
    TransferBatch& batch = terminal.Batch;
    terminal.After = {};
    terminal.After.summary = batch.Used.showsSummary && !batch.m_ImageMode;
    terminal.After.complete = ending.complete;
    terminal.After.converted = terminal.Operation.m_Converted;
    if (ending.record != ResultEnd)
        batch.Record(ending.record);
    if (ending.record == ResultCancelled)
        NoteFailure(terminal, ERROR_CANCELLED);
    const DWORD failure = terminal.Operation.m_Failure;
    EndOperation(terminal, batch.Used.*ending.sound, Activity::Ending);
    terminal.SetStatusText("");
    ShowFailure(terminal, "Send", failure);
    if (terminal.After.summary)
        terminal.LookLater();
    else
        terminal.FinishBatch();
}

void ShowFile(ZoTerm& terminal) {
    const HWND dialog = terminal.Operation.m_ProgressDialog;
    SetFileLine(dialog, "Sending", terminal.Batch.m_CurrentFile);
    SetProgressLine(dialog, "Initializing...");
    SendDlgItemMessageA(dialog, IDC_FILE_BAR, PBM_SETPOS, 0, 0);
}

// Starts the transfer of the current file.
bool StartTransfer(ZoTerm& terminal) {
    const TransferBatch& batch = terminal.Batch;
    const bool image = batch.m_ImageMode != 0;
    if (!terminal.Port->StartSend(image ? nullptr : batch.Used.folder, batch.m_CurrentFile,
                                  batch.m_DeviceFileName, image ? SendModeImage : SendModeFile,
                                  batch.Used.imageBlockSize)) {
        NoteFailure(terminal, terminal.Port->LastError());
        return false;
    }
    AwaitTransfer(terminal);
    return true;
}

void StartFirst(ZoTerm& terminal) {
    ShowFile(terminal);
    if (!StartTransfer(terminal)) {
        EndBatch(terminal, StartFailedEnding);
        return;
    }
    terminal.Operation.m_Begun = true;
    BeginOperation(terminal, IDV_SEND);
}

// Sends the device an empty line between two files, and waits SettleTime after its answer.
void Settle(ZoTerm& terminal) {
    ShowFile(terminal);
    terminal.Operation.m_AwaitedLine = terminal.NewTag();
    if (!terminal.QueueLine("", terminal.Operation.m_AwaitedLine))
        LetSettle(terminal);
}

void StartCurrent(ZoTerm& terminal) {
    if (terminal.Operation.m_Begun)
        Settle(terminal);
    else
        StartFirst(terminal);
}

// The next file of the list that has a name, the question for a name, or the batch's end.
void Continue(ZoTerm& terminal) {
    switch (terminal.Batch.FindFile(terminal.Batch.Used.asksForNames)) {
    case TransferBatch::Search::Found: StartCurrent(terminal); return;
    case TransferBatch::Search::WantsName:
        terminal.Operation.m_WantsName = true;
        terminal.LookLater(); // no dialog opens within this message
        return;
    case TransferBatch::Search::ListRanOut:
        EndBatch(terminal, terminal.Operation.m_Begun ? NormalEnding : NoFileEnding);
        return;
    }
}

} // namespace

void BeginBatch(ZoTerm& terminal, const char* list, bool image) {
    terminal.SetActivity(Activity::Sending);
    terminal.Batch.Begin(list, image, ListBytes(list));
    if (!image) {
        Continue(terminal);
        return;
    }
    terminal.Batch.TakeOwnName();
    StartFirst(terminal);
}

void LetSettle(ZoTerm& terminal) {
    SetTimer(terminal.Operation.m_ProgressDialog, SettleTimer, SettleTime, nullptr);
}

void StartSettled(ZoTerm& terminal) {
    if (!StartTransfer(terminal))
        EndBatch(terminal, FileFailedEnding);
}

void EndFile(ZoTerm& terminal, const TransferInfo& info) {
    TransferBatch& batch = terminal.Batch;
    const HWND dialog = terminal.Operation.m_ProgressDialog;
    if (info.Status == ERROR_SUCCESS) {
        batch.RecordSent(info.Block + 1, info.Errors, info.Size);
        SetBar(dialog, IDC_FILE_BAR, info.Size, info.Size);
    } else if (batch.m_CancelRequested) {
        EndBatch(terminal, CancelledEnding);
        return;
    } else {
        NoteFailure(terminal, info.Status);
        batch.Record(ResultSendError);
    }
    batch.FinishFile(info.Size);
    SetBar(dialog, IDC_BATCH_BAR, batch.m_BatchBytesDone, batch.m_BatchBytesTotal);
    if (batch.m_CancelRequested && !batch.AtEnd()) // it came after the last block
        EndBatch(terminal, CancelledEnding);
    else
        Continue(terminal);
}

void CancelBatch(ZoTerm& terminal) {
    EndBatch(terminal, CancelledEnding);
}

void ZoTerm::AskForName() {
    Operation.m_WantsName = false;
    if (!OpenRenameDialog(*this))
        TakeName(*this, false);
}

void TakeName(ZoTerm& terminal, bool given) {
    if (given && terminal.Batch.Rename()) {
        StartCurrent(terminal);
    } else {
        terminal.Batch.RefuseName();
        Continue(terminal);
    }
}

void ZoTerm::FinishBatch() {
    if (m_CloseWanted)
        After = {};
    if (After.summary && IsCovered() && !SummaryIsOpen())
        return;
    if (std::exchange(After.summary, false)) {
        After.shown = true;
        OpenSummaryDialog(*this);
    }
    if (After.shown && SummaryIsOpen()) // called again when it closes
        return;
    if (std::exchange(After.complete, false))
        SendMusicCommand(*this);
    SetActivity(Activity::Idle);
}
