#include "fileops/FileSizes.h"

#include "base/Owned.h"
#include "batch/PackedList.h"

#include <windows.h>

namespace {

std::uint64_t OpenedFileSize(const char* path) {
    const HANDLE handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return 0;
    const OwnedHandle file(handle);
    LARGE_INTEGER size = {};
    return GetFileSizeEx(file.get(), &size) ? static_cast<std::uint64_t>(size.QuadPart) : 0;
}

// Reads the folder's entry instead of opening the file: a list may have thousands. A link's entry
// has no size of the file behind it.
std::uint64_t FileSize(const char* path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!GetFileAttributesExA(path, GetFileExInfoStandard, &data))
        return 0;
    if (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT)
        return OpenedFileSize(path);
    return static_cast<std::uint64_t>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

} // namespace

std::uint64_t ListBytes(const char* list) {
    std::uint64_t total = 0;
    for (; *list; list = NextName(list))
        total += FileSize(list);
    return total;
}
