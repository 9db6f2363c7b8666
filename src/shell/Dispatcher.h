#pragma once

#include <windows.h>

struct FileNames {
    int count = 0;
    const char* const* names = nullptr;
};

// GUI thread. Creates the hidden window that owns the process's terminals, and with it the first
// terminal, which starts to send `files` when there are any. Null when that fails. Destroying the
// last terminal destroys it and ends the message loop.
HWND CreateDispatcher(HINSTANCE instance, FileNames files = {});
