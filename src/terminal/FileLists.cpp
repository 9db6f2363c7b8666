// Where the lists of files come from: dialogs, drops, the command line and other starts.

#include "base/Text.h"
#include "link/codec/PackedList.h"
#include "terminal/FileDialog.h"
#include "terminal/ModalScope.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace {

constexpr std::uint32_t EntryRoom = MAX_PATH;
constexpr std::uint32_t SelectionRoom = 0x10000; // characters of a selection of several files
constexpr DWORD OneName = MAX_PATH - 1;          // the list's own end follows
constexpr char AllFiles[] = "All Files (*.*)\0*.*\0";
constexpr char BootFiles[] = "Boot Files (*.boot)\0*.boot\0All Files (*.*)\0*.*\0";

using Buffer = std::unique_ptr<char[]>;

Buffer MakeBuffer(std::size_t size) {
    return Buffer(new (std::nothrow) char[size]());
}

// A dialog for one file. The field stays a list of one name.
bool ChooseOne(ZoTerm& terminal, const OPENFILENAMEA& dialog, FileDialogKind run,
               char (&field)[MAX_PATH]) {
    const ModalScope scope(terminal);
    const bool chosen = ChoosePath(dialog, run, field);
    EndAsList(field);
    return chosen;
}

// Turns a dialog's folder followed by file names into paths. Null without memory, or when a path
// would not fit an entry.
Buffer JoinedPaths(const char* folder, std::size_t& size) {
    const char* const names = NextName(folder);
    const std::size_t room = CountNames(names) * EntryRoom + 1;
    Buffer list = MakeBuffer(room);
    if (!list)
        return nullptr;
    const std::size_t folderLength = std::strlen(folder);
    const bool root = folderLength > 0 && folder[folderLength - 1] == '\\';
    char* at = list.get();
    for (const char* name = names; *name; name = NextName(name)) {
        char path[EntryRoom];
        if (!FormatText(path, "%s%s%s", folder, root ? "" : "\\", name))
            return nullptr;
        std::memcpy(at, path, std::strlen(path) + 1);
        at += std::strlen(path) + 1;
    }
    size = static_cast<std::size_t>(at - list.get()) + 1;
    return list;
}

} // namespace

// The dialog writes into a buffer of its own: another start may bring a list while it is open.
bool ZoTerm::ChooseSendFiles() {
    const std::uint32_t room = std::max(Batch.m_FileListSize, SelectionRoom);
    const Buffer chosen = MakeBuffer(room);
    if (!chosen)
        return false;
    std::memcpy(chosen.get(), Batch.m_FileList, std::strlen(Batch.m_FileList) + 1);
    OPENFILENAMEA dialog = FileDialog(m_hWnd, "Send File(s)", AllFiles, chosen.get(), room - 1);
    dialog.Flags |= OFN_FILEMUSTEXIST | OFN_ALLOWMULTISELECT;
    const ModalScope scope(*this);
    if (!RunFileDialog(dialog, &GetOpenFileNameA) || !TakesLists())
        return false;

    const char* const names = NextName(chosen.get());
    if (*names == '\0') // one file, as its path
        return Batch.TakeList(chosen.get(), std::strlen(chosen.get()) + 2, 0);
    std::size_t size = 0;
    const Buffer paths = JoinedPaths(chosen.get(), size);
    return paths && Batch.TakeList(paths.get(), size, (CountNames(chosen.get())) * EntryRoom);
}

bool ZoTerm::ChooseBootFile() {
    OPENFILENAMEA dialog = FileDialog(m_hWnd, "Boot File", BootFiles, nullptr, OneName);
    dialog.lpstrDefExt = "boot";
    dialog.Flags |= OFN_FILEMUSTEXIST;
    return ChooseOne(*this, dialog, &GetOpenFileNameA, Settings.m_BootFile) && TakesLists();
}

bool ZoTerm::ChooseImageFile() {
    OPENFILENAMEA dialog = FileDialog(m_hWnd, "Image File", AllFiles, nullptr, OneName);
    dialog.Flags |= OFN_FILEMUSTEXIST;
    return ChooseOne(*this, dialog, &GetOpenFileNameA, Settings.m_ImageFile) && TakesLists();
}

bool ZoTerm::ChooseReceiveFile() {
    const OPENFILENAMEA dialog = FileDialog(m_hWnd, "Receive File", AllFiles, nullptr, OneName);
    return ChooseOne(*this, dialog, &GetSaveFileNameA, Settings.m_ReceiveFile) && TakesLists();
}

bool ZoTerm::TakeDroppedFiles(HDROP drop) {
    const UINT count = DragQueryFileA(drop, 0xFFFFFFFF, nullptr, OneName);
    std::size_t size = 1;
    for (UINT i = 0; i < count; ++i)
        size += DragQueryFileA(drop, i, nullptr, 0) + 1;
    const Buffer list = MakeBuffer(size);
    if (!list || count == 0)
        return false;
    std::size_t at = 0;
    for (UINT i = 0; i < count; ++i)
        at += DragQueryFileA(drop, i, list.get() + at, static_cast<UINT>(size - at)) + 1;
    return Batch.TakeList(list.get(), size, std::size_t{count} * EntryRoom);
}
