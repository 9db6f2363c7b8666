#include "link/ReceivedFile.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "link/codec/PathName.h"

#include <utility>

namespace {

constexpr unsigned MostParts = 1000; // of runs that were killed

HANDLE NullIfInvalid(HANDLE handle) {
    return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

// Null, with the platform's error, when there is such a file already. The right to delete it comes
// with the handle.
HANDLE CreateNew(const char* path) {
    return NullIfInvalid(CreateFileA(path, GENERIC_WRITE | DELETE, 0, nullptr, CREATE_NEW,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

// What would keep another file from taking this one's place is found before the device is asked.
DWORD WhyNotReplaceable(const char* path) {
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes != INVALID_FILE_ATTRIBUTES &&
        (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)))
        return ERROR_ACCESS_DENIED;
    const HANDLE file = CreateFileA(path, GENERIC_WRITE | DELETE, 0, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return GetLastError();
    CloseHandle(file);
    return ERROR_SUCCESS;
}

// Some file systems cannot replace a file and keep its rights and attributes.
bool Replace(const char* path, const char* part) {
    return ReplaceFileA(path, part, nullptr, REPLACEFILE_IGNORE_MERGE_ERRORS, nullptr, nullptr) ||
           MoveFileExA(part, path, MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH);
}

} // namespace

DWORD ReceivedFile::Create(const char* path) {
    Discard();
    if (!CopyText(m_Path, path))
        return ERROR_FILENAME_EXCED_RANGE;
    m_ReceiveHandle = CreateNew(m_Path);
    if (m_ReceiveHandle)
        return ERROR_SUCCESS;
    if (GetLastError() != ERROR_FILE_EXISTS)
        return GetLastError();
    const DWORD obstacle = WhyNotReplaceable(m_Path);
    return obstacle == ERROR_SUCCESS ? CreatePart() : obstacle;
}

DWORD ReceivedFile::CreatePart() {
    const auto folder = static_cast<int>(BaseName(m_Path) - m_Path);
    DWORD error = ERROR_FILE_EXISTS;
    for (unsigned number = 1; number <= MostParts && error == ERROR_FILE_EXISTS; ++number) {
        if (!FormatText(m_Part, "%.*sreceive%u.part", folder, m_Path, number)) {
            error = ERROR_FILENAME_EXCED_RANGE;
            break;
        }
        m_ReceiveHandle = CreateNew(m_Part);
        if (m_ReceiveHandle)
            return ERROR_SUCCESS;
        error = GetLastError();
    }
    m_Part[0] = '\0';
    return error;
}

DWORD ReceivedFile::Append(const std::uint8_t* bytes, std::uint32_t length) {
    DWORD written = 0;
    if (!WriteFile(m_ReceiveHandle, bytes, length, &written, nullptr))
        return GetLastError();
    return written == length ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

// The data is on the disk before the old file goes.
DWORD ReceivedFile::Keep() {
    if (Replaces() && !FlushFileBuffers(m_ReceiveHandle)) {
        const DWORD error = GetLastError();
        Discard();
        return error;
    }
    DWORD error = ERROR_SUCCESS;
    if (!CloseHandle(std::exchange(m_ReceiveHandle, nullptr)) ||
        (Replaces() && !Replace(m_Path, m_Part))) {
        error = GetLastError();
        DeleteFileA(Replaces() ? m_Part : m_Path);
    }
    m_Part[0] = '\0';
    return error;
}

// By its handle: by now the name may be another file's.
void ReceivedFile::Discard() {
    if (!m_ReceiveHandle)
        return;
    FILE_DISPOSITION_INFO goes = {};
    goes.DeleteFile = TRUE;
    SetFileInformationByHandle(m_ReceiveHandle, FileDispositionInfo, &goes, sizeof(goes));
    CloseHandle(std::exchange(m_ReceiveHandle, nullptr));
    m_Part[0] = '\0';
}
