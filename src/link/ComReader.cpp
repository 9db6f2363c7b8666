// The reader thread: waits for the device's bytes and turns them into terminal text, reply
// states or raw packet bytes, whichever the port's mode asks for.

#include "link/ComPort.h"

#include "link/InputLock.h"

#include <algorithm>
#include <new>

namespace {

// A read without time-outs ends with a byte or not at all; one that ends with none, again and
// again, comes from a line whose other end is gone.
constexpr int EmptyReadsOfALostLine = 3;
constexpr DWORD EmptyReadPause = 20; // ms

// While text streams in, the reader lets it gather instead of waking for every few bytes: for
// no longer than a person notices, and never for more than a quarter of the driver's queue.
constexpr std::uint64_t StreamGap = 100;       // ms; a longer silence ends a stream
constexpr std::uint32_t LongestGathering = 50; // ms
constexpr std::uint32_t GatheredBytes = ComPort::DriverQueueSize / 4;
constexpr std::uint32_t BitsOfAByte = 10; // start bit, 8 data bits, stop bit

// When the terminal is behind, the driver's queue holds what comes meanwhile, this long; only
// then text is dropped. It goes over in pieces that fit the input buffer with room to spare.
constexpr int LongestWaitForRoom = 250; // ms
constexpr std::uint32_t TextPiece = 1024;

} // namespace

void ComPort::RunReader() {
    SetupComm(m_Handle, DriverQueueSize, DriverQueueSize);

    Reader reader;
    int emptyReads = 0;
    while (emptyReads < EmptyReadsOfALostLine) {
        const DWORD pause = emptyReads > 0 ? EmptyReadPause : 0;
        if (WaitForSingleObject(m_StopReaderEvent, pause) == WAIT_OBJECT_0)
            return;
        const ReaderStep step = ReadChunk(reader);
        if (step == ReaderStep::Stopped)
            return;
        if (step == ReaderStep::Lost)
            break;
        emptyReads = step == ReaderStep::NoBytes ? emptyReads + 1 : 0;
    }
    m_Lost = true;
    Post(NotifyLost);
}

// One round: waits for a byte, then takes with it all that is queued behind it.
ComPort::ReaderStep ComPort::ReadChunk(Reader& reader) {
    std::uint8_t first = 0;
    DWORD taken = 0;
    const ReaderStep waited = ReadBytes(&first, 1, &taken);
    if (waited != ReaderStep::Bytes)
        return waited;
    const bool text = Gathers(reader);
    if (text) {
        const HANDLE either[] = {m_StopReaderEvent, m_EndGatheringEvent};
        WaitForMultipleObjects(2, either, FALSE, GatheringTime());
    }
    reader.lastChunkAt = GetTickCount64();

    DWORD errors = 0;
    COMSTAT status = {};
    if (!ClearCommError(m_Handle, &errors, &status))
        return ReaderStep::Lost;
    const std::uint32_t wanted = status.cbInQue + 1;
    if (reader.room < wanted) {
        reader.chunk.reset(new (std::nothrow) std::uint8_t[wanted]);
        reader.room = reader.chunk ? wanted : 0;
    }
    std::uint8_t* const chunk = reader.chunk.get();
    if (!chunk) { // short of memory: byte by byte then
        HandleChunk(reader.line, &first, 1, text);
        return ReaderStep::Bytes;
    }
    chunk[0] = first;
    ReaderStep step = ReaderStep::Bytes;
    taken = 0;
    if (status.cbInQue > 0)
        step = ReadBytes(&chunk[1], status.cbInQue, &taken);
    HandleChunk(reader.line, chunk, taken + 1, text);
    return step == ReaderStep::NoBytes ? ReaderStep::Bytes : step;
}

// Only text gathers: packets, reply lines and answers are waited for.
bool ComPort::Gathers(const Reader& reader) const {
    return GetTickCount64() - reader.lastChunkAt < StreamGap && !m_RawMode &&
           m_ReplyState == ReplyNone && !m_AnswerAwaited;
}

DWORD ComPort::GatheringTime() const {
    const std::uint32_t bytesPerSecond = m_LineSpeed / BitsOfAByte + 1;
    return std::min(LongestGathering, GatheredBytes * 1000 / bytesPerSecond);
}

// Waits for `count` bytes, however long that takes, unless the reader is to stop. A pending read
// is the wait: unlike a comm-event wait it costs nothing while the line is silent, whatever the
// platform, and drivers end it when the adapter is pulled.
ComPort::ReaderStep ComPort::ReadBytes(std::uint8_t* bytes, DWORD count, DWORD* taken) {
    if (!ReadFile(m_Handle, bytes, count, nullptr, &m_ReadOverlapped)) {
        if (GetLastError() != ERROR_IO_PENDING)
            return ReaderStep::Lost;
        const HANDLE either[] = {m_StopReaderEvent, m_ReadOverlapped.hEvent};
        if (WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0)
            CancelIoEx(m_Handle, &m_ReadOverlapped);
    }
    if (GetOverlappedResult(m_Handle, &m_ReadOverlapped, taken, TRUE))
        return *taken ? ReaderStep::Bytes : ReaderStep::NoBytes;
    return WaitForSingleObject(m_StopReaderEvent, 0) == WAIT_OBJECT_0 ? ReaderStep::Stopped
                                                                      : ReaderStep::Lost;
}

// `text`: it gathered as text, and stays that when a transfer has begun meanwhile.
void ComPort::HandleChunk(LineBuffer& line, const std::uint8_t* bytes, std::uint32_t count,
                          bool text) {
    if (m_RawMode && !text && HandleRaw(bytes, count))
        return;
    if (m_ReplyState != ReplyNone && !text) {
        HandleLines(line, bytes, count);
        return;
    }
    if (line.length > 0) { // begun in line mode, and the mode ended before it did
        AppendInput(reinterpret_cast<const std::uint8_t*>(line.text), line.length);
        line.Clear();
    }
    for (std::uint32_t done = 0; done < count; done += TextPiece) {
        const std::uint32_t piece = std::min(count - done, TextPiece);
        AwaitRoom(2 * piece); // every byte may be a line end
        AppendInput(bytes + done, piece);
        PostText();
    }
}

// A terminal that waits for an answer takes no text, and the answer may be what comes next.
void ComPort::AwaitRoom(std::uint32_t room) {
    for (int waited = 0; waited < LongestWaitForRoom && m_InCount + room >= m_InSize; ++waited)
        if (m_AnswerAwaited || WaitForSingleObject(m_StopReaderEvent, 1) == WAIT_OBJECT_0)
            return;
}

// False, with nothing taken, when the receive has ended since the mode was looked at.
bool ComPort::HandleRaw(const std::uint8_t* bytes, std::uint32_t count) {
    const InputLock lock(*this); // also around the event: ReadByte resets it under the lock
    if (!m_RawMode)
        return false;
    InputBuffer input = lock.Buffer();
    AppendRaw(input, bytes, count);
    m_InCount = input.count;
    SetEvent(m_DataEvent);
    return true;
}

void ComPort::HandleLines(LineBuffer& line, const std::uint8_t* bytes, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint8_t byte = bytes[i];
        if (IsAnswerByte(byte))
            TakeAnswer(byte);
        else if (byte == '\n')
            CompleteLine(line);
        else if (byte != '\r')
            line.Add(static_cast<char>(byte));
    }
}

void ComPort::CompleteLine(LineBuffer& line) {
    const Reply reply = RecognizeReply(line.text, line.length);
    if (reply.state != ReplyNone) {
        if (reply.state == ReplySend)
            m_RequestedBlock = reply.block;
        m_ReplyState = reply.state;
        SetEvent(m_ReplyEvent);
        if (reply.state == ReplySend)
            SetEvent(m_CommandEvent);
    }
    if (reply.shown && line.length > 0) {
        line.text[line.length] = '\n'; // the buffer keeps a place for it
        AppendInput(reinterpret_cast<const std::uint8_t*>(line.text), line.length + 1);
        PostText();
    }
    line.Clear();
}

void ComPort::TakeAnswer(std::uint8_t byte) {
    std::uint32_t pending = AnswerPending;
    if (m_CommandAnswer.compare_exchange_strong(pending, byte))
        SetEvent(m_CommandEvent);
}

void ComPort::AppendInput(const std::uint8_t* bytes, std::uint32_t count) {
    const InputLock lock(*this);
    if (m_RawMode) // a receive has begun since the mode was looked at: the text came too late
        return;
    InputBuffer input = lock.Buffer();
    const std::uint8_t answer = AppendText(input, bytes, count);
    m_InCount = input.count;
    if (answer)
        TakeAnswer(answer);
}

// GUI thread; see ComPort.h. Raw bytes and their event are left alone: they belong to a receive.
bool ComPort::ReadText(char* buffer, std::uint32_t* count) {
    if (!RequireOpen())
        return false;
    const InputLock lock(*this);
    if (m_RawMode) {
        *count = 0;
        return true;
    }
    InputBuffer input = lock.Buffer();
    *count = TakeFront(input, reinterpret_cast<std::uint8_t*>(buffer), *count);
    m_InCount = input.count;
    return true;
}

bool ComPort::Post(NotifyKind kind) {
    const HWND window = m_NotifyWindow;
    return window &&
           PostMessageA(window, m_NotifyMessage, kind, static_cast<LPARAM>(m_Info.Status.load()));
}

// One notice that waits is enough: the drain that it starts takes everything.
void ComPort::PostText() {
    if (!(m_NotifyFlags & NotifyText) || !m_NotifyWindow || m_TextNoticeWaits.exchange(true))
        return;
    if (!Post(NotifyText))
        m_TextNoticeWaits = false;
}

void ComPort::PostTransfer() {
    if (m_NotifyFlags & NotifyTransfer)
        Post(NotifyTransfer);
}
