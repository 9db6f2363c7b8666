#include "rig/Terminal.h"

#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "shell/Dispatcher.h"

#include <commctrl.h>

namespace {

constexpr DWORD LongestClose = 10000; // ms
constexpr WPARAM GaugePart = 1;       // of the status bar

BOOL CALLBACK CollectTerminal(HWND window, LPARAM parameter) {
    char name[64];
    GetClassNameA(window, name, sizeof(name));
    if (std::string(name) == TerminalClassName)
        reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(window);
    return TRUE;
}

UINT ItemState(HWND window, int menu, int position) {
    return GetMenuState(GetSubMenu(GetMenu(window), menu), static_cast<UINT>(position),
                        MF_BYPOSITION);
}

} // namespace

std::vector<HWND> TerminalWindows() {
    std::vector<HWND> windows;
    EnumThreadWindows(GetCurrentThreadId(), &CollectTerminal, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

ZoTerm& TerminalOf(HWND window) {
    return *reinterpret_cast<ZoTerm*>(GetWindowLongPtrA(window, GWLP_USERDATA));
}

std::string TextOf(HWND window) {
    std::string text(static_cast<std::size_t>(GetWindowTextLengthA(window)) + 1, '\0');
    text.resize(static_cast<std::size_t>(
        GetWindowTextA(window, text.data(), static_cast<int>(text.size()))));
    return text;
}

HWND OutputOf(const ZoTerm& terminal) {
    return FindWindowExA(terminal.m_hWnd, nullptr, "EDIT", nullptr);
}

HWND CommandBoxOf(const ZoTerm& terminal) {
    return GetDlgItem(terminal.m_hWnd, IDC_COMMAND);
}

HWND StatusBarOf(const ZoTerm& terminal) {
    return GetDlgItem(terminal.m_hWnd, IDC_STATUS_BAR);
}

HWND RebarOf(const ZoTerm& terminal) {
    return FindWindowExA(terminal.m_hWnd, nullptr, REBARCLASSNAMEA, nullptr);
}

HWND ToolbarOf(const ZoTerm& terminal) {
    return FindWindowExA(RebarOf(terminal), nullptr, TOOLBARCLASSNAMEA, nullptr);
}

std::string StatusTextOf(const ZoTerm& terminal) {
    char text[300] = {};
    SendMessageA(StatusBarOf(terminal), SB_GETTEXTA, 0, reinterpret_cast<LPARAM>(text));
    return text;
}

// The part is drawn by its owner, so its text is a number.
std::uint32_t GaugeOf(const ZoTerm& terminal) {
    char text[32] = {};
    return static_cast<std::uint32_t>(SendMessageA(StatusBarOf(terminal), SB_GETTEXTA, GaugePart,
                                                   reinterpret_cast<LPARAM>(text)));
}

std::vector<std::string> HistoryOf(const ZoTerm& terminal) {
    std::vector<std::string> lines;
    const HWND box = CommandBoxOf(terminal);
    for (LRESULT i = 0; i < SendMessageA(box, CB_GETCOUNT, 0, 0); ++i) {
        char line[ZoTerm::LineRoom] = {};
        SendMessageA(box, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(line));
        lines.emplace_back(line);
    }
    return lines;
}

bool IsBusy(const ZoTerm& terminal) {
    return (GetMenuState(GetMenu(terminal.m_hWnd), 0, MF_BYPOSITION) & MF_GRAYED) != 0;
}

TerminalTest::~TerminalTest() {
    for (const HWND window : TerminalWindows())
        SendMessageA(window, WM_CLOSE, 0, 0);
    EXPECT_TRUE(WaitUntil([&] { return !IsWindow(dispatcher); }, LongestClose))
        << "the dispatcher ends with its last terminal";
    PumpMessages(); // the quit message too
    RemoveKey(SettingsRoot);
}

ZoTerm& TerminalTest::Start() {
    dispatcher = CreateDispatcher(GetModuleHandleA(nullptr));
    EXPECT_NE(dispatcher, nullptr);
    terminal = &TerminalOf(TerminalWindows().at(0));
    PumpMessages();
    return *terminal;
}

ZoTerm& TerminalTest::StartConnected() {
    PlantNumber(std::string(SettingsRoot) + "\\Instance0", "Port",
                static_cast<DWORD>(ReadComPair().number));
    Start();
    EXPECT_EQ(terminal->Settings.m_PortNumber, ReadComPair().number);
    return *terminal;
}

bool TerminalTest::Close() {
    const HWND window = terminal->m_hWnd;
    SendMessageA(window, WM_CLOSE, 0, 0);
    return WaitUntil([&] { return !IsWindow(window); }, LongestClose);
}

bool TerminalTest::LoseNotices(NotifyKind last) {
    const ULONGLONG end = GetTickCount64() + Patience;
    MSG notice = {};
    while (notice.wParam != last || static_cast<DWORD>(notice.lParam) == ERROR_IO_PENDING) {
        if (PeekMessageA(&notice, terminal->m_hWnd, LinkMessage, LinkMessage, PM_REMOVE))
            continue;
        if (GetTickCount64() > end)
            return false;
        Sleep(1);
    }
    return true;
}

bool TerminalTest::ItemIsChecked(int menu, int position) {
    return (ItemState(terminal->m_hWnd, menu, position) & MF_CHECKED) != 0;
}

bool TerminalTest::ItemIsGrayed(int menu, int position) {
    return (ItemState(terminal->m_hWnd, menu, position) & MF_GRAYED) != 0;
}

bool TerminalTest::ButtonIsEnabled(WORD command) {
    return SendMessageA(ToolbarOf(*terminal), TB_ISBUTTONENABLED, command, 0) != 0;
}
