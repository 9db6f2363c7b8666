#pragma once

#include <windows.h>

// GUI thread. Creates the hidden window that owns the process's terminals, and with it the first
// terminal. Null when that fails. Destroying the last terminal destroys it and ends the message
// loop.
HWND CreateDispatcher(HINSTANCE instance);
