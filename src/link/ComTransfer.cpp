// What sends and receives share: one transfer at a time, its snapshot, its thread, its end.

#include "link/ComPort.h"

// A transfer may begin: the port is open and none runs. Forgets the last one's snapshot.
bool ComPort::BeginTransfer() {
    if (!RequireOpen())
        return false;
    if (m_Info.Status == ERROR_IO_PENDING)
        return Fail(ERROR_BUSY);
    // A thread that has told its end needs only moments for it.
    JoinTransfer(m_SendThread);
    JoinTransfer(m_ReceiveThread);
    for (auto* field : {&m_Info.Size, &m_Info.Block, &m_Info.Done, &m_Info.Errors})
        *field = 0;
    m_LastError = ERROR_IO_PENDING;
    m_Info.Status = ERROR_IO_PENDING;
    return true;
}

bool ComPort::FailTransfer(DWORD error) {
    m_Info.Status = error;
    return Fail(error);
}

bool ComPort::StartTransferThread(HANDLE& thread, LPTHREAD_START_ROUTINE body) {
    thread = CreateThread(nullptr, 0, body, this, 0, nullptr);
    return thread != nullptr;
}

void ComPort::ShowProgress(std::uint32_t block, std::uint32_t done, std::uint32_t errors) {
    m_Info.Block = block;
    m_Info.Done = done;
    m_Info.Errors = errors;
}

// A transfer thread's last act: the window may start the next transfer at once.
void ComPort::EndTransfer(DWORD status) {
    m_Info.Status = status;
    PostTransfer();
}

void ComPort::StopTransfers() {
    if (m_SendThread)
        SetEvent(m_CancelSendEvent);
    if (m_ReceiveThread) {
        m_ReceiveAbort = 1;
        SetEvent(m_DataEvent);
    }
    if (m_Lost)
        SetEvent(m_AbortWaitsEvent); // there is nobody left to be polite to
    JoinTransfer(m_SendThread);
    JoinTransfer(m_ReceiveThread);
}

// Waits for a thread that has been told to stop, or has told its end. What then still waits for
// the line is aborted; the abort event stays set.
void ComPort::JoinTransfer(HANDLE& thread) {
    if (!thread)
        return;
    if (WaitForSingleObject(thread, PoliteStop) == WAIT_TIMEOUT) {
        SetEvent(m_AbortWaitsEvent);
        WaitForSingleObject(thread, INFINITE);
    }
    CloseHandle(thread);
    thread = nullptr;
}

void ComPort::StopSend() {
    if (!m_SendThread)
        return;
    SetEvent(m_CancelSendEvent);
    JoinTransfer(m_SendThread);
    ResetEvent(m_AbortWaitsEvent);
}

bool ComPort::StopReceive() {
    if (!m_ReceiveThread)
        return true;
    m_ReceiveAbort = 1;
    SetEvent(m_DataEvent); // ends the wait for a byte
    JoinTransfer(m_ReceiveThread);
    m_ReceiveAbort = 0;
    ResetEvent(m_AbortWaitsEvent);
    return true;
}
