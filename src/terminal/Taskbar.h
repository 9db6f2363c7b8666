#pragma once

// What the terminal's button in the taskbar shows of a file operation. GUI thread. On a system
// without that, nothing happens.

#include <windows.h>

#include <cstdint>

enum class TaskbarState {
    None,
    Waiting, // nothing can be said of how far it is
    Running,
    Failed, // a file has failed
};

void ShowTaskbarState(HWND window, TaskbarState state);
void ShowTaskbarProgress(HWND window, std::uint64_t done, std::uint64_t total);

// The message that says that the taskbar has a button for the window, perhaps a new one.
UINT TaskbarButtonMessage();
void ForgetTaskbar();
