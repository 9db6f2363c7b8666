#pragma once

// A COM port with one read and one write under way at a time, for a loop that waits on events.

#include <windows.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace sim {

class SerialPort {
public:
    SerialPort() = default;
    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    // Cancels what is under way and closes the port.
    ~SerialPort();

    // Opens COM`number` with 8 data bits, no parity, one stop bit, DTR on and no flow control, and
    // starts reading. To be called once. False when it fails; Error says why.
    bool Open(std::uint32_t number, std::uint32_t baud);

    // Signaled when FinishRead, or FinishWrite, has something to collect.
    HANDLE ReadEvent() const { return m_Read.hEvent; }
    HANDLE WriteEvent() const { return m_Write.hEvent; }

    // Collects the bytes that came in, up to `room` of them (at least 1), and starts the next
    // read. False when the port is gone.
    bool FinishRead(std::uint8_t* bytes, std::size_t room, std::size_t& count);

    // The buffer for the next write; to be left alone while Writing.
    static constexpr std::size_t WriteRoom = 4096;
    std::uint8_t* WriteBuffer() { return m_WriteBuffer.data(); }
    bool Writing() const { return m_WriteCount != 0; }

    // Starts to write the first `count` bytes, 1 to WriteRoom, of the buffer. FinishWrite collects
    // the result; the remaining bytes are written next. False when the port is gone.
    bool StartWrite(std::size_t count);
    bool FinishWrite();

    // The platform's error number of the operation that failed.
    DWORD Error() const { return m_Error; }

private:
    static constexpr int MostEmptyReads = 10; // in a row, until the port counts as gone
    static constexpr DWORD EmptyReadPause = 20;
    static constexpr DWORD LongestQueuedRead = 1000; // ms

    bool Configure(std::uint32_t baud);
    bool StartRead();
    bool ReadQueued(std::uint8_t* bytes, std::size_t room, std::size_t& count);
    bool WritePart();
    bool Fail();
    bool FailWrite();

    HANDLE m_Port = INVALID_HANDLE_VALUE;
    DWORD m_Error = ERROR_SUCCESS;

    OVERLAPPED m_Read = {};
    std::uint8_t m_ReadByte = 0;
    bool m_Reading = false;
    int m_EmptyReads = 0;

    OVERLAPPED m_Write = {};
    std::array<std::uint8_t, WriteRoom> m_WriteBuffer = {};
    std::size_t m_WriteStart = 0;
    std::size_t m_WriteCount = 0;
};

} // namespace sim
