// The batch controller: one file after another to the device, each with its record.

#include "fileops/SendFilesDialog.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "fileops/Batch.h"
#include "fileops/FileOperation.h"
#include "fileops/SmallDialogs.h"
#include "fileops/SummaryDialog.h"
#include "link/codec/DeviceName.h"
#include "link/codec/PackedList.h"
#include "resources/resource.h"
#include "settings/MusicSupport.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace {

constexpr DWORD SettleTime = 500; // ms that the device gets between two files
constexpr std::size_t CommandRoom = MusicTextRoom + ZoTerm::ConvertedFileRoom;

// How a batch ends: its sound, the record of the file that it ended with, what follows.
struct Ending {
    char (ZoTerm::*sound)[MAX_PATH];
    ResultCode record;
    bool musicCommand;
};

constexpr Ending NormalEnding = {&ZoTerm::m_CompleteWav, ResultEnd, true};
constexpr Ending NoFileEnding = {&ZoTerm::m_CompleteWav, ResultEnd, false};
constexpr Ending StartFailedEnding = {&ZoTerm::m_CmdErrWav, ResultApiError, false};
constexpr Ending FileFailedEnding = {&ZoTerm::m_CompleteWav, ResultApiError, false};
constexpr Ending CancelledEnding = {&ZoTerm::m_CompleteWav, ResultCancelled, false};

enum class Search { Found, ListRanOut, Cancelled };

void AppendResult(ZoTerm& terminal, const TransferResult& result) {
    const auto used = static_cast<std::size_t>(terminal.m_CurrentResult - terminal.m_Results);
    if (used + ResultsRoom(1) <= terminal.m_ResultsSize)
        terminal.m_CurrentResult = PutResult(terminal.m_CurrentResult, result);
}

void AppendCode(ZoTerm& terminal, ResultCode code) {
    TransferResult result;
    result.code = code;
    AppendResult(terminal, result);
}

void AppendDeviceName(ZoTerm& terminal) {
    const char* const name = BaseName(terminal.m_DeviceFileName);
    const std::size_t size = std::strlen(name) + 1;
    const auto used =
        static_cast<std::size_t>(terminal.m_CurrentDeviceName - terminal.m_DeviceNames);
    if (used + size + 1 > terminal.m_DeviceNamesSize)
        return;
    std::memcpy(terminal.m_CurrentDeviceName, name, size);
    terminal.m_CurrentDeviceName += size;
}

// What follows comes by a message, when nothing of the dialog is under way any more.
void EndBatch(ZoTerm& terminal, const Ending& ending) {
    EndOperation(terminal, terminal.*ending.sound);
    if (ending.record != ResultEnd)
        AppendCode(terminal, ending.record);
    terminal.SetStatusText("");
    terminal.m_MusicCommandWaits = ending.musicCommand && terminal.m_ConvertedBatch;
    const bool summary = terminal.m_DisplaySummary && !terminal.m_ImageMode;
    PostMessageA(terminal.m_hWnd, BatchEndedMessage, summary, ending.musicCommand);
}

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

// A batch whose first file is to be converted consists of the converted file.
void ConvertFirst(ZoTerm& terminal) {
    terminal.m_ConvertedBatch = terminal.ConvertFile(terminal.m_FileList, terminal.ConvertedFile);
    if (!terminal.m_ConvertedBatch)
        return;
    Trace("ZoTerm->ConvertFile(): %s\n", terminal.ConvertedFile);
    Trace("ZoTerm->m_MusicSupportCurrentExtention: %s\n", terminal.ConvertedFile);
    terminal.m_CurrentFile = terminal.ConvertedFile;
}

std::uint32_t FileSize(const char* path) {
    const HANDLE handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return 0;
    const OwnedHandle file(handle);
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file.get(), &size))
        return 0;
    return static_cast<std::uint32_t>(
        std::min<LONGLONG>(size.QuadPart, std::numeric_limits<std::uint32_t>::max()));
}

std::uint32_t ListBytes(const char* list) {
    std::uint64_t total = 0;
    for (; *list; list = NextName(list))
        total += FileSize(list);
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(total, std::numeric_limits<std::uint32_t>::max()));
}

// Puts the batch's list in front: the image alone, a converted file alone, or the terminal's list.
void ChooseList(ZoTerm& terminal, HWND dialog, bool image) {
    terminal.m_ImageMode = image;
    terminal.m_ConvertedBatch = false;
    terminal.m_CurrentFile = terminal.m_FileList;
    if (image) {
        SetWindowTextA(dialog, "Sending Image File");
        EndAsList(terminal.m_ImageFile);
        terminal.m_CurrentFile = terminal.m_ImageFile;
    } else {
        ConvertFirst(terminal);
    }
    terminal.m_BatchBytesTotal = ListBytes(terminal.m_CurrentFile);
    terminal.m_BatchBytesDone = 0;
    terminal.m_CurrentDeviceName = terminal.m_DeviceNames;
    terminal.m_CurrentResult = terminal.m_Results;
}

// The file goes under its own name. Of a path too long for the field its name is enough.
void TakeOwnName(ZoTerm& terminal) {
    if (!CopyText(terminal.m_DeviceFileName, terminal.m_CurrentFile))
        CopyText(terminal.m_DeviceFileName, BaseName(terminal.m_CurrentFile));
}

// Asks the user for a name. Whoever handed over the list is not kept waiting for that.
bool AskNewName(ZoTerm& terminal) {
    ReplyMessage(terminal.m_ProgressDialog != nullptr);
    return OpenRenameDialog(terminal);
}

// Moves on, from the current file, to one that has a name for the device.
Search FindFile(ZoTerm& terminal) {
    for (; *terminal.m_CurrentFile; terminal.m_CurrentFile = NextName(terminal.m_CurrentFile)) {
        if (ValidDeviceName(terminal.m_CurrentFile)) {
            TakeOwnName(terminal);
            return Search::Found;
        }
        const bool renamed = terminal.m_AskBeforeSendWrongFile && AskNewName(terminal);
        if (terminal.m_CancelRequested)
            return Search::Cancelled;
        if (renamed)
            return Search::Found;
        AppendCode(terminal, ResultWrongName);
    }
    return Search::ListRanOut;
}

// Starts the transfer of the current file.
bool StartFile(ZoTerm& terminal) {
    const HWND dialog = terminal.m_ProgressDialog;
    SetFileLine(dialog, "Sending", terminal.m_CurrentFile);
    SetProgressLine(dialog, "Initializing...");
    SendDlgItemMessageA(dialog, IDC_FILE_BAR, PBM_SETPOS, 0, 0);
    const bool image = terminal.m_ImageMode != 0;
    return terminal.Port->StartSend(image ? nullptr : terminal.m_DeviceName, terminal.m_CurrentFile,
                                    terminal.m_DeviceFileName, image ? SendModeImage : SendModeFile,
                                    terminal.m_ImageBlockSize) ||
           terminal.Port->LastError() == ERROR_IO_PENDING;
}

INT_PTR OnInitDialog(HWND dialog, bool image) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    AttachOperation(terminal, dialog);
    ChooseList(terminal, dialog, image);
    if (image || terminal.m_ShowProgress)
        ShowOperation(dialog);

    Search search = Search::Found;
    if (image)
        TakeOwnName(terminal);
    else
        search = FindFile(terminal);
    if (search == Search::ListRanOut)
        EndBatch(terminal, NoFileEnding);
    else if (search == Search::Cancelled)
        EndBatch(terminal, CancelledEnding);
    else if (StartFile(terminal))
        BeginOperation(terminal, IDV_SEND);
    else
        EndBatch(terminal, StartFailedEnding);
    return FALSE; // the focus is where it belongs
}

void ShowProgress(ZoTerm& terminal, const TransferInfo& info) {
    const HWND dialog = terminal.m_ProgressDialog;
    const std::uint32_t done = info.Done + terminal.m_BatchBytesDone;
    char text[100];
    FormatText(text, "%u of %u (%u blocks, %u errors)", info.Done, info.Size, info.Block,
               info.Errors);
    SetProgressLine(dialog, text);
    SetBar(dialog, IDC_FILE_BAR, info.Done, info.Size);
    SetBar(dialog, IDC_BATCH_BAR, done, terminal.m_BatchBytesTotal);
    FormatText(text, "%u of %u bytes sended", done, terminal.m_BatchBytesTotal);
    terminal.SetStatusText(text);
}

// The next file of the list, or the batch's end.
void GoOn(ZoTerm& terminal) {
    terminal.m_CurrentFile = NextName(terminal.m_CurrentFile);
    // A Cancel that came when the last transfer was over already ends the batch before the next.
    const bool ended = *terminal.m_CurrentFile && terminal.m_CancelRequested;
    const Search search = ended ? Search::Cancelled : FindFile(terminal);
    if (search == Search::ListRanOut) {
        EndBatch(terminal, NormalEnding);
        return;
    }
    if (search == Search::Cancelled) {
        EndBatch(terminal, CancelledEnding);
        return;
    }
    terminal.Port->SendCommand("");
    Sleep(SettleTime);
    if (!StartFile(terminal))
        EndBatch(terminal, FileFailedEnding);
}

INT_PTR OnTransfer(HWND dialog, DWORD status) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    TransferInfo info = {};
    terminal.Port->GetTransferInfo(&info);
    if (info.Block == 0 && terminal.m_CurrentFile == terminal.m_FileList)
        PlayClip(terminal);
    if (status == ERROR_IO_PENDING) {
        ShowProgress(terminal, info);
        return TRUE;
    }
    if (status == ERROR_SUCCESS) {
        AppendResult(terminal, SentResult(info.Block + 1, info.Errors, info.Size));
        AppendDeviceName(terminal);
        SetBar(dialog, IDC_FILE_BAR, info.Size, info.Size);
    } else if (terminal.m_CancelRequested) {
        EndBatch(terminal, CancelledEnding);
        return TRUE;
    } else {
        AppendCode(terminal, ResultSendError);
    }
    terminal.m_BatchBytesDone += info.Size;
    SetBar(dialog, IDC_BATCH_BAR, terminal.m_BatchBytesDone, terminal.m_BatchBytesTotal);
    GoOn(terminal);
    return TRUE;
}

INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command != IDCANCEL)
        return FALSE;
    ZoTerm& terminal = TerminalOfDialog(dialog);
    terminal.m_CancelRequested = 1;
    terminal.Port->StopSend(); // its last notification ends the batch
    return TRUE;
}

INT_PTR CALLBACK SendFilesDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog, lParam != 0);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case LinkMessage: return OnTransfer(dialog, static_cast<DWORD>(lParam));
    case WM_DESTROY: ForgetOperation(dialog); return TRUE;
    }
    return FALSE;
}

} // namespace

void OpenSendFilesDialog(ZoTerm& terminal, bool image) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_SEND), terminal.m_hWnd, &SendFilesDialog,
                       image);
}

void FinishBatch(ZoTerm& terminal, bool summary, bool complete) {
    if (summary)
        OpenSummaryDialog(terminal);
    if (complete)
        Trace("ZoTerm->m_MusicSupportCurrentExtention: %d\n",
              static_cast<int>(terminal.m_MusicSupportCurrentExtention));
    const std::int32_t row = terminal.m_MusicSupportCurrentExtention;
    if (!std::exchange(terminal.m_MusicCommandWaits, false) || row < 0)
        return;
    char line[CommandRoom];
    const bool fits = FormatText(line, "%s %s", MusicText(terminal.m_MusicSupportCommands[row]),
                                 BaseName(terminal.ConvertedFile));
    if (!fits || HasControlCharacter(line)) // a line end would make two commands of it
        return;
    Trace("ZoTerm->Port->SendCommand(): %s\n", line);
    terminal.Port->SendCommand(line);
}
