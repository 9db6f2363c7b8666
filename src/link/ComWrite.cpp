// Bytes to the device, by overlapped writes that can be given up.

#include "link/ComPort.h"

#include "base/Owned.h"

#include <algorithm>

namespace {

constexpr std::uint32_t BitsOfAByte = 10;    // start bit, 8 data bits, stop bit
constexpr std::uint32_t SmallestPiece = 512; // bytes of a frame that go to the driver at a time
constexpr std::uint32_t PiecesOfASecond = 4; // at the line's speed
constexpr std::uint32_t SlowestPiece = 2;    // times what it takes at the line's speed,
constexpr DWORD PieceGrace = 1000;           // and this many ms, until the line counts as stuck

} // namespace

bool ComPort::Write(const std::uint8_t* data, std::uint32_t length) {
    return WriteWithin(data, length, INFINITE);
}

// Write with a limit in ms; ERROR_TIMEOUT when the driver has not taken the bytes by then. With
// `impatient` the limit counts only while that event is set.
bool ComPort::WriteWithin(const std::uint8_t* data, std::uint32_t length, DWORD timeout,
                          HANDLE impatient) {
    if (!RequireOpen())
        return false;
    const OwnedHandle done(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    if (!done)
        return Fail(GetLastError());
    OVERLAPPED overlapped = {};
    overlapped.hEvent = done.get();
    if (WriteFile(m_Handle, data, length, nullptr, &overlapped))
        return true;
    if (GetLastError() != ERROR_IO_PENDING)
        return Fail(GetLastError());

    m_LastError = ERROR_IO_PENDING;
    const HANDLE either[] = {done.get(), m_AbortWaitsEvent};
    DWORD waited = WAIT_TIMEOUT;
    do
        waited = WaitForMultipleObjects(2, either, FALSE, timeout);
    while (waited == WAIT_TIMEOUT && impatient &&
           WaitForSingleObject(impatient, 0) == WAIT_TIMEOUT);
    if (waited != WAIT_OBJECT_0)
        CancelIoEx(m_Handle, &overlapped);

    // After a cancel this waits only until the driver has let go of the record.
    DWORD written = 0;
    if (GetOverlappedResult(m_Handle, &overlapped, &written, TRUE)) {
        m_LastError = static_cast<DWORD>(overlapped.Internal);
        return true;
    }
    return Fail(waited == WAIT_TIMEOUT ? ERROR_TIMEOUT : GetLastError());
}

// Send thread. Writes the frame at hand. One that is under way is finished also when the send is
// canceled, since the device would take the cancel line for its data; it goes out in pieces, so
// that a slow line does not pass for one that takes no more bytes.
bool ComPort::WriteFrame(std::uint32_t length) {
    const std::uint32_t speed = m_LineSpeed / BitsOfAByte + 1; // bytes per second
    const std::uint32_t piece = std::max(SmallestPiece, speed / PiecesOfASecond);
    const DWORD limit = PieceGrace + SlowestPiece * piece * 1000 / speed;
    for (std::uint32_t done = 0; done < length; done += piece)
        if (!WriteWithin(m_SendFrame + done, std::min(piece, length - done), limit,
                         m_CancelSendEvent))
            return false;
    return true;
}
