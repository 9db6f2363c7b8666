#pragma once

// The system's dialogs for files.

#include "base/FileNames.h"

#include <windows.h>

#include <commdlg.h>

using FileDialogKind = BOOL(WINAPI*)(OPENFILENAMEW*); // GetOpenFileNameW or GetSaveFileNameW

enum class Choice { None, Made, Unspeakable }; // Unspeakable: the program cannot spell the name

// A dialog with the first of the filters selected. What it offers stands in `file`, which has
// `room` characters; ChoosePath brings a buffer of its own.
OPENFILENAMEW FileDialog(HWND owner, const wchar_t* title, const wchar_t* filters,
                         wchar_t* file = nullptr, DWORD room = MAX_PATH);

// Runs a dialog. True when the user has chosen. A name that cannot be offered is forgotten: the
// dialog would not even open.
bool RunFileDialog(OPENFILENAMEW& dialog, FileDialogKind run);

// Runs a dialog for one file that offers `path`, which stays as it is while the dialog is open,
// and unless a choice is Made.
Choice ChoosePath(OPENFILENAMEW dialog, FileDialogKind run, Spelling spelling,
                  char (&path)[MAX_PATH]);
