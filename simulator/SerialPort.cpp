#include "SerialPort.h"

#include <algorithm>
#include <string>

namespace sim {

SerialPort::~SerialPort() {
    DWORD count = 0;
    if (m_Port != INVALID_HANDLE_VALUE) {
        CancelIoEx(m_Port, nullptr);
        if (m_Reading)
            GetOverlappedResult(m_Port, &m_Read, &count, TRUE);
        if (Writing())
            GetOverlappedResult(m_Port, &m_Write, &count, TRUE);
        CloseHandle(m_Port);
    }
    for (const HANDLE event : {m_Read.hEvent, m_Write.hEvent})
        if (event != nullptr)
            CloseHandle(event);
}

bool SerialPort::Open(std::uint32_t number, std::uint32_t baud) {
    m_Read.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_Write.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (m_Read.hEvent == nullptr || m_Write.hEvent == nullptr)
        return Fail();
    const std::wstring name = L"\\\\.\\COM" + std::to_wstring(number);
    m_Port = CreateFileW(name.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                         FILE_FLAG_OVERLAPPED, nullptr);
    if (m_Port == INVALID_HANDLE_VALUE)
        return Fail();
    return Configure(baud) && StartRead();
}

bool SerialPort::Configure(std::uint32_t baud) {
    DCB dcb = {};
    dcb.DCBlength = sizeof dcb;
    if (!GetCommState(m_Port, &dcb))
        return Fail();
    dcb.BaudRate = baud;
    dcb.ByteSize = 8;
    dcb.Parity = NOPARITY;
    dcb.StopBits = ONESTOPBIT;
    dcb.fBinary = TRUE;
    dcb.fParity = FALSE;
    dcb.fOutxCtsFlow = FALSE;
    dcb.fOutxDsrFlow = FALSE;
    dcb.fDsrSensitivity = FALSE;
    dcb.fOutX = FALSE;
    dcb.fInX = FALSE;
    dcb.fErrorChar = FALSE;
    dcb.fNull = FALSE;
    dcb.fAbortOnError = FALSE;
    dcb.fDtrControl = DTR_CONTROL_ENABLE;
    dcb.fRtsControl = RTS_CONTROL_DISABLE;
    // No time-outs: a read ends when its byte is there, a write when its bytes are out.
    COMMTIMEOUTS timeouts = {};
    if (!SetCommState(m_Port, &dcb) || !SetCommTimeouts(m_Port, &timeouts))
        return Fail();
    return true;
}

// One byte only: it ends as soon as anything comes, and FinishRead then takes what is queued.
bool SerialPort::StartRead() {
    ResetEvent(m_Read.hEvent);
    if (!ReadFile(m_Port, &m_ReadByte, 1, nullptr, &m_Read) && GetLastError() != ERROR_IO_PENDING)
        return Fail();
    m_Reading = true;
    return true;
}

bool SerialPort::FinishRead(std::uint8_t* bytes, std::size_t room, std::size_t& count) {
    DWORD read = 0;
    count = 0;
    m_Reading = false;
    if (!GetOverlappedResult(m_Port, &m_Read, &read, TRUE))
        return Fail();
    if (read == 0) {
        // A line whose other end is gone ends every read at once with nothing.
        if (++m_EmptyReads > MostEmptyReads) {
            m_Error = ERROR_DEVICE_NOT_CONNECTED;
            return false;
        }
        Sleep(EmptyReadPause);
        return StartRead();
    }
    m_EmptyReads = 0;
    bytes[0] = m_ReadByte;
    count = 1;
    return ReadQueued(bytes, room, count) && StartRead();
}

// Appends what the driver already has; such a read waits for nothing, unless the line has gone
// meanwhile and took the bytes along.
bool SerialPort::ReadQueued(std::uint8_t* bytes, std::size_t room, std::size_t& count) {
    DWORD errors = 0;
    COMSTAT status = {};
    if (!ClearCommError(m_Port, &errors, &status))
        return Fail();
    const auto wanted = std::min(static_cast<DWORD>(room - count), status.cbInQue);
    if (wanted == 0)
        return true;
    DWORD read = 0;
    ResetEvent(m_Read.hEvent);
    if (!ReadFile(m_Port, bytes + count, wanted, nullptr, &m_Read) &&
        GetLastError() != ERROR_IO_PENDING)
        return Fail();
    if (WaitForSingleObject(m_Read.hEvent, LongestQueuedRead) != WAIT_OBJECT_0)
        CancelIoEx(m_Port, &m_Read);
    if (!GetOverlappedResult(m_Port, &m_Read, &read, TRUE))
        return Fail();
    count += read;
    return true;
}

bool SerialPort::StartWrite(std::size_t count) {
    m_WriteStart = 0;
    m_WriteCount = std::min(count, WriteRoom);
    return WritePart();
}

bool SerialPort::FinishWrite() {
    DWORD written = 0;
    if (!GetOverlappedResult(m_Port, &m_Write, &written, TRUE))
        return FailWrite();
    if (written == 0) {
        SetLastError(ERROR_DEVICE_NOT_CONNECTED);
        return FailWrite();
    }
    const auto done = std::min<std::size_t>(written, m_WriteCount);
    m_WriteStart += done;
    m_WriteCount -= done;
    if (m_WriteCount == 0) {
        ResetEvent(m_Write.hEvent);
        return true;
    }
    return WritePart();
}

bool SerialPort::WritePart() {
    ResetEvent(m_Write.hEvent);
    if (!WriteFile(m_Port, m_WriteBuffer.data() + m_WriteStart, static_cast<DWORD>(m_WriteCount),
                   nullptr, &m_Write) &&
        GetLastError() != ERROR_IO_PENDING)
        return FailWrite();
    return true;
}

bool SerialPort::Fail() {
    m_Error = GetLastError();
    return false;
}

// No write is under way then: the end of one that did not begin would never come.
bool SerialPort::FailWrite() {
    m_WriteCount = 0;
    return Fail();
}

} // namespace sim
