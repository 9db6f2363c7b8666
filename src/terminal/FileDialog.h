#pragma once

// The system's dialogs for files. GUI thread; within a ModalScope.

#include "base/FileNames.h"

#include <windows.h>

#include <commdlg.h>

using FileDialogKind = BOOL(WINAPI*)(OPENFILENAMEW*); // GetOpenFileNameW or GetSaveFileNameW

enum class Choice { None, Made, Unspellable }; // Unspellable: the program cannot spell the name

// A dialog's parameters, the first of the filters selected. `file`, of `room` characters, holds the
// offered path and then the choice; ChoosePath uses a buffer of its own.
OPENFILENAMEW FileDialog(HWND owner, const wchar_t* title, const wchar_t* filters,
                         wchar_t* file = nullptr, DWORD room = MAX_PATH);

// Runs a dialog. True when the user has chosen. Tries again without the offered name if the dialog
// does not open with it.
bool RunFileDialog(OPENFILENAMEW& dialog, FileDialogKind run);

// Runs a dialog for one file that offers `path`. Writes `path` only when it returns Made, and not
// while the dialog is open.
Choice ChoosePath(OPENFILENAMEW dialog, FileDialogKind run, Spelling spelling,
                  char (&path)[MAX_PATH]);
