// The terminal window's procedure, and the handlers that belong to no control.

#include "terminal/TerminalWindow.h"

#include "base/Text.h"
#include "resources/resource.h"
#include "terminal/DispatcherRequest.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

#include <dbt.h>

#include <cstdlib>
#include <cstring>

namespace {

LRESULT TerminalWindowProc(ZoTerm* terminal, HWND window, UINT message, WPARAM wParam,
                           LPARAM lParam) {
    switch (message) {
    case WM_CREATE: return terminal->OnCreate(window);
    case WM_DESTROY: return terminal->OnDestroy();
    case WM_SIZE: return terminal->OnSize(wParam, lParam);
    case WM_ACTIVATE: return terminal->OnActivate(wParam);
    case WM_CLOSE: return terminal->OnClose();
    case WM_DRAWITEM: return terminal->OnDrawItem(*reinterpret_cast<DRAWITEMSTRUCT*>(lParam));
    case WM_NOTIFY: return terminal->OnNotify(reinterpret_cast<NMHDR*>(lParam));
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORSTATIC:
        return terminal->OnControlColor(reinterpret_cast<HDC>(wParam),
                                        reinterpret_cast<HWND>(lParam));
    case WM_COPYDATA: return terminal->OnCopyData(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    case WM_DEVICECHANGE: return terminal->OnDeviceChange(wParam, lParam);
    case WM_TIMER: return terminal->OnTimer(wParam);
    case LinkMessage: return terminal->OnLinkNotice(wParam, lParam);
    case BatchEndedMessage: return terminal->OnBatchEnded(wParam != 0, lParam != 0);
    case WM_COMMAND: return terminal->OnCommand(LOWORD(wParam), HIWORD(wParam));
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

void FreeBuffer(char*& buffer) {
    std::free(buffer);
    buffer = nullptr;
}

} // namespace

LRESULT CALLBACK TerminalClassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CREATE) {
        const auto* creation = reinterpret_cast<CREATESTRUCTA*>(lParam);
        SetWindowLongPtrA(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* terminal = reinterpret_cast<ZoTerm*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (!terminal)
        return DefWindowProcA(window, message, wParam, lParam);
    return TerminalWindowProc(terminal, window, message, wParam, lParam);
}

LRESULT ZoTerm::OnCreate(HWND window) {
    m_hWnd = window;
    if (!CreateControls(window))
        return -1;
    LoadCommandHistory();
    SetFocus(m_hCommand);
    return 0;
}

// Also runs for a window whose creation failed, so it takes what is missing as it is.
LRESULT ZoTerm::OnDestroy() {
    SaveSettings(); // reads the history out of the command box, so it comes first
    DestroyComPort(Port);
    Port = nullptr;
    DestroyControls();
    FreeBuffer(m_FileList);
    FreeBuffer(m_Results);
    FreeBuffer(m_DeviceNames);
    FreeBuffer(m_PaneText);
    return 0;
}

LRESULT ZoTerm::OnActivate(WPARAM wParam) {
    if (LOWORD(wParam) != WA_INACTIVE)
        SetFocus(m_hCommand);
    return 0;
}

// Over an open modal dialog, whose code still needs the terminal, it stays.
LRESULT ZoTerm::OnClose() {
    if (!IsWindowEnabled(m_hWnd)) {
        SetForegroundWindow(GetLastActivePopup(m_hWnd));
        return 0;
    }
    SendMessageA(m_Dispatcher, DispatcherRequest, MAKEWPARAM(RequestCloseTerminal, m_Slot), 0);
    return 0; // the terminal is freed: nothing of it may be touched here
}

LRESULT ZoTerm::OnCopyData(const COPYDATASTRUCT& data) {
    return StartSendList(static_cast<const char*>(data.lpData), data.lpData ? data.cbData : 0);
}

LRESULT ZoTerm::OnTimer(WPARAM timer) {
    if (timer == GaugeTimerId)
        return OnGaugeTimer();
    if (timer == PaneTimerId)
        FlushPaneText();
    if (timer == MacroTimerId)
        SendMacroLine();
    return 0;
}

LRESULT ZoTerm::OnLinkNotice(WPARAM kind, LPARAM status) {
    if (kind == NotifyText)
        ShowPortOutput();
    if (kind == NotifyTransfer && m_ProgressDialog)
        return SendMessageA(m_ProgressDialog, LinkMessage, kind, status);
    if (kind == NotifyLost && Port->IsLost()) // not one that an earlier port left in the queue
        LosePort();
    return 0;
}

// A pulled adapter's driver may leave the open handle silent, so the system's own word counts, and
// every change among the devices is a reason to ask the port.
LRESULT ZoTerm::OnDeviceChange(WPARAM event, LPARAM device) {
    if (m_PortNumber == 0)
        return TRUE;
    const auto* removed = reinterpret_cast<const DEV_BROADCAST_PORT_A*>(device);
    char name[16];
    FormatText(name, "COM%d", static_cast<int>(m_PortNumber));
    const bool named = event == DBT_DEVICEREMOVECOMPLETE && removed &&
                       removed->dbcp_devicetype == DBT_DEVTYP_PORT &&
                       _stricmp(removed->dbcp_name, name) == 0;
    if (named || !Port->Answers())
        LosePort();
    return TRUE;
}

// What runs on the port ends with it.
void ZoTerm::LosePort() {
    OpenPort(0, m_BaudRate);
}
