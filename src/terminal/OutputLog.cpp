// The output log: a file to which the device's text is appended as it came.

#include "terminal/ZoTerm.h"

// Also reopens it: the settings may name another file now. Others may read the file meanwhile, but
// only one terminal writes it.
void ZoTerm::OpenLog() {
    CloseLog();
    const HANDLE log = CreateFileA(Settings.m_LogFile, GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                   OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (log == INVALID_HANDLE_VALUE)
        return;
    SetFilePointer(log, 0, nullptr, FILE_END);
    m_LogHandle = log;
}

void ZoTerm::WriteLog(const char* bytes, std::uint32_t count) {
    DWORD written = 0;
    if (m_LogHandle && Settings.m_UseLogFile && count > 0)
        WriteFile(m_LogHandle, bytes, count, &written, nullptr);
}

void ZoTerm::CloseLog() {
    if (m_LogHandle)
        CloseHandle(m_LogHandle);
    m_LogHandle = nullptr;
}
