// The output log: a file to which the device's text is appended as it came, or with times.

#include "base/SystemText.h"
#include "terminal/ZoTerm.h"

#include <memory>
#include <new>

namespace {

bool FormatNow(char (&text)[LogTimeLength + 1]) {
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    return FormatText(text, "%04u-%02u-%02u %02u:%02u:%02u.%03u ", now.wYear, now.wMonth, now.wDay,
                      now.wHour, now.wMinute, now.wSecond, now.wMilliseconds);
}

} // namespace

// Closes an open log first: the settings may name another file. Others may read the file, but only
// one terminal writes it. It may be larger than 4 GB.
void ZoTerm::OpenLog() {
    CloseLog();
    m_LogFails = false;
    m_LogStamp = {};
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
    const bool logs = m_LogHandle && Settings.m_UseLogFile;
    if (!logs || !Settings.m_LogTimes)
        m_LogStamp = {};
    if (!logs || count == 0)
        return;
    if (!Settings.m_LogTimes || !AppendStamped(bytes, count))
        AppendToLog(bytes, count);
}

// False, with nothing written, without memory.
bool ZoTerm::AppendStamped(const char* bytes, std::size_t count) {
    const std::size_t size = m_LogStamp.StampedSize(bytes, count);
    const std::unique_ptr<char[]> stamped(new (std::nothrow) char[size]);
    char time[LogTimeLength + 1];
    if (!stamped || !FormatNow(time))
        return false;
    m_LogStamp.Stamp(bytes, count, time, stamped.get());
    AppendToLog(stamped.get(), size);
    return true;
}

void ZoTerm::AppendToLog(const char* bytes, std::size_t count) {
    DWORD written = 0;
    if (!WriteFile(m_LogHandle, bytes, static_cast<DWORD>(count), &written, nullptr))
        ReportLog(GetLastError());
    else if (written != count)
        ReportLog(ERROR_DISK_FULL);
}

// Reports the first failure since the log was opened: later ones would overwrite the status bar
// with every piece of text.
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
