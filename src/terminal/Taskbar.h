#pragma once

// A file operation's progress on the terminal's taskbar button. GUI thread. Does nothing on a
// system without such a taskbar.

#include <windows.h>

#include <cstdint>

enum class TaskbarState {
    None,
    Waiting, // the progress is unknown
    Running,
    Failed, // a file has failed
};

void ShowTaskbarState(HWND window, TaskbarState state);
void ShowTaskbarProgress(HWND window, std::uint64_t done, std::uint64_t total);

// The registered message with which the taskbar reports that it has made the window's button.
UINT TaskbarButtonMessage();

// Releases the taskbar's object. Call it when a new taskbar has started.
void ForgetTaskbar();
