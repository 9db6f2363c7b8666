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
constexpr DWORD EmptyWritePause = 10;        // ms before a write is repeated that took no byte

// The system is short of a resource for the moment: that says nothing about the port.
bool IsShortage(DWORD error) {
    return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY ||
           error == ERROR_NO_SYSTEM_RESOURCES || error == ERROR_NOT_ENOUGH_QUOTA ||
           error == ERROR_WORKING_SET_QUOTA;
}

} // namespace

bool ComPort::Write(const std::uint8_t* data, std::uint32_t length) {
    return WriteWithin(data, length, INFINITE);
}

// Write with a limit in ms; ERROR_TIMEOUT when the driver has not taken all the bytes by then. With
// `impatient` the limit counts only while that event is set, and from the last byte that was taken.
// A driver's own time-outs end a write early: then the remaining bytes follow.
bool ComPort::WriteWithin(const std::uint8_t* data, std::uint32_t length, DWORD timeout,
                          HANDLE impatient) {
    if (!RequireOpen())
        return false;
    const OwnedHandle done(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    if (!done)
        return Fail(GetLastError());
    const std::uint64_t start = GetTickCount64();
    DWORD left = timeout;
    while (length > 0) {
        DWORD taken = 0;
        if (!WritePart(data, length, left, done.get(), impatient, taken))
            return false;
        data += taken;
        length -= taken;
        if (length > 0 && taken == 0 &&
            WaitForSingleObject(m_AbortWaitsEvent, EmptyWritePause) == WAIT_OBJECT_0)
            return Fail(ERROR_OPERATION_ABORTED);
        const std::uint64_t passed = GetTickCount64() - start;
        if (timeout != INFINITE && !impatient)
            left = passed < timeout ? timeout - static_cast<DWORD>(passed) : 0;
    }
    return true;
}

// One write of the driver's. True with the number of bytes that it took, which may be less than
// all of them, or none.
bool ComPort::WritePart(const std::uint8_t* data, std::uint32_t length, DWORD timeout, HANDLE done,
                        HANDLE impatient, DWORD& taken) {
    OVERLAPPED overlapped = {};
    overlapped.hEvent = done;
    DWORD waited = WAIT_OBJECT_0;
    if (!WriteFile(m_Handle, data, length, nullptr, &overlapped)) {
        if (GetLastError() != ERROR_IO_PENDING)
            return FailWrite(GetLastError());
        m_LastError = ERROR_IO_PENDING;
        waited = AwaitWrite(done, timeout, impatient);
        if (waited != WAIT_OBJECT_0)
            Withdraw(overlapped);
    }
    const bool good = GetOverlappedResult(m_Handle, &overlapped, &taken, TRUE) != 0;
    const DWORD error = good ? DWORD{ERROR_SUCCESS} : GetLastError();
    if (error == ERROR_SEM_TIMEOUT) // the driver's own time-out
        taken = static_cast<DWORD>(overlapped.InternalHigh);
    if (good)
        m_LastError = static_cast<DWORD>(overlapped.Internal);
    if (taken == length && (good || error == ERROR_SEM_TIMEOUT))
        return true;
    if (waited != WAIT_OBJECT_0)
        return Fail(waited == WAIT_TIMEOUT ? ERROR_TIMEOUT : ERROR_OPERATION_ABORTED);
    return good || error == ERROR_SEM_TIMEOUT || FailWrite(error);
}

DWORD ComPort::AwaitWrite(HANDLE done, DWORD timeout, HANDLE impatient) const {
    const HANDLE either[] = {done, m_AbortWaitsEvent};
    DWORD waited = WAIT_TIMEOUT;
    do
        waited = WaitForMultipleObjects(2, either, FALSE, timeout);
    while (waited == WAIT_TIMEOUT && impatient &&
           WaitForSingleObject(impatient, 0) == WAIT_TIMEOUT);
    return waited;
}

// Cancels an operation of the driver's, and waits until it has let go of the record: the record
// and the bytes stay where they are until then. With a driver that does not let go the port
// soon counts as lost.
void ComPort::Withdraw(OVERLAPPED& overlapped) {
    CancelIoEx(m_Handle, &overlapped);
    if (WaitForSingleObject(overlapped.hEvent, DriverPatience) == WAIT_TIMEOUT)
        Lose();
    WaitForSingleObject(overlapped.hEvent, INFINITE);
}

// Not every driver reports that its device is gone: a write that fails says so, too.
bool ComPort::FailWrite(DWORD error) {
    if (!IsShortage(error))
        Lose();
    return Fail(error);
}

// Send thread. Writes the current frame. One that is under way is finished even when the send is
// canceled, since the device would take the cancel line for its data; it goes out in pieces, so
// that a slow line does not look like one that takes no more bytes.
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
