#pragma once

#include <windows.h>

// Window procedure of the class "cs_zoterm". The window's creation parameter is its ZoTerm.
LRESULT CALLBACK TerminalClassProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
