#include "rig/Terminal.h"

#include "rig/ComPeer.h"
#include "shell/Dispatcher.h"

#include <commctrl.h>

namespace {

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

TerminalTest::~TerminalTest() {
    for (const HWND window : TerminalWindows())
        SendMessageA(window, WM_CLOSE, 0, 0);
    EXPECT_FALSE(IsWindow(dispatcher)) << "the dispatcher ends with its last terminal";
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
    EXPECT_EQ(terminal->m_PortNumber, ReadComPair().number);
    return *terminal;
}

bool TerminalTest::ItemIsChecked(int menu, int position) {
    return (ItemState(terminal->m_hWnd, menu, position) & MF_CHECKED) != 0;
}

bool TerminalTest::ItemIsGrayed(int menu, int position) {
    return (ItemState(terminal->m_hWnd, menu, position) & MF_GRAYED) != 0;
}

bool TerminalTest::ButtonIsEnabled(WORD command) {
    return SendMessageA(terminal->m_hToolbar, TB_ISBUTTONENABLED, command, 0) != 0;
}
