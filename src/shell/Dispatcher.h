#pragma once

#include <windows.h>

class PathList;

// GUI thread. Creates the hidden window that owns the process's terminals, and with it the first
// terminal, which starts to send `files` when there are any (null: none). Null when that fails.
// Destroying the last terminal destroys it and ends the message loop.
HWND CreateDispatcher(HINSTANCE instance, const PathList* files = nullptr);
