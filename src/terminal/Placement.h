#pragma once

// Where windows may stand so that the user can see and move them. Rectangles are in screen
// coordinates.

#include <windows.h>

// True when the title bar of a window with this rectangle lies on a monitor.
bool IsInSight(const RECT& rect);

// The rectangle, made smaller and moved as far as it takes to lie in the nearest work area.
RECT FitToWorkArea(const RECT& rect);

// FitToWorkArea for a rectangle larger than the work area; returns any other unchanged.
RECT FitIfLarger(const RECT& rect);

// A window's rectangle; for a minimized window the one to which it will be restored.
RECT RestoredRect(HWND window);
