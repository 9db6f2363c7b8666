// Where the lists of files come from: dialogs, drops, the command line and other starts.

#include "base/Text.h"
#include "fileops/Batch.h"
#include "link/codec/PackedList.h"
#include "terminal/FileDialog.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstdlib>
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
bool ChooseOne(const OPENFILENAMEA& dialog, FileDialogKind run, char (&field)[MAX_PATH]) {
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

bool ZoTerm::TakesLists() const {
    return !m_ProgressDialog && !m_MusicCommandWaits;
}

// Makes room for so many bytes of the list; what is in it is lost. A terminal never goes without
// a list: when there is no memory the old one stays.
bool ZoTerm::GrowBuffer(char*& buffer, std::uint32_t& size, std::size_t needed) {
    if (needed <= size)
        return true;
    auto* grown = needed <= UINT32_MAX ? static_cast<char*>(std::calloc(needed, 1)) : nullptr;
    if (!grown)
        return false;
    std::free(buffer);
    buffer = grown;
    size = static_cast<std::uint32_t>(needed);
    return true;
}

bool ZoTerm::TakeFileList(const char* list, std::size_t size, std::size_t room) {
    if (!GrowBuffer(m_FileList, m_FileListSize, std::max(size, room)))
        return false;
    std::memset(m_FileList, 0, m_FileListSize);
    std::memcpy(m_FileList, list, size);
    return true;
}

bool ZoTerm::ResetBatch() {
    const std::size_t files = CountNames(m_FileList) + 1; // or the image
    if (!GrowBuffer(m_Results, m_ResultsSize, ResultsRoom(files)) ||
        !GrowBuffer(m_DeviceNames, m_DeviceNamesSize, DeviceNamesRoom(files)))
        return false;
    m_CancelRequested = 0;
    std::memset(m_Results, 0, m_ResultsSize);
    std::memset(m_DeviceNames, 0, m_DeviceNamesSize);
    return true;
}

// The dialog writes into a buffer of its own: another start may bring a list while it is open.
bool ZoTerm::ChooseSendFiles() {
    const std::uint32_t room = std::max(m_FileListSize, SelectionRoom);
    const Buffer chosen = MakeBuffer(room);
    if (!chosen)
        return false;
    std::memcpy(chosen.get(), m_FileList, std::strlen(m_FileList) + 1);
    OPENFILENAMEA dialog = FileDialog(m_hWnd, "Send File(s)", AllFiles, chosen.get(), room - 1);
    dialog.Flags |= OFN_FILEMUSTEXIST | OFN_ALLOWMULTISELECT;
    if (!RunFileDialog(dialog, &GetOpenFileNameA) || !TakesLists())
        return false;

    const char* const names = NextName(chosen.get());
    if (*names == '\0') // one file, as its path
        return TakeFileList(chosen.get(), std::strlen(chosen.get()) + 2, 0);
    std::size_t size = 0;
    const Buffer paths = JoinedPaths(chosen.get(), size);
    return paths && TakeFileList(paths.get(), size, (CountNames(chosen.get())) * EntryRoom);
}

bool ZoTerm::ChooseBootFile() {
    OPENFILENAMEA dialog = FileDialog(m_hWnd, "Boot File", BootFiles, nullptr, OneName);
    dialog.lpstrDefExt = "boot";
    dialog.Flags |= OFN_FILEMUSTEXIST;
    return ChooseOne(dialog, &GetOpenFileNameA, m_BootFile) && TakesLists();
}

bool ZoTerm::ChooseImageFile() {
    OPENFILENAMEA dialog = FileDialog(m_hWnd, "Image File", AllFiles, nullptr, OneName);
    dialog.Flags |= OFN_FILEMUSTEXIST;
    return ChooseOne(dialog, &GetOpenFileNameA, m_ImageFile) && TakesLists();
}

bool ZoTerm::ChooseReceiveFile() {
    const OPENFILENAMEA dialog = FileDialog(m_hWnd, "Receive File", AllFiles, nullptr, OneName);
    return ChooseOne(dialog, &GetSaveFileNameA, m_ReceiveFile) && TakesLists();
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
    return TakeFileList(list.get(), size, std::size_t{count} * EntryRoom);
}
