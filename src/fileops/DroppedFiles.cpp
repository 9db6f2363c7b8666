// Files that are dropped onto a terminal.

#include "base/FileNames.h"
#include "base/WideText.h"
#include "terminal/ZoTerm.h"

#include <shlobj.h>

#include <cwchar>

namespace {

// The names of dropped files in the drop's own memory; null when they are not wide, or not
// terminated. DragQueryFile walks the whole list for every name, which is slow for thousands.
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
        const WideBuffer path = MakeWideBuffer(room);
        if (!path || !DragQueryFileW(drop, i, path.get(), room) || !list.Add(path.get()))
            return false;
    }
    return true;
}

} // namespace

bool ZoTerm::TakeDroppedFiles(HDROP drop) {
    PathList list;
    const auto* const files = static_cast<const DROPFILES*>(GlobalLock(drop));
    const wchar_t* const names = files ? WideNames(*files, GlobalSize(drop)) : nullptr;
    const bool added = names ? AddNames(list, names) : AddByNumber(list, drop);
    if (files)
        GlobalUnlock(drop);
    return added && TakePaths(list);
}

LRESULT ZoTerm::OnDropFiles(HDROP drop) {
    const bool taken = TakesLists() && TakeDroppedFiles(drop);
    DragFinish(drop);
    if (taken)
        StartSendBatch(false);
    return 0;
}
