#include "fileops/FileOperation.h"

#include "base/Text.h"
#include "fileops/Batch.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Sounds.h"
#include "terminal/ZoTerm.h"

namespace {

constexpr LPARAM WholeClip = MAKELPARAM(0, -1); // from the first frame to the last
constexpr WPARAM ForEver = static_cast<WPARAM>(-1);

} // namespace

void AttachOperation(ZoTerm& terminal, HWND dialog) {
    terminal.m_ProgressDialog = dialog;
    terminal.m_ClipPlays = false;
    CenterOverTerminal(dialog);
}

void ShowOperation(HWND dialog) {
    ShowWindow(dialog, SW_SHOW);
    SetFocus(GetDlgItem(dialog, IDCANCEL));
}

void BeginOperation(ZoTerm& terminal, WORD clip) {
    const HWND dialog = terminal.m_ProgressDialog;
    terminal.EnableCommands(false);
    if (IsWindowVisible(dialog)) { // a hidden one needs no clip, and would take the keyboard away
        SendDlgItemMessageA(dialog, IDC_CLIP, ACM_OPENA,
                            reinterpret_cast<WPARAM>(GetModuleHandleA(nullptr)),
                            reinterpret_cast<LPARAM>(MAKEINTRESOURCEA(clip)));
        MakeRoomBelow(dialog, IDC_CLIP);
        SetForegroundWindow(dialog);
    }
    LoopWav(terminal.m_SendMid);
}

// A clip that is told to play begins again, so it is told once.
void PlayClip(ZoTerm& terminal) {
    if (terminal.m_ClipPlays)
        return;
    terminal.m_ClipPlays = true;
    SendDlgItemMessageA(terminal.m_ProgressDialog, IDC_CLIP, ACM_PLAY, ForEver, WholeClip);
}

void EndOperation(ZoTerm& terminal, const char* sound) {
    const HWND dialog = terminal.m_ProgressDialog;
    terminal.m_ProgressDialog = nullptr;
    terminal.EnableCommands(true);
    SendDlgItemMessageA(dialog, IDC_CLIP, ACM_STOP, 0, 0);
    SendDlgItemMessageA(dialog, IDC_CLIP, ACM_OPENA, 0, 0);
    PlayWav(sound);
    DestroyWindow(dialog);
}

void ForgetOperation(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    if (terminal.m_ProgressDialog != dialog)
        return;
    terminal.m_ProgressDialog = nullptr;
    StopSounds();
}

void SetFileLine(HWND dialog, const char* verb, const char* path) {
    char text[MAX_PATH + 16];
    FormatText(text, "%s %s", verb, path);
    SetDlgItemTextA(dialog, IDC_FILE_LINE, text);
}

void SetProgressLine(HWND dialog, const char* text) {
    SetDlgItemTextA(dialog, IDC_PROGRESS_LINE, text);
}

void SetBar(HWND dialog, int bar, std::uint64_t done, std::uint64_t total) {
    SendDlgItemMessageA(dialog, bar, PBM_SETPOS, Percent(done, total), 0);
}
