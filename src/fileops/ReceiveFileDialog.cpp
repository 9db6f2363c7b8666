// One file from the device, with the console told that a program talks to it.

#include "fileops/ReceiveFileDialog.h"

#include "base/Text.h"
#include "fileops/FileOperation.h"
#include "link/codec/PackedList.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <algorithm>

namespace {

constexpr DWORD SettleTime = 300; // ms until the rest of the console's text has come

void TellConsole(ZoTerm& terminal, const char* command) {
    terminal.Port->SendCommand("\n");
    terminal.Port->SendCommand(command);
}

// A receive leaves no records, and none of an earlier batch.
void ClearResults(ZoTerm& terminal) {
    std::fill_n(terminal.m_Results, terminal.m_ResultsSize, '\0');
}

void ShowConsoleText(ZoTerm& terminal) {
    terminal.ShowPortOutput();
    Sleep(SettleTime);
    terminal.ShowPortOutput();
}

INT_PTR OnInitDialog(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    AttachOperation(terminal, dialog);
    if (terminal.m_ShowProgress)
        ShowOperation(dialog);
    SetFileLine(dialog, "Receiving", terminal.m_ReceiveFile);
    SetProgressLine(dialog, "Initializing...");

    char remote[2 * MAX_PATH]; // longer than any name that the link takes
    FormatText(remote, "/%s/%s", terminal.m_DeviceName, BaseName(terminal.m_ReceiveFile));
    terminal.m_CancelRequested = 0;
    TellConsole(terminal, "pc on\n");
    if (terminal.Port->StartReceive(terminal.m_ReceiveFile, remote)) {
        BeginOperation(terminal, IDV_RECEIVE);
        PlayClip(terminal);
        return FALSE;
    }
    EndOperation(terminal, "");
    ClearResults(terminal);
    ShowConsoleText(terminal);
    TellConsole(terminal, "pc off\n");
    return FALSE; // the focus is where it belongs
}

INT_PTR OnTransfer(HWND dialog, DWORD status) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    if (status != ERROR_IO_PENDING) {
        EndOperation(terminal, "");
        TellConsole(terminal, "pc off\n");
        ClearResults(terminal);
        ShowConsoleText(terminal);
        return TRUE;
    }
    TransferInfo info = {};
    terminal.Port->GetTransferInfo(&info);
    char text[100];
    FormatText(text, "%u (%u blocks, %u errors)", info.Done, info.Block, info.Errors);
    SetProgressLine(dialog, text);
    // The device tells no size, so what has come is all that is known.
    FormatText(text, "%u of %u bytes received", info.Done, info.Done);
    terminal.SetStatusText(text);
    return TRUE;
}

INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command != IDCANCEL)
        return FALSE;
    ZoTerm& terminal = TerminalOfDialog(dialog);
    terminal.m_CancelRequested = 1;
    terminal.Port->StopReceive(); // its last notification ends the operation
    return TRUE;
}

INT_PTR CALLBACK ReceiveFileDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case LinkMessage: return OnTransfer(dialog, static_cast<DWORD>(lParam));
    case WM_DESTROY: ForgetOperation(dialog); return TRUE;
    }
    return FALSE;
}

} // namespace

void OpenReceiveFileDialog(ZoTerm& terminal) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_RECEIVE), terminal.m_hWnd,
                       &ReceiveFileDialog, 0);
}
