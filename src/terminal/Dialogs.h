#pragma once

// What the dialogs of a terminal share. GUI thread.

#include <windows.h>

class ZoTerm;

// The terminal that owns a dialog.
ZoTerm& TerminalOfDialog(HWND dialog);

// Shows a dialog over a terminal's window, and disables the window until CloseCover. Unlike a modal
// dialog it runs no message loop: loops end in the reverse order of their beginning, so one
// terminal's dialog would hold up those of others. Null when it cannot be made.
HWND OpenCover(ZoTerm& terminal, WORD dialog, DLGPROC procedure);

// Closes such a dialog; the caller goes on with what it was for. Returns TRUE, for the dialog's
// procedure.
INT_PTR CloseCover(HWND dialog);

// Moves a dialog over the middle of its terminal's window, or to where it can be seen; it keeps its
// size.
void CenterOverTerminal(HWND dialog);

// Sets the focus to a control of a dialog. A button becomes the default button, and the only one
// drawn so.
void FocusControl(HWND dialog, int control);

// Places a window, its rectangle given in screen coordinates.
void MoveTo(HWND window, const RECT& rect);

// Fonts differ from system to system, and with them the size of a dialog's units. These make room
// in a dialog for what turned out larger than its template allows:
// all that stands below a control, or would be covered by it, moves down, and the dialog grows;
void MakeRoomBelow(HWND dialog, int control);
// a label and the dialog grow to the width of the label's text;
void MakeRoomForText(HWND dialog, int label);
// all that reaches across the middle of a check box grows by what its text needs, and the rest and
// the dialog's edge move right.
void MakeRoomForCheckBox(HWND dialog, int box);
