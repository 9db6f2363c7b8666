// The terminal window's procedure, and the handlers that belong to no control.

#include "terminal/TerminalWindow.h"

#include "link/PortOpening.h"
#include "resources/resource.h"
#include "terminal/Taskbar.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

#include <cstdlib>
#include <initializer_list>
#include <utility>

namespace {

constexpr POINT LeastSize = {320, 240};     // of the window, in pixels
constexpr UINT DroppedDataMessage = 0x0049; // carries the names of dropped files between processes

// Lets a start of the program and a file manager reach a terminal that runs as administrator.
void AdmitLowerIntegrity(HWND window) {
    for (const UINT message : {UINT{WM_COPYDATA}, UINT{WM_DROPFILES}, DroppedDataMessage})
        ChangeWindowMessageFilterEx(window, message, MSGFLT_ALLOW, nullptr);
}

LRESULT OnGetMinMaxInfo(MINMAXINFO& limits) {
    limits.ptMinTrackSize = LeastSize;
    return 0;
}

} // namespace

LRESULT ZoTerm::TerminalWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE: return OnCreate(window);
    case WM_DESTROY: return OnDestroy();
    case WM_SIZE: return OnSize(wParam, lParam);
    case WM_ACTIVATE: return OnActivate(wParam);
    case WM_CLOSE: return OnClose();
    case WM_QUERYENDSESSION: return TRUE;
    case WM_ENDSESSION: return OnEndSession(wParam);
    case WM_DRAWITEM: return OnDrawItem(*reinterpret_cast<DRAWITEMSTRUCT*>(lParam));
    case WM_NOTIFY: return OnNotify(reinterpret_cast<NMHDR*>(lParam));
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORSTATIC:
        return OnControlColor(reinterpret_cast<HDC>(wParam), reinterpret_cast<HWND>(lParam));
    case WM_SYSCOLORCHANGE:
    case WM_SETTINGCHANGE:
    case WM_THEMECHANGED: return OnLookChange(message, wParam, lParam);
    case WM_INITMENUPOPUP: return OnInitMenuPopup(reinterpret_cast<HMENU>(wParam));
    case WM_COPYDATA: return OnCopyData(*reinterpret_cast<const COPYDATASTRUCT*>(lParam));
    case WM_DEVICECHANGE: return OnDeviceChange(wParam, lParam);
    case WM_TIMER: return OnTimer(wParam);
    case LinkMessage: return OnLinkNotice(wParam, lParam);
    case LookMessage: return OnLook();
    case WM_COMMAND: return OnCommand(LOWORD(wParam), HIWORD(wParam));
    }
    return OnRegisteredMessage(message, wParam, lParam);
}

// WM_GETMINMAXINFO comes before the window has its terminal.
LRESULT CALLBACK TerminalClassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_GETMINMAXINFO)
        return OnGetMinMaxInfo(*reinterpret_cast<MINMAXINFO*>(lParam));
    if (message == WM_CREATE) {
        const auto* creation = reinterpret_cast<CREATESTRUCTA*>(lParam);
        SetWindowLongPtrA(window, GWLP_USERDATA,
                          reinterpret_cast<LONG_PTR>(creation->lpCreateParams));
    }
    auto* terminal = reinterpret_cast<ZoTerm*>(GetWindowLongPtrA(window, GWLP_USERDATA));
    if (!terminal)
        return DefWindowProcA(window, message, wParam, lParam);
    return terminal->TerminalWindowProc(window, message, wParam, lParam);
}

bool ZoTerm::MakeParts() {
    Port = CreateComPort();
    m_PaneText = static_cast<wchar_t*>(std::calloc(PaneLimit + 1, sizeof(wchar_t)));
    return Port && m_PaneText && Batch.Allocate();
}

// Port is null here after the window was destroyed.
ZoTerm::~ZoTerm() {
    LeaveOpening(m_Opening);
    DestroyComPort(Port);
    std::free(m_PaneText);
    CloseLog();
}

void ZoTerm::ApplySettings() {
    SelectDevice(Settings.m_DeviceName);
    BeginOpening(Settings.m_PortNumber, Settings.m_BaudRate, PortReason::Saved);
    BuildMacrosMenu();
    CheckDropOldest();
    OpenLog();
}

LRESULT ZoTerm::OnCreate(HWND window) {
    m_hWnd = window;
    if (!CreateControls(window))
        return -1;
    AdmitLowerIntegrity(m_hWnd);
    AdmitLowerIntegrity(m_hOutput);
    LoadCommandHistory();
    LayOutHidden();
    return 0;
}

// Also runs for a window whose creation failed, so parts may be missing.
LRESULT ZoTerm::OnDestroy() {
    SaveSettings(); // reads the history out of the command box, so it comes first
    LeaveOpening(std::exchange(m_Opening, nullptr));
    DestroyComPort(Port);
    Port = nullptr;
    DestroyControls();
    return 0;
}

// The first one comes when the window shows. A focus that is set when it is created would activate
// it while it is hidden, and then once more.
LRESULT ZoTerm::OnActivate(WPARAM wParam) {
    if (LOWORD(wParam) == WA_INACTIVE)
        return 0;
    SetFocus(m_hCommand);
    if (m_Activity == Activity::Idle) // a failure has been seen
        ShowTaskbarState(m_hWnd, TaskbarState::None);
    return 0;
}

// Messages with registered numbers.
LRESULT ZoTerm::OnRegisteredMessage(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == FindMessage())
        return OnFindMessage();
    if (message == TaskbarButtonMessage())
        ForgetTaskbar();
    return DefWindowProcA(m_hWnd, message, wParam, lParam);
}

LRESULT ZoTerm::OnCopyData(const COPYDATASTRUCT& data) {
    return StartSendList(static_cast<const char*>(data.lpData), data.lpData ? data.cbData : 0);
}

// After the watch timer the terminal may be gone.
LRESULT ZoTerm::OnTimer(WPARAM timer) {
    switch (timer) {
    case GaugeTimerId: OnGaugeTimer(); break;
    case PaneTimerId: FlushPaneText(); break;
    case SettleTimerId: OnSettled(); break;
    case PortTimerId: LookAtOpening(); break;
    case WatchTimerId: OnWatchTimer(); break;
    }
    return 0;
}

LRESULT ZoTerm::OnLinkNotice(WPARAM kind, LPARAM notification) {
    if (kind == NotifyText)
        ShowPortOutput();
    if (kind == NotifyTransfer && Operation.m_ProgressDialog)
        return SendMessageA(Operation.m_ProgressDialog, LinkMessage, kind, notification);
    if (kind == NotifyLost && Port->IsLost()) // not an earlier port's
        LosePort();
    if (kind == NotifyAnswer)
        TakeLineResults();
    return 0;
}
