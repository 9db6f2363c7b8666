#include "terminal/FileDialog.h"

#include "base/Text.h"

#include <cderr.h>

OPENFILENAMEA FileDialog(HWND owner, const char* title, const char* filters, char* file,
                         DWORD room) {
    OPENFILENAMEA dialog = {};
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

bool RunFileDialog(OPENFILENAMEA& dialog, FileDialogKind run) {
    if (run(&dialog))
        return true;
    if (CommDlgExtendedError() != FNERR_INVALIDFILENAME)
        return false;
    dialog.lpstrFile[0] = '\0';
    return run(&dialog) != FALSE;
}

bool ChoosePath(OPENFILENAMEA dialog, FileDialogKind run, char (&path)[MAX_PATH]) {
    char chosen[MAX_PATH];
    CopyText(chosen, path);
    dialog.lpstrFile = chosen;
    return RunFileDialog(dialog, run) && CopyText(path, chosen);
}
