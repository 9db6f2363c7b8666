#pragma once

// Real terminals in the test's own process, driven by messages.

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

// Starts without stored settings; what a test plants before Start is loaded.
class TerminalTest : public testing::Test {
protected:
    TerminalTest() { RemoveKey(SettingsRoot); }
    ~TerminalTest() override;

    // Opens the dispatcher and with it the first terminal.
    ZoTerm& Start();

    // Start with the null modem's near end open.
    ZoTerm& StartConnected();

    void Command(WORD command) { SendMessageA(terminal->m_hWnd, WM_COMMAND, command, 0); }

    bool ItemIsChecked(int menu, int position);
    bool ItemIsGrayed(int menu, int position);
    bool ButtonIsEnabled(WORD command);

    HWND dispatcher = nullptr;
    ZoTerm* terminal = nullptr;
};
