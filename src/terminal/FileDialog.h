#pragma once

// The system's dialogs for files.

#include <windows.h>

#include <commdlg.h>

using FileDialogKind = BOOL(WINAPI*)(OPENFILENAMEA*); // GetOpenFileNameA or GetSaveFileNameA

// A dialog with the first of the filters selected. What it offers stands in `file`, which has
// `room` bytes; ChoosePath brings a buffer of its own.
OPENFILENAMEA FileDialog(HWND owner, const char* title, const char* filters, char* file,
                         DWORD room);

// Runs a dialog. True when the user has chosen. A name that cannot be offered is forgotten: the
// dialog would not even open.
bool RunFileDialog(OPENFILENAMEA& dialog, FileDialogKind run);

// Runs a dialog for one file that offers `path`. True with the user's choice in `path`; else the
// path stays. It also stays as it is while the dialog is open.
bool ChoosePath(OPENFILENAMEA dialog, FileDialogKind run, char (&path)[MAX_PATH]);
