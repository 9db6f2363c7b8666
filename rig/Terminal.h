#pragma once

// Real terminals in the test's own process, driven by messages.

#include "rig/Files.h"
#include "rig/Registry.h"
#include "rig/Wait.h"
#include "terminal/ZoTerm.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

inline constexpr char SettingsRoot[] = "Software\\Zorbel\\ZoConsole";

// Terminal windows of this process, in no particular order.
std::vector<HWND> TerminalWindows();

ZoTerm& TerminalOf(HWND window);

std::string TextOf(HWND window);

inline RECT RectOf(HWND window) {
    RECT rect = {};
    GetWindowRect(window, &rect);
    return rect;
}

// The controls of a terminal, as any other program finds them.
HWND OutputOf(const ZoTerm& terminal);
HWND CommandBoxOf(const ZoTerm& terminal);
HWND StatusBarOf(const ZoTerm& terminal);
HWND RebarOf(const ZoTerm& terminal);
HWND ToolbarOf(const ZoTerm& terminal);

// The text in the status bar.
std::string StatusTextOf(const ZoTerm& terminal);

// The value that the gauge shows.
std::uint32_t GaugeOf(const ZoTerm& terminal);

// The lines of the command box's list.
std::vector<std::string> HistoryOf(const ZoTerm& terminal);

// True while a file operation has grayed the menus.
bool IsBusy(const ZoTerm& terminal);

// Starts without stored settings; what a test plants before Start is loaded.
class TerminalTest : public testing::Test {
protected:
    TerminalTest() { RemoveKey(SettingsRoot); }
    ~TerminalTest() override;

    // Opens the dispatcher and with it the first terminal.
    ZoTerm& Start();

    // Start with the null modem's near end open.
    ZoTerm& StartConnected();

    // Asks the terminal to close. True when its window is closed; a running operation is canceled
    // first.
    bool Close();

    void Command(WPARAM command) { SendMessageA(terminal->m_hWnd, WM_COMMAND, command, 0); }

    // Takes the link's notices away, as modal loops may, up to one of that kind that is not about
    // the progress of a transfer. Dispatches no message.
    bool LoseNotices(NotifyKind last);

    bool ItemIsChecked(int menu, int position);
    bool ItemIsGrayed(int menu, int position);
    bool ButtonIsEnabled(WORD command);

    TestFolder folder; // outlives the terminals, which may have a log in it
    HWND dispatcher = nullptr;
    ZoTerm* terminal = nullptr;
};
