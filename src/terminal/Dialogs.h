#pragma once

// What the dialogs of a terminal share.

#include <windows.h>

class ZoTerm;

// The terminal that owns a dialog.
ZoTerm& TerminalOfDialog(HWND dialog);

// Moves a dialog over the middle of its terminal's window; it keeps its size.
void CenterOverTerminal(HWND dialog);

// Places a window, its rectangle given in screen coordinates.
void MoveTo(HWND window, const RECT& rect);
