// Where the lists of files come from: dialogs, drops, the command line and other starts.

#include "base/FileNames.h"
#include "base/Text.h"
#include "terminal/FileDialog.h"
#include "terminal/ModalScope.h"
#include "terminal/ZoTerm.h"

#include <shlobj.h>

#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

namespace {

constexpr std::uint32_t EntryRoom = MAX_PATH;
constexpr DWORD SelectionRoom = 0x10000; // characters of a selection of several files
constexpr wchar_t AllFiles[] = L"All Files (*.*)\0*.*\0";
constexpr wchar_t BootFiles[] = L"Boot Files (*.boot)\0*.boot\0All Files (*.*)\0*.*\0";
constexpr char WrongName[] = "Wrong file name";

using WideBuffer = std::unique_ptr<wchar_t[]>;

WideBuffer MakeBuffer(std::size_t characters) {
    return WideBuffer(new (std::nothrow) wchar_t[characters]());
}

// A dialog for one file. The field stays a list of one name, which leaves room for its end.
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
    if (choice == Choice::Unspeakable || !fits)
        terminal.SetStatusText(WrongName);
    return choice == Choice::Made && fits && terminal.TakesLists();
}

const wchar_t* NextWide(const wchar_t* name) {
    return name + std::wcslen(name) + 1;
}

// What a dialog has chosen: one path, or a folder followed by file names.
bool AddChosen(PathList& list, const wchar_t* chosen) {
    const wchar_t* name = NextWide(chosen);
    if (!*name)
        return list.Add(chosen);
    const std::size_t folder = std::wcslen(chosen);
    const bool root = folder > 0 && chosen[folder - 1] == L'\\';
    for (; *name; name = NextWide(name)) {
        const std::size_t room = folder + std::wcslen(name) + 2;
        const WideBuffer path = MakeBuffer(room);
        if (!path)
            return false;
        std::swprintf(path.get(), room, L"%ls%ls%ls", chosen, root ? L"" : L"\\", name);
        if (!list.Add(path.get()))
            return false;
    }
    return true;
}

// The names of dropped files where they lie; null when they are not wide, or not ended. The system
// looks through all of them for each that it is asked for, which takes long for thousands.
const wchar_t* WideNames(const DROPFILES& files, std::size_t size) {
    if (size < sizeof(files) || !files.fWide || files.pFiles >= size ||
        files.pFiles % sizeof(wchar_t) != 0)
        return nullptr;
    const auto* const names =
        reinterpret_cast<const wchar_t*>(reinterpret_cast<const char*>(&files) + files.pFiles);
    const std::size_t room = (size - files.pFiles) / sizeof(wchar_t);
    for (std::size_t at = 0; at < room; at += wcsnlen(names + at, room - at) + 1)
        if (!names[at])
            return names;
    return nullptr;
}

bool AddNames(PathList& list, const wchar_t* name) {
    for (; *name; name = NextWide(name))
        if (!list.Add(name))
            return false;
    return true;
}

bool AddByNumber(PathList& list, HDROP drop) {
    const UINT count = DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0);
    for (UINT i = 0; i < count; ++i) {
        const UINT room = DragQueryFileW(drop, i, nullptr, 0) + 1;
        const WideBuffer path = MakeBuffer(room);
        if (!path || !DragQueryFileW(drop, i, path.get(), room) || !list.Add(path.get()))
            return false;
    }
    return true;
}

} // namespace

// The dialog writes into a buffer of its own: another start may bring a list while it is open.
bool ZoTerm::ChooseSendFiles() {
    const WideBuffer chosen = MakeBuffer(SelectionRoom);
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

bool ZoTerm::TakePaths(const PathList& list) {
    return list.Count() > 0 && Batch.TakeList(list.List(), list.Size(), list.Count() * EntryRoom);
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

bool ZoTerm::TakeDroppedFiles(HDROP drop) {
    PathList list;
    const auto* const files = static_cast<const DROPFILES*>(GlobalLock(drop));
    const wchar_t* const names = files ? WideNames(*files, GlobalSize(drop)) : nullptr;
    const bool added = names ? AddNames(list, names) : AddByNumber(list, drop);
    if (files)
        GlobalUnlock(drop);
    return added && TakePaths(list);
}
