#pragma once

// Texts of a list view's cells. GUI thread.

#include <windows.h>

// Puts the selected rows on the clipboard, or all when none is selected: a line of the columns'
// titles, then one for each row, with tabs between the columns.
void CopyRows(HWND list);

// Shows a cell's text whole under the mouse when the cell is too narrow for it. The system does
// that for the first column only.
void ShowClippedCells(HWND list);
