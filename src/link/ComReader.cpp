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
constexpr DWORD EmptyReadPause = 20; // ms, also after a read that fails

// While text streams in, the reader lets it gather instead of waking for every few bytes: for
// no longer than a person notices, and never for more than a quarter of the driver's queue.
constexpr std::uint64_t StreamGap = 100;       // ms; a longer silence ends a stream
constexpr std::uint32_t LongestGathering = 50; // ms
constexpr std::uint32_t TimerTick = 16;        // ms that an ordinary wait may overrun
constexpr std::uint32_t GatheredPart = 4;
constexpr std::uint32_t BitsOfAByte = 10; // start bit, 8 data bits, stop bit

// When the terminal is behind, the driver's queue holds what comes meanwhile, this long; only
// then is text dropped. It is passed on in pieces that fit the input buffer with room to spare.
constexpr std::uint64_t LongestWaitForRoom = 250; // ms
constexpr std::uint32_t TextPiece = 1024;

} // namespace

// Ends when the port is closed. A lost port is reported again and again until then: the window has
// to know, and a posted message may get lost.
void ComPort::RunReader() {
    SetupComm(m_Handle, DriverQueueSize, DriverQueueSize);

    Reader reader;
    int emptyReads = 0;
    DWORD pause = 0;
    while (emptyReads < EmptyReadsOfALostLine) {
        if (WaitForSingleObject(m_StopReaderEvent, pause) == WAIT_OBJECT_0)
            return;
        const ReaderStep step = ReadChunk(reader);
        if (step == ReaderStep::Stopped)
            return;
        if (step == ReaderStep::Lost)
            break;
        emptyReads = step == ReaderStep::NoBytes ? emptyReads + 1 : 0;
        pause = step == ReaderStep::Bytes ? 0 : EmptyReadPause;
    }
    SetEvent(m_ReaderRestsEvent);
    do
        Lose();
    while (WaitForSingleObject(m_StopReaderEvent, NoticeLife) == WAIT_TIMEOUT);
}

// One round: waits for a byte, then takes with it all that is queued after it.
ComPort::ReaderStep ComPort::ReadChunk(Reader& reader) {
    std::uint8_t first = 0;
    DWORD taken = 0;
    SetEvent(m_ReaderRestsEvent);
    const ReaderStep waited = ReadBytes(&first, 1, &taken);
    if (waited != ReaderStep::Bytes)
        return waited;
    ResetEvent(m_ReaderRestsEvent);
    const ModeStamp stamp = Stamp();
    const bool gathers = Gathers(reader, stamp);
    if (gathers)
        Gather();
    reader.lastChunkAt = GetTickCount64();
    if (gathers && stamp.number != m_ModeNumber) { // what is queued now may be of the new mode
        HandleChunk(&first, 1, stamp);
        return ReaderStep::Bytes;
    }
    return ReadRest(reader, first, stamp);
}

ComPort::ReaderStep ComPort::ReadRest(Reader& reader, std::uint8_t first, const ModeStamp& stamp) {
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
        HandleChunk(&first, 1, stamp);
        return ReaderStep::Bytes;
    }
    chunk[0] = first;
    ReaderStep step = ReaderStep::Bytes;
    DWORD taken = 0;
    if (status.cbInQue > 0)
        step = ReadBytes(&chunk[1], status.cbInQue, &taken);
    HandleChunk(chunk, taken + 1, stamp);
    return step == ReaderStep::NoBytes || step == ReaderStep::Failed ? ReaderStep::Bytes : step;
}

// Only text gathers: packets, reply lines and answers are waited for.
bool ComPort::Gathers(const Reader& reader, const ModeStamp& stamp) const {
    return GetTickCount64() - reader.lastChunkAt < StreamGap && stamp.mode == LineMode::Text &&
           !m_TransferRuns && !m_AnswerAwaited;
}

// The time that a quarter of the queue takes to fill. On a fast line an ordinary wait
// may overrun by more than that.
void ComPort::Gather() {
    const std::uint32_t bytesPerSecond = m_LineSpeed / BitsOfAByte + 1;
    const DWORD time =
        std::min<DWORD>(LongestGathering, DriverQueueSize / GatheredPart * 1000 / bytesPerSecond);
    LARGE_INTEGER due = {};
    due.QuadPart = -10000LL * time; // from now, in units of 100 ns
    const bool exact =
        m_GatherTimer && SetWaitableTimer(m_GatherTimer, &due, 0, nullptr, nullptr, FALSE);
    const HANDLE ends[] = {m_StopReaderEvent, m_EndGatheringEvent, m_GatherTimer};
    if (exact)
        WaitForMultipleObjects(3, ends, FALSE, INFINITE);
    else if (time > TimerTick)
        WaitForMultipleObjects(2, ends, FALSE, time - TimerTick);
}

// Waits for `count` bytes, however long that takes, unless the reader is to stop. A pending read
// is the wait: unlike a comm-event wait it costs nothing while the line is silent, whatever the
// platform, and drivers end it when the adapter is pulled.
ComPort::ReaderStep ComPort::ReadBytes(std::uint8_t* bytes, DWORD count, DWORD* taken) {
    if (!ReadFile(m_Handle, bytes, count, nullptr, &m_ReadOverlapped)) {
        if (GetLastError() != ERROR_IO_PENDING)
            return FailedRead();
        if (AwaitRead() != WAIT_OBJECT_0)
            CancelIoEx(m_Handle, &m_ReadOverlapped);
    }
    if (GetOverlappedResult(m_Handle, &m_ReadOverlapped, taken, TRUE))
        return *taken ? ReaderStep::Bytes : ReaderStep::NoBytes;
    return FailedRead();
}

// After a sleep of the PC, and with some adapters at any time, a read fails on a port that works:
// while the driver answers for it, the port is not lost.
ComPort::ReaderStep ComPort::FailedRead() {
    if (WaitForSingleObject(m_StopReaderEvent, 0) == WAIT_OBJECT_0)
        return ReaderStep::Stopped;
    return !m_Lost && Answers() ? ReaderStep::Failed : ReaderStep::Lost;
}

// Waits for the read, the stop or the loss of the port. While the line is silent, text that nobody
// fetches means that its notice got lost.
DWORD ComPort::AwaitRead() {
    const HANDLE ends[] = {m_ReadOverlapped.hEvent, m_StopReaderEvent, m_LostEvent};
    for (;;) {
        const bool textWaits = m_InCount > 0 && m_Mode != LineMode::Raw;
        const DWORD waited =
            WaitForMultipleObjects(3, ends, FALSE, textWaits ? NoticeLife : INFINITE);
        if (waited != WAIT_TIMEOUT)
            return waited;
        if (m_InCount > 0)
            PostText();
    }
}

// Raw bytes that the receive has not waited for are text.
void ComPort::HandleChunk(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp) {
    if (stamp.mode == LineMode::Lines)
        HandleLines(bytes, count, stamp);
    else if (stamp.mode == LineMode::Text || !HandleRaw(bytes, count, stamp))
        HandleText(bytes, count, stamp);
}

void ComPort::HandleText(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp) {
    for (std::uint32_t done = 0; done < count; done += TextPiece) {
        const std::uint32_t piece = std::min(count - done, TextPiece);
        AwaitRoom(2 * piece, stamp); // every byte may be a line end
        {
            const InputLock lock(*this);
            if (m_Mode == LineMode::Raw) // the text came too late
                return;
            if (stamp.number == m_ModeNumber && m_AnswerAwaited)
                WatchForAnswer(bytes + done, piece);
            AppendInput(bytes + done, piece);
        }
        PostText();
    }
}

// A transfer that begins needs what comes next.
void ComPort::AwaitRoom(std::uint32_t room, const ModeStamp& stamp) {
    const std::uint64_t deadline = GetTickCount64() + LongestWaitForRoom;
    while (m_InCount + room >= m_InSize && GetTickCount64() < deadline)
        if (stamp.number != m_ModeNumber ||
            WaitForSingleObject(m_StopReaderEvent, 1) == WAIT_OBJECT_0)
            return;
}

// False, with nothing taken, when the receive has ended since the bytes came.
bool ComPort::HandleRaw(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp) {
    const InputLock lock(*this);
    if (stamp.number != m_ModeNumber)
        return false;
    InputBuffer input = lock.Buffer();
    AppendRaw(input, bytes, count);
    m_InCount = input.count;
    SetEvent(m_DataEvent);
    return true;
}

// The whole chunk is handled at once, so that the result does not depend on how fast a
// transfer acts on its first reply. When the send has ended meanwhile, its replies are
// still kept out of the text, but change nothing.
void ComPort::HandleLines(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp) {
    bool added = false;
    AwaitRoom(std::min(2 * count, m_InSize / 2), stamp);
    {
        const InputLock lock(*this);
        const std::uint32_t before = m_InCount;
        const bool current = stamp.number == m_ModeNumber;
        if (!current && m_Mode == LineMode::Raw)
            return;
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint8_t byte = bytes[i];
            if (IsAnswerByte(byte)) {
                if (current && TakeAnswer(byte))
                    m_Line.answerAt = m_Line.length;
            } else if (byte == '\n')
                CompleteLine(current);
            else if (byte != '\r')
                m_Line.Add(static_cast<char>(byte));
        }
        if (!current && m_Mode == LineMode::Text) {
            AppendInput(reinterpret_cast<const std::uint8_t*>(m_Line.text), m_Line.length);
            m_Line.Clear();
        }
        added = m_InCount != before;
    }
    if (added)
        PostText();
}

// With m_InLock held. Text from before the transfer may be read so late that it stands in front of
// the answer to the transfer's command: the first reply begins behind it.
Reply ComPort::ReplyOfLine() {
    const Reply whole = RecognizeReply(m_Line.text, m_Line.length);
    const std::uint32_t start = m_Line.answerAt;
    const Reply rest = RecognizeReply(m_Line.text + start, m_Line.length - start);
    if (whole.state != ReplyNone || rest.state == ReplyNone)
        return whole;
    AppendInput(reinterpret_cast<const std::uint8_t*>(m_Line.text), start);
    m_Line.DropFront(start);
    return rest;
}

// With m_InLock held.
void ComPort::CompleteLine(bool current) {
    const Reply reply = ReplyOfLine();
    if (reply.state != ReplyNone && current) {
        m_DeviceReplied = true;
        if (reply.state == ReplySend) {
            m_RequestedBlock = reply.block;
            TakeAnswer(AnswerAccepted); // a device that asks for a block has taken the command
        }
        if (reply.restarted) {
            TakeAnswer(AnswerRefused); // the program that would have answered is gone
            m_DeviceRestarted = true;
        }
        m_ReplyState = reply.state;
        SetEvent(m_ReplyEvent);
    }
    if (reply.shown && m_Line.length > 0) {
        m_Line.text[m_Line.length] = '\n'; // the buffer keeps a place for it
        AppendInput(reinterpret_cast<const std::uint8_t*>(m_Line.text), m_Line.length + 1);
    }
    m_Line.Clear();
}

// With m_InLock held. A device that restarts does not answer what it was asked before.
void ComPort::WatchForAnswer(const std::uint8_t* bytes, std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        if (IsAnswerByte(bytes[i]))
            TakeAnswer(bytes[i]);
        else if (bytes[i] == '\n') {
            if (RecognizeReply(m_WatchedLine.text, m_WatchedLine.length).restarted)
                TakeAnswer(AnswerRefused);
            m_WatchedLine.Clear();
        } else if (bytes[i] != '\r')
            m_WatchedLine.Add(static_cast<char>(bytes[i]));
    }
}

// With m_InLock held. What comes first decides. False when no answer is awaited.
bool ComPort::TakeAnswer(std::uint32_t answer) {
    if (m_CommandAnswer != AnswerPending)
        return false;
    m_CommandAnswer = answer;
    SetEvent(m_CommandEvent);
    return true;
}

// With m_InLock held.
void ComPort::AppendInput(const std::uint8_t* bytes, std::uint32_t count) {
    InputBuffer input = {m_InBuffer, m_InSize, m_InCount};
    AppendText(input, bytes, count);
    m_InCount = input.count;
}

// GUI thread; see ComPort.h. Raw bytes and their event are left alone: they belong to a receive.
bool ComPort::ReadText(char* buffer, std::uint32_t* count) {
    if (!RequireOpen())
        return false;
    const InputLock lock(*this);
    if (m_Mode == LineMode::Raw) {
        *count = 0;
        return true;
    }
    InputBuffer input = lock.Buffer();
    *count = TakeFront(input, reinterpret_cast<std::uint8_t*>(buffer), *count);
    m_InCount = input.count;
    return true;
}
