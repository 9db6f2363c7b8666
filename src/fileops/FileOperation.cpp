#include "fileops/FileOperation.h"

#include "base/FileNames.h"
#include "base/SystemText.h"
#include "base/Text.h"
#include "batch/TransferResult.h"
#include "fileops/Converter.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Sounds.h"
#include "terminal/Taskbar.h"
#include "terminal/ZoTerm.h"

#include <cwchar>
#include <iterator>
#include <utility>

namespace {

constexpr LPARAM WholeClip = MAKELPARAM(0, -1); // from the first frame to the last
constexpr WPARAM ForEver = static_cast<WPARAM>(-1);
constexpr int ClipWidth = 272; // pixels, of both clips
constexpr int ClipHeight = 60;

// The control resizes to its clip when the clip is opened; this makes the room before.
void MakeRoomForClip(HWND dialog) {
    SetWindowPos(GetDlgItem(dialog, IDC_CLIP), nullptr, 0, 0, ClipWidth, ClipHeight,
                 SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
    MakeRoomBelow(dialog, IDC_CLIP);
}

// What some error numbers mean for a transfer, where the system's words would mislead.
struct Reason {
    DWORD status;
    const char* words;
};

constexpr Reason Reasons[] = {
    {ERROR_INVALID_HANDLE, "no port is open"},
    {ERROR_BAD_COMMAND, "the device refused"},
};
constexpr char NotCanceledByUser[] = "no answer, or the device gave up";

template <std::size_t Size>
void FormatReason(char (&text)[Size], DWORD status, bool canceledByUser) {
    FormatSystemError(text, status);
    if (status == ERROR_CANCELLED && !canceledByUser)
        CopyText(text, NotCanceledByUser);
    for (const Reason& reason : Reasons)
        if (reason.status == status)
            CopyText(text, reason.words);
}

template <std::size_t Size> void FormatTimeLeft(char (&text)[Size], std::uint64_t seconds) {
    const auto hours = static_cast<unsigned>(seconds / 3600);
    const auto minutes = static_cast<unsigned>(seconds / 60 % 60);
    const auto rest = static_cast<unsigned>(seconds % 60);
    if (hours > 0)
        FormatText(text, "%u:%02u:%02u left", hours, minutes, rest);
    else
        FormatText(text, "%u:%02u left", minutes, rest);
}

// True, too, when a dialog of the terminal is in front.
bool IsInFront(HWND window) {
    const HWND front = GetForegroundWindow();
    return front && (front == window || GetAncestor(front, GA_ROOTOWNER) == window);
}

// Until the window comes to the front.
void FlashButton(HWND window) {
    FLASHWINFO flash = {};
    flash.cbSize = sizeof(flash);
    flash.hwnd = window;
    flash.dwFlags = FLASHW_TRAY | FLASHW_TIMERNOFG;
    flash.uCount = 3;
    FlashWindowEx(&flash);
}

} // namespace

void AttachOperation(ZoTerm& terminal, HWND dialog, Activity activity) {
    terminal.Operation = {};
    terminal.Operation.m_ProgressDialog = dialog;
    terminal.SetActivity(activity);
    terminal.SetStatusText("");
    MakeRoomForClip(dialog);
    CenterOverTerminal(dialog);
}

void ShowOperation(HWND dialog) {
    ShowWindow(dialog, SW_SHOW);
    FocusControl(dialog, IDCANCEL);
}

void BeginOperation(ZoTerm& terminal, WORD clip) {
    const HWND dialog = terminal.Operation.m_ProgressDialog;
    terminal.EnableCommands(false);
    if (IsWindowVisible(dialog)) { // a hidden one needs no clip, and would take the keyboard away
        SendDlgItemMessageA(dialog, IDC_CLIP, ACM_OPENA,
                            reinterpret_cast<WPARAM>(GetModuleHandleA(nullptr)),
                            reinterpret_cast<LPARAM>(MAKEINTRESOURCEA(clip)));
        SetForegroundWindow(dialog);
    }
    ShowTaskbarState(terminal.m_hWnd, TaskbarState::Waiting);
    LoopWav(terminal.Settings.m_SendMid);
}

void ShowTotal(ZoTerm& terminal, std::uint64_t done, std::uint64_t total) {
    FileOperationState& operation = terminal.Operation;
    const std::uint64_t now = GetTickCount64();
    ShowTaskbarProgress(terminal.m_hWnd, done, total);
    if (operation.m_ClockStart == 0) {
        operation.m_ClockStart = now;
        operation.m_ClockBytes = done;
        return;
    }
    if (done <= operation.m_ClockBytes || total < done)
        return;
    const std::uint64_t left =
        (total - done) * (now - operation.m_ClockStart) / (done - operation.m_ClockBytes);
    char text[32];
    FormatTimeLeft(text, (left + 999) / 1000);
    SetDlgItemTextA(operation.m_ProgressDialog, IDC_TIME_LEFT, text);
}

void AwaitTransfer(ZoTerm& terminal) {
    TransferInfo info = {};
    terminal.Port->GetTransferInfo(&info, &terminal.Operation.m_Transfer);
}

TransferNews LookAtTransfer(ZoTerm& terminal, LPARAM notification, TransferInfo& info) {
    const auto about = static_cast<std::uint32_t>(static_cast<std::uint64_t>(notification) >> 32);
    std::uint32_t& awaited = terminal.Operation.m_Transfer;
    if (awaited == 0 || (about != 0 && about != awaited))
        return TransferNews::None;
    std::uint32_t number = 0;
    if (!terminal.Port->GetTransferInfo(&info, &number) || number != awaited)
        info = {ERROR_DEVICE_NOT_CONNECTED, 0, 0, 0, 0};
    if (info.Status == ERROR_IO_PENDING)
        return about == 0 ? TransferNews::None : TransferNews::Progress;
    awaited = 0;
    return TransferNews::Ended;
}

// ACM_PLAY starts a clip over, so it is sent once.
void PlayClip(ZoTerm& terminal) {
    if (std::exchange(terminal.Operation.m_ClipPlays, true))
        return;
    SendDlgItemMessageA(terminal.Operation.m_ProgressDialog, IDC_CLIP, ACM_PLAY, ForEver,
                        WholeClip);
}

void EndOperation(ZoTerm& terminal, const char* sound, Activity activity) {
    const HWND dialog = terminal.Operation.m_ProgressDialog;
    LeaveConversion(terminal.Operation.m_Conversion);
    if (terminal.Operation.m_RenameDialog) // it asks for this operation only
        CloseCover(terminal.Operation.m_RenameDialog);
    const bool portLost = terminal.Operation.m_PortLost;
    terminal.Operation = {};
    terminal.SetActivity(activity);
    terminal.EnableCommands(true);
    if (portLost)
        terminal.ShowConnection(false);
    SendDlgItemMessageA(dialog, IDC_CLIP, ACM_STOP, 0, 0);
    SendDlgItemMessageA(dialog, IDC_CLIP, ACM_OPENA, 0, 0);
    PlayWav(sound);
    const bool inFront = IsInFront(terminal.m_hWnd);
    DestroyWindow(dialog);
    ShowTaskbarState(terminal.m_hWnd, TaskbarState::None);
    if (!inFront)
        FlashButton(terminal.m_hWnd);
}

void ShowFailure(ZoTerm& terminal, const char* verb, DWORD status) {
    if (status == ERROR_SUCCESS)
        return;
    char reason[200];
    FormatReason(reason, status, terminal.Batch.m_CancelRequested != 0);
    char text[sizeof(reason) + 32];
    FormatText(text, "%s failed: %s", verb, reason);
    terminal.SetStatusText(text);
    if (IsInFront(terminal.m_hWnd))
        return;
    ShowTaskbarProgress(terminal.m_hWnd, 1, 1); // until the terminal is activated
    ShowTaskbarState(terminal.m_hWnd, TaskbarState::Failed);
}

void ForgetOperation(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    if (terminal.Operation.m_ProgressDialog != dialog)
        return;
    LeaveConversion(terminal.Operation.m_Conversion);
    terminal.Operation = {};
    StopSounds();
}

void SetFileLine(HWND dialog, const char* verb, const char* path) {
    wchar_t known[MAX_PATH];
    wchar_t text[MAX_PATH + 16];
    WidenPath(path, known);
    std::swprintf(text, std::size(text), L"%hs %ls", verb, known);
    SetDlgItemTextW(dialog, IDC_FILE_LINE, text);
}

void SetProgressLine(HWND dialog, const char* text) {
    SetDlgItemTextA(dialog, IDC_PROGRESS_LINE, text);
}

void SetBar(HWND dialog, int bar, std::uint64_t done, std::uint64_t total) {
    SendDlgItemMessageA(dialog, bar, PBM_SETPOS, Percent(done, total), 0);
}
