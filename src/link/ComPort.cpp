#include "link/ComPort.h"

#include "link/InputLock.h"

#include <initializer_list>
#include <new>

namespace {

constexpr DWORD HighResolutionTimer = 2; // a flag that not every header names
constexpr WORD XonLimit = 2048;
constexpr WORD XoffLimit = 512;
constexpr char XonCharacter = 0x11;
constexpr char XoffCharacter = 0x13;

void CloseAndClear(HANDLE& handle) {
    if (handle)
        CloseHandle(handle);
    handle = nullptr;
}

void SetFrame(DCB& dcb, std::uint32_t baud) {
    dcb.BaudRate = baud;
    dcb.ByteSize = 8;
    dcb.Parity = NOPARITY;
    dcb.StopBits = ONESTOPBIT;
}

// The whole control block: an earlier program's settings must not survive.
DCB LineSettings(std::uint32_t baud) {
    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    SetFrame(dcb, baud);
    dcb.fBinary = TRUE;
    dcb.fDtrControl = DTR_CONTROL_ENABLE;
    dcb.fRtsControl = RTS_CONTROL_DISABLE;
    dcb.XonLim = XonLimit;
    dcb.XoffLim = XoffLimit;
    dcb.XonChar = XonCharacter;
    dcb.XoffChar = XoffCharacter;
    return dcb;
}

} // namespace

ComPort* CreateComPort() {
    return new (std::nothrow) ComPort;
}

void DestroyComPort(ComPort* port) {
    if (!port)
        return;
    port->Close();
    ComPort::Leave(port);
}

void ComPort::Leave(ComPort* port) {
    if (--port->m_Holders == 0)
        delete port;
}

ComPort::ComPort() {
    InitializeCriticalSection(&m_InLock);
    InitializeCriticalSection(&m_QueueLock);
}

ComPort::~ComPort() {
    ReleaseParts();
    DeleteCriticalSection(&m_InLock);
    DeleteCriticalSection(&m_QueueLock);
}

// Back to the construction state, whatever the fields hold; only results that nobody has taken
// stay, and what is known of the device. No thread of the port may run.
void ComPort::Reset() {
    LineQueue results;
    results.Swap(m_Queue);
    const bool mayTransfer = m_DeviceMayTransfer;
    this->~ComPort();
    new (this) ComPort;
    m_Queue.Swap(results);
    m_DeviceMayTransfer = mayTransfer;
}

bool ComPort::Fail(DWORD error) {
    m_LastError = error;
    return false;
}

bool ComPort::RequireOpen() {
    return m_Handle ? true : Fail(ERROR_INVALID_HANDLE);
}

bool ComPort::Open(const char* path, std::uint32_t baud, std::uint32_t inSize) {
    if (m_Handle)
        return Fail(ERROR_ALREADY_INITIALIZED);
    Reset();
    m_DeviceMayTransfer = false; // it may be another one
    if (OpenSteps(path, baud, inSize))
        return true;
    const DWORD error = GetLastError();
    Close();
    return Fail(error);
}

// False with the platform's error number; what was made so far is left for Close.
bool ComPort::OpenSteps(const char* path, std::uint32_t baud, std::uint32_t inSize) {
    const HANDLE handle = CreateFileA(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OVERLAPPED, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    m_Handle = handle;
    if (!ConfigureLine(baud))
        return false;

    m_InBuffer = new (std::nothrow) std::uint8_t[inSize];
    if (!m_InBuffer) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    m_InSize = inSize;
    return EscapeCommFunction(m_Handle, CLRRTS) && CreateEvents() && StartThreads();
}

bool ComPort::ConfigureLine(std::uint32_t baud) {
    DCB current = {};
    current.DCBlength = sizeof(current);
    if (!GetCommState(m_Handle, &current))
        return false;
    DCB wanted = LineSettings(baud);
    if (!SetCommState(m_Handle, &wanted))
        return false;
    m_LineSpeed = baud;

    // Reads return at once with what is queued; the driver's write time-outs stay.
    COMMTIMEOUTS timeouts = {};
    if (!GetCommTimeouts(m_Handle, &timeouts))
        return false;
    timeouts.ReadIntervalTimeout = 0;
    timeouts.ReadTotalTimeoutMultiplier = 0;
    timeouts.ReadTotalTimeoutConstant = 0;
    return SetCommTimeouts(m_Handle, &timeouts) != 0;
}

bool ComPort::CreateEvents() {
    constexpr BOOL manual = TRUE;
    constexpr BOOL automatic = FALSE;
    const struct {
        HANDLE* event;
        BOOL reset;
    } events[] = {
        {&m_ReadOverlapped.hEvent, manual},
        {&m_ReplyEvent, automatic},
        {&m_CancelSendEvent, manual},
        {&m_StopReaderEvent, manual},
        {&m_CommandEvent, automatic},
        {&m_DataEvent, manual},
        {&m_AbortWaitsEvent, manual},
        {&m_EndGatheringEvent, automatic},
        {&m_ReaderRestsEvent, manual},
        {&m_LineEvent, automatic},
        {&m_StopLinesEvent, manual},
        {&m_RefuseLinesEvent, manual},
        {&m_LostEvent, manual},
    };
    for (const auto& entry : events) {
        *entry.event = CreateEventA(nullptr, entry.reset, FALSE, nullptr);
        if (!*entry.event)
            return false;
    }
    // Null on a system without: then text gathers only where the common timers do.
    m_GatherTimer = CreateWaitableTimerExA(nullptr, nullptr, HighResolutionTimer, TIMER_ALL_ACCESS);
    return true;
}

bool ComPort::StartThread(HANDLE& thread, LPTHREAD_START_ROUTINE body) {
    ++m_Holders;
    thread = CreateThread(nullptr, 0, body, this, 0, nullptr);
    if (!thread)
        --m_Holders;
    return thread != nullptr;
}

bool ComPort::StartThreads() {
    return StartThread(m_ReaderThread, &Thread<&ComPort::RunReader>) &&
           StartThread(m_LineThread, &Thread<&ComPort::RunLines>);
}

// In ms; the deadline is in GetTickCount64.
DWORD ComPort::TimeUntil(std::uint64_t deadline) {
    const std::uint64_t now = GetTickCount64();
    return now < deadline ? static_cast<DWORD>(deadline - now) : 0;
}

// True when the thread has ended by then; one that has is not waited for.
bool ComPort::EndsBy(HANDLE thread, std::uint64_t deadline) {
    return WaitForSingleObject(thread, TimeUntil(deadline)) == WAIT_OBJECT_0;
}

bool ComPort::Close() {
    if (!RequireOpen())
        return false;
    if (m_GivenUp)
        return Fail(ERROR_TIMEOUT);
    const bool ended = StopThreads();
    {
        const SectionLock lock(m_QueueLock);
        m_GivenUp = !ended;
    }
    RefuseWaitingLines();
    if (!ended) {
        m_NotifyWindow = nullptr;
        return Fail(ERROR_TIMEOUT);
    }
    Reset();
    return true;
}

// A transfer sends its last lines through the line thread and gets the answers through the
// reader: they end in this order. False when the driver holds one of them.
bool ComPort::StopThreads() {
    const std::uint64_t deadline = GetTickCount64() + LongestClose;
    if (m_RefuseLinesEvent)
        SetEvent(m_RefuseLinesEvent);
    bool ended = StopTransfers(deadline);
    if (m_AbortWaitsEvent)
        SetEvent(m_AbortWaitsEvent);
    const struct {
        HANDLE* thread;
        HANDLE stop;
    } threads[] = {{&m_LineThread, m_StopLinesEvent}, {&m_ReaderThread, m_StopReaderEvent}};
    for (const auto& entry : threads)
        if (*entry.thread) {
            SetEvent(entry.stop);
            ended = EndsBy(*entry.thread, deadline) && ended;
        }
    return ended;
}

// No thread of the port may run.
void ComPort::ReleaseParts() {
    for (HANDLE* part : {&m_LineThread,        &m_ReaderThread,
                         &m_SendThread,        &m_ReceiveThread,
                         &m_Predecessor,       &m_ReadOverlapped.hEvent,
                         &m_ReplyEvent,        &m_CancelSendEvent,
                         &m_StopReaderEvent,   &m_CommandEvent,
                         &m_DataEvent,         &m_AbortWaitsEvent,
                         &m_EndGatheringEvent, &m_ReaderRestsEvent,
                         &m_LineEvent,         &m_StopLinesEvent,
                         &m_RefuseLinesEvent,  &m_LostEvent,
                         &m_GatherTimer,       &m_Handle})
        CloseAndClear(*part);
    FreeSendData();
    delete[] m_InBuffer;
    m_InBuffer = nullptr;
}

bool ComPort::SetBaudRate(std::uint32_t baud) {
    if (!RequireOpen())
        return false;
    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    if (!GetCommState(m_Handle, &dcb))
        return Fail(GetLastError());
    SetFrame(dcb, baud);
    if (!SetCommState(m_Handle, &dcb))
        return Fail(GetLastError());
    m_LineSpeed = baud;
    return true;
}

bool ComPort::SetNotify(HWND window, std::uint32_t message, std::uint32_t flags) {
    if (!RequireOpen())
        return false;
    m_NotifyMessage = message;
    m_NotifyFlags = flags;
    m_NotifyWindow = window; // last: with it the reader thread begins to post
    if (m_InCount > 0)
        PostText(); // text that came between Open and now
    if (m_Lost)
        Post(NotifyLost);
    return true;
}

bool ComPort::Answers() {
    DWORD errors = 0;
    return RequireOpen() && (ClearCommError(m_Handle, &errors, nullptr) || Fail(GetLastError()));
}

bool ComPort::GetTransferInfo(TransferInfo* info, std::uint32_t* number) {
    if (!RequireOpen())
        return false;
    const InputLock lock(*this);
    *info = m_Info;
    if (number)
        *number = m_TransferNumber;
    return true;
}
