// What sends and receives share: one transfer at a time, its number, its snapshot, its thread, its
// end.

#include "link/ComPort.h"

#include "link/InputLock.h"

#include <initializer_list>
#include <utility>

namespace {

std::atomic<std::uint32_t> LastTransferNumber{0}; // of the process

} // namespace

// A transfer may begin: the port is open and none runs. It begins with the last one's snapshot
// forgotten, all its events reset and no text gathering.
bool ComPort::BeginTransfer() {
    if (!RequireOpen())
        return false;
    if (m_TransferRuns.exchange(true))
        return Fail(ERROR_BUSY);
    m_LastError = ERROR_IO_PENDING;
    const InputLock lock(*this);
    m_Info = {ERROR_IO_PENDING, 0, 0, 0, 0};
    m_TransferNumber = ++LastTransferNumber;
    m_RequestedBlock = 0;
    m_ReceiveAbort = 0;
    m_TransferRefused = false;
    m_DeviceReplied = false;
    for (const HANDLE event : {m_CancelSendEvent, m_ReplyEvent, m_DataEvent, m_AbortWaitsEvent})
        ResetEvent(event);
    SetEvent(m_EndGatheringEvent);
    return true;
}

// A transfer that began but whose thread does not run.
bool ComPort::FailTransfer(DWORD error) {
    {
        const InputLock lock(*this);
        m_Info.Status = error;
    }
    m_TransferRuns = false;
    return Fail(error);
}

// The thread of the transfer before ends within moments, but the GUI thread does not wait even
// that long: the new thread does.
bool ComPort::StartTransferThread(HANDLE& thread, LPTHREAD_START_ROUTINE body) {
    for (HANDLE* const ended : {&m_SendThread, &m_ReceiveThread})
        if (*ended)
            m_Predecessor = std::exchange(*ended, nullptr);
    return StartThread(thread, body);
}

void ComPort::AwaitPredecessor() {
    if (!m_Predecessor)
        return;
    WaitForSingleObject(m_Predecessor, INFINITE);
    CloseHandle(std::exchange(m_Predecessor, nullptr));
}

void ComPort::ShowProgress(std::uint32_t block, std::uint32_t done, std::uint32_t errors) {
    const InputLock lock(*this);
    m_Info.Block = block;
    m_Info.Done = done;
    m_Info.Errors = errors;
}

// Transfer thread.
void ComPort::PostTransfer() {
    if (m_NotifyFlags & NotifyTransfer)
        Post(NotifyTransfer, m_TransferNumber);
}

// The last step of a transfer's thread: with the final status the window may start the next
// transfer, so what follows it here uses nothing that a transfer begins with.
void ComPort::EndTransfer(DWORD status) {
    const HWND window = m_NotifyFlags & NotifyTransfer ? m_NotifyWindow.load() : nullptr;
    LPARAM news = 0;
    {
        const InputLock lock(*this);
        m_Info.Status = status;
        news = static_cast<LPARAM>(std::uint64_t{m_TransferNumber} << 32 | status);
        for (const HANDLE event : {m_CancelSendEvent, m_ReplyEvent, m_DataEvent})
            ResetEvent(event);
        m_ReceiveAbort = 0;
        m_TransferRuns = false;
    }
    if (window)
        PostMessageA(window, m_NotifyMessage, NotifyTransfer, news);
}

// Asks whatever transfer runs to end. One that has ended is not asked: its events stay reset.
void ComPort::CancelTransfer() {
    const InputLock lock(*this);
    if (!m_TransferRuns)
        return;
    if (m_SendThread)
        SetEvent(m_CancelSendEvent);
    if (m_ReceiveThread) {
        m_ReceiveAbort = 1;
        SetEvent(m_DataEvent); // ends the wait for a byte
    }
}

// When the line is to be closed. False when a thread has not ended by the deadline.
bool ComPort::StopTransfers(std::uint64_t deadline) {
    CancelTransfer();
    bool ended = true;
    for (HANDLE* const thread : {&m_SendThread, &m_ReceiveThread, &m_Predecessor})
        ended = JoinTransfer(*thread, deadline) && ended;
    return ended;
}

// Waits for a thread that has been asked to end, or has ended; politely only while there is a
// device. What then still waits for the line is aborted, and the abort event stays set.
bool ComPort::JoinTransfer(HANDLE& thread, std::uint64_t deadline) {
    constexpr DWORD rest = LongestClose - PoliteStop;
    if (!thread)
        return true;
    const HANDLE either[] = {thread, m_LostEvent};
    if (WaitForMultipleObjects(2, either, FALSE, TimeUntil(deadline - rest)) != WAIT_OBJECT_0) {
        SetEvent(m_AbortWaitsEvent);
        if (!EndsBy(thread, deadline))
            return false;
    }
    CloseHandle(std::exchange(thread, nullptr));
    return true;
}

void ComPort::StopSend() {
    if (m_SendThread)
        CancelTransfer();
}

bool ComPort::StopReceive() {
    if (m_ReceiveThread)
        CancelTransfer();
    return true;
}

void ComPort::FinishTransfer() {
    if (!m_Handle)
        return;
    CancelTransfer();
    const std::uint64_t deadline = GetTickCount64() + LongestClose;
    JoinTransfer(m_SendThread, deadline);
    JoinTransfer(m_ReceiveThread, deadline);
    ResetEvent(m_AbortWaitsEvent);
}
