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

// Moves a dialog over the middle of its terminal's window, or to where it can be seen. Keeps its
// size.
void CenterOverTerminal(HWND dialog);

// Sets the focus to a control of a dialog. A button becomes the default button, and the only one
// drawn so.
void FocusControl(HWND dialog, int control);

// Places a window, its rectangle given in screen coordinates.
void MoveTo(HWND window, const RECT& rect);

// Dialog units depend on the system's font. These make room in a dialog for a control that turned
// out larger than the template allows.
// Moves all controls that a control covers, and those below it, down; the dialog grows.
void MakeRoomBelow(HWND dialog, int control);
// Widens a label and the dialog to the label's text.
void MakeRoomForText(HWND dialog, int label);
// Widens the dialog, and all controls that reach across the middle of a check box, by what the
// box's text lacks; the controls on the right move along.
void MakeRoomForCheckBox(HWND dialog, int box);
