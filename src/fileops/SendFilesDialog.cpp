// The progress dialog of a batch: one file after another to the device. The batch itself says what
// comes next.

#include "fileops/SendFilesDialog.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "batch/PackedList.h"
#include "fileops/Converter.h"
#include "fileops/FileOperation.h"
#include "fileops/RenameDialog.h"
#include "fileops/SummaryDialog.h"
#include "link/codec/PathName.h"
#include "resources/resource.h"
#include "settings/MusicSupport.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/Taskbar.h"
#include "terminal/ZoTerm.h"

#include <cstdarg>
#include <utility>

namespace {

constexpr UINT SettleTime = 500; // ms that the device gets between two files
constexpr UINT_PTR SettleTimer = 1;
constexpr std::size_t CommandRoom = MusicTextRoom + ZoTerm::ConvertedFileRoom;

// How a batch ends: its sound, the record of the file that it ended with, whether it is complete.
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

// A line for the system's debugger.
ZO_PRINTF_LIKE(1, 2)
void Trace(const char* format, ...) {
    char line[CommandRoom + 100];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof(line), format, arguments);
    va_end(arguments);
    OutputDebugStringA(line);
}

void NoteFailure(ZoTerm& terminal, DWORD status) {
    if (terminal.Operation.m_Failure == ERROR_SUCCESS)
        terminal.Operation.m_Failure = status;
    ShowTaskbarState(terminal.m_hWnd, TaskbarState::Failed);
}

// The summary comes by a message, when nothing of the dialog is under way any more. Without one the
// terminal is idle when the dialog is gone.
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
        FinishBatch(terminal);
}

std::uint64_t OpenedFileSize(const char* path) {
    const HANDLE handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return 0;
    const OwnedHandle file(handle);
    LARGE_INTEGER size = {};
    return GetFileSizeEx(file.get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

// What the folder says of a file, without opening it: a list may have thousands. Of a link it says
// nothing about the file behind it.
std::uint64_t FileSize(const char* path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExA(path, GetFileExInfoStandard, &data))
        return 0;
    if (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
        return OpenedFileSize(path);
    return static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

std::uint64_t ListBytes(const char* list) {
    std::uint64_t total = 0;
    for (; *list; list = NextName(list))
        total += FileSize(list);
    return total;
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

// Between two files the device gets an empty line, and then some time.
void Settle(ZoTerm& terminal) {
    ShowFile(terminal);
    terminal.Operation.m_AwaitedLine = terminal.NewTag();
    if (!terminal.QueueLine("", terminal.Operation.m_AwaitedLine))
        SetTimer(terminal.Operation.m_ProgressDialog, SettleTimer, SettleTime, nullptr);
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
        terminal.LookLater(); // no dialog opens within the message at hand
        return;
    case TransferBatch::Search::ListRanOut:
        EndBatch(terminal, terminal.Operation.m_Begun ? NormalEnding : NoFileEnding);
        return;
    }
}

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

// A batch whose first file has been converted consists of the converted file.
void BeginConverted(ZoTerm& terminal) {
    LeaveConversion(std::exchange(terminal.Operation.m_Conversion, nullptr));
    terminal.Operation.m_Converted = true;
    Trace("ZoTerm->ConvertFile(): %s\n", terminal.ConvertedFile);
    Trace("ZoTerm->m_MusicSupportCurrentExtention: %s\n", terminal.ConvertedFile);
    BeginBatch(terminal, terminal.ConvertedFile, false);
}

// True when the batch goes on by itself, later or with the converted file.
bool Convert(ZoTerm& terminal) {
    char commandLine[ZoTerm::ConvertedFileRoom] = {};
    const char* const first = terminal.Batch.m_FileList;
    if (!terminal.ConvertFile(first, terminal.ConvertedFile, commandLine))
        return false;
    if (commandLine[0])
        terminal.Operation.m_Conversion =
            StartConversion(commandLine, terminal.m_hWnd, LookMessage);
    if (!terminal.Operation.m_Conversion) {
        BeginConverted(terminal); // as with a converter that fails
        return true;
    }
    terminal.SetActivity(Activity::Converting);
    SetFileLine(terminal.Operation.m_ProgressDialog, "Converting", first);
    return true;
}

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
    } else if (!Convert(terminal)) {
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
    if (batch.m_CancelRequested && !batch.AtEnd()) // it came when the file had gone through
        EndBatch(terminal, CancelledEnding);
    else
        Continue(terminal);
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
        SetTimer(dialog, SettleTimer, SettleTime, nullptr);
    return TRUE;
}

INT_PTR OnTimer(HWND dialog) {
    KillTimer(dialog, SettleTimer);
    ZoTerm& terminal = TerminalOfDialog(dialog);
    if (!StartTransfer(terminal))
        EndBatch(terminal, FileFailedEnding);
    return TRUE;
}

// A transfer's last notification ends the batch; what else the batch may wait for just ends.
INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command != IDCANCEL)
        return FALSE;
    ZoTerm& terminal = TerminalOfDialog(dialog);
    terminal.Batch.m_CancelRequested = 1;
    if (terminal.Operation.m_Transfer != 0)
        terminal.Port->StopSend();
    else
        EndBatch(terminal, CancelledEnding);
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

// The device's command for the file that was converted and sent.
void SendMusicCommand(ZoTerm& terminal) {
    const std::int32_t row = terminal.m_MusicSupportCurrentExtention;
    Trace("ZoTerm->m_MusicSupportCurrentExtention: %d\n", static_cast<int>(row));
    if (!terminal.After.converted || row < 0 || row >= terminal.Settings.m_MusicSupportExt)
        return;
    char line[CommandRoom];
    const bool fits =
        FormatText(line, "%s %s", MusicText(terminal.Settings.m_MusicRows[row].command),
                   BaseName(terminal.ConvertedFile));
    if (!fits || HasControlCharacter(line)) // a line end would make two commands of it
        return;
    Trace("ZoTerm->Port->SendCommand(): %s\n", line);
    terminal.QueueLine(line, LineSilent);
}

} // namespace

void OpenSendFilesDialog(ZoTerm& terminal, bool image) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_SEND), terminal.m_hWnd, &SendFilesDialog,
                       image);
}

void AskForName(ZoTerm& terminal) {
    terminal.Operation.m_WantsName = false;
    if (!OpenRenameDialog(terminal))
        TakeName(terminal, false);
}

void TakeName(ZoTerm& terminal, bool given) {
    if (given && terminal.Batch.Rename()) {
        StartCurrent(terminal);
    } else {
        terminal.Batch.RefuseName();
        Continue(terminal);
    }
}

void LookAtConverter(ZoTerm& terminal) {
    if (terminal.Operation.m_Conversion && ConversionEnded(terminal.Operation.m_Conversion))
        BeginConverted(terminal);
}

void FinishBatch(ZoTerm& terminal) {
    if (terminal.Closes())
        terminal.After = {};
    if (terminal.After.summary && terminal.IsCovered() && !terminal.SummaryIsOpen())
        return;
    if (std::exchange(terminal.After.summary, false)) {
        terminal.After.shown = true;
        OpenSummaryDialog(terminal);
    }
    if (terminal.After.shown && terminal.SummaryIsOpen()) // the rest comes when it is closed
        return;
    if (std::exchange(terminal.After.complete, false))
        SendMusicCommand(terminal);
    terminal.SetActivity(Activity::Idle);
}
