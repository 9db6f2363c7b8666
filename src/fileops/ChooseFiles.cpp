// The dialogs that choose the files of an operation.

#include "base/FileNames.h"
#include "base/Text.h"
#include "base/WideText.h"
#include "terminal/FileDialog.h"
#include "terminal/ModalScope.h"
#include "terminal/ZoTerm.h"

#include <cstring>
#include <cwchar>

namespace {

constexpr DWORD SelectionRoom = 0x10000; // characters of a selection of several files
constexpr wchar_t AllFiles[] = L"All Files (*.*)\0*.*\0";
constexpr wchar_t BootFiles[] = L"Boot Files (*.boot)\0*.boot\0All Files (*.*)\0*.*\0";
constexpr char WrongName[] = "Wrong file name";

// Runs a dialog for one file. The field stays a packed list of one name.
bool ChooseOne(ZoTerm& terminal, const OPENFILENAMEW& dialog, FileDialogKind run, Spelling spelling,
               char (&field)[MAX_PATH]) {
    const ModalScope scope(terminal);
    char path[MAX_PATH];
    CopyText(path, field);
    const Choice choice = ChoosePath(dialog, run, spelling, path);
    const bool fits = std::strlen(path) + 2 <= MAX_PATH;
    if (choice == Choice::Made && fits)
        CopyText(field, path);
    EndAsList(field);
    if (choice == Choice::Unspellable || !fits)
        terminal.SetStatusText(WrongName);
    return choice == Choice::Made && fits && terminal.TakesLists();
}

// Adds a dialog's choice: one path, or a folder followed by file names.
bool AddChosen(PathList& list, const wchar_t* chosen) {
    const wchar_t* name = NextWide(chosen);
    if (!*name)
        return list.Add(chosen);
    const std::size_t folder = std::wcslen(chosen);
    const bool root = folder > 0 && chosen[folder - 1] == L'\\';
    for (; *name; name = NextWide(name)) {
        const std::size_t room = folder + std::wcslen(name) + 2;
        const WideBuffer path = MakeWideBuffer(room);
        if (!path)
            return false;
        std::swprintf(path.get(), room, L"%ls%ls%ls", chosen, root ? L"" : L"\\", name);
        if (!list.Add(path.get()))
            return false;
    }
    return true;
}

} // namespace

// Uses a buffer of its own: another start of the program may bring a list meanwhile.
bool ZoTerm::ChooseSendFiles() {
    const WideBuffer chosen = MakeWideBuffer(SelectionRoom);
    if (!chosen)
        return false;
    char first[MAX_PATH];
    wchar_t offered[MAX_PATH];
    CopyText(first, Batch.m_FileList);
    WidenPath(first, offered);
    std::wmemcpy(chosen.get(), offered, std::wcslen(offered) + 1);
    OPENFILENAMEW dialog =
        FileDialog(m_hWnd, L"Send File(s)", AllFiles, chosen.get(), SelectionRoom - 1);
    dialog.Flags |= OFN_FILEMUSTEXIST | OFN_ALLOWMULTISELECT;
    const ModalScope scope(*this);
    if (!RunFileDialog(dialog, &GetOpenFileNameW) || !TakesLists())
        return false;
    PathList list;
    return AddChosen(list, chosen.get()) && TakePaths(list);
}

bool ZoTerm::ChooseBootFile() {
    OPENFILENAMEW dialog = FileDialog(m_hWnd, L"Boot File", BootFiles);
    dialog.lpstrDefExt = L"boot";
    dialog.Flags |= OFN_FILEMUSTEXIST;
    return ChooseOne(*this, dialog, &GetOpenFileNameW, Spelling::Exact, Settings.m_BootFile);
}

bool ZoTerm::ChooseImageFile() {
    OPENFILENAMEW dialog = FileDialog(m_hWnd, L"Image File", AllFiles);
    dialog.Flags |= OFN_FILEMUSTEXIST;
    return ChooseOne(*this, dialog, &GetOpenFileNameW, Spelling::MayBeShort, Settings.m_ImageFile);
}

bool ZoTerm::ChooseReceiveFile() {
    return ChooseOne(*this, FileDialog(m_hWnd, L"Receive File", AllFiles), &GetSaveFileNameW,
                     Spelling::Exact, Settings.m_ReceiveFile);
}
