// The output log: a file to which the device's text is appended as it came.

#include "base/SystemText.h"
#include "terminal/ZoTerm.h"

// Also reopens it: the settings may name another file now. Others may read the file meanwhile, but
// only one terminal writes it. The file may be larger than 4 GB.
void ZoTerm::OpenLog() {
    CloseLog();
    m_LogFails = false;
    const HANDLE log = CreateFileA(Settings.m_LogFile, GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                   OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    m_LogHandle = log == INVALID_HANDLE_VALUE ? nullptr : log;
    if (!m_LogHandle || !SetFilePointerEx(m_LogHandle, {}, nullptr, FILE_END)) {
        const DWORD error = GetLastError();
        CloseLog();
        if (Settings.m_UseLogFile)
            ReportLog(error);
    }
}

void ZoTerm::WriteLog(const char* bytes, std::uint32_t count) {
    DWORD written = 0;
    if (!m_LogHandle || !Settings.m_UseLogFile || count == 0)
        return;
    if (!WriteFile(m_LogHandle, bytes, count, &written, nullptr))
        ReportLog(GetLastError());
    else if (written != count)
        ReportLog(ERROR_DISK_FULL);
}

// Once, until the log is opened again: what is shown meanwhile is not wiped out by every piece of
// text.
void ZoTerm::ReportLog(DWORD error) {
    if (m_LogFails)
        return;
    m_LogFails = true;
    char reason[200];
    char text[sizeof(reason) + 16];
    FormatSystemError(reason, error);
    FormatText(text, "Log failed: %s", reason);
    SetStatusText(text);
}

void ZoTerm::CloseLog() {
    if (m_LogHandle)
        CloseHandle(m_LogHandle);
    m_LogHandle = nullptr;
}
