#include "terminal/FileDialog.h"

#include "base/Text.h"

#include <cderr.h>

OPENFILENAMEW FileDialog(HWND owner, const wchar_t* title, const wchar_t* filters, wchar_t* file,
                         DWORD room) {
    OPENFILENAMEW dialog = {};
    dialog.lStructSize = sizeof(dialog);
    dialog.hwndOwner = owner;
    dialog.lpstrTitle = title;
    dialog.lpstrFilter = filters;
    dialog.nFilterIndex = 1;
    dialog.lpstrFile = file;
    dialog.nMaxFile = room;
    dialog.Flags = OFN_EXPLORER | OFN_NOCHANGEDIR;
    return dialog;
}

bool RunFileDialog(OPENFILENAMEW& dialog, FileDialogKind run) {
    if (run(&dialog))
        return true;
    if (CommDlgExtendedError() != FNERR_INVALIDFILENAME)
        return false;
    dialog.lpstrFile[0] = L'\0';
    return run(&dialog) != FALSE;
}

Choice ChoosePath(OPENFILENAMEW dialog, FileDialogKind run, Spelling spelling,
                  char (&path)[MAX_PATH]) {
    wchar_t chosen[MAX_PATH];
    char narrow[MAX_PATH];
    WidenPath(path, chosen);
    dialog.lpstrFile = chosen;
    dialog.nMaxFile = MAX_PATH;
    if (!RunFileDialog(dialog, run))
        return Choice::None;
    if (!NarrowPath(chosen, spelling, narrow))
        return Choice::Unspellable;
    CopyText(path, narrow);
    return Choice::Made;
}
