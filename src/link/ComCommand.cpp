// Command lines: one queue for each port. Its thread sends one line after another: the text with
// its checksum goes out, the device's one answer byte comes back.

#include "link/ComPort.h"

#include "base/Owned.h"
#include "link/InputLock.h"
#include "link/codec/CommandSum.h"

#include <cstring>
#include <memory>
#include <new>

bool ComPort::QueueCommand(const char* line, std::uint32_t tag) {
    return QueueChain(LineQueue::Make(line, std::strlen(line), tag));
}

bool ComPort::QueueCommands(const char* lines, std::uint32_t tag) {
    QueuedLine* first = nullptr;
    QueuedLine** end = &first;
    for (const char* line = lines; *line; line += std::strlen(line) + 1) {
        *end = LineQueue::Make(line, std::strlen(line), tag);
        if (!*end) {
            LineQueue::Free(first);
            return Fail(ERROR_NOT_ENOUGH_MEMORY);
        }
        end = &(*end)->next;
    }
    return !first || QueueChain(first);
}

// Takes ownership of the chain, even when it is refused.
bool ComPort::QueueChain(QueuedLine* chain) {
    DWORD error = ERROR_SUCCESS;
    if (!chain)
        error = ERROR_NOT_ENOUGH_MEMORY;
    else if (!RequireOpen())
        error = ERROR_INVALID_HANDLE;
    else {
        const SectionLock lock(m_QueueLock);
        if (m_GivenUp)
            error = ERROR_INVALID_HANDLE;
        else if (!m_Queue.Add(chain))
            error = ERROR_NO_SYSTEM_RESOURCES;
    }
    if (error != ERROR_SUCCESS) {
        LineQueue::Free(chain);
        return Fail(error);
    }
    SetEvent(m_LineEvent);
    return true;
}

bool ComPort::TakeResult(LineResult* result) {
    const SectionLock lock(m_QueueLock);
    return m_Queue.TakeResult(result);
}

bool ComPort::AwaitsResults() {
    const SectionLock lock(m_QueueLock);
    return m_Queue.AwaitsResults();
}

bool ComPort::SendCommand(const char* line) {
    LineFate fate;
    return Ask(line, nullptr, false, fate);
}

// SendCommand for a line that is taken back when the event `giveUp` is set before its turn.
// `entersRaw`: once it is accepted, no line but a worker's goes out any more.
bool ComPort::Ask(const char* line, HANDLE giveUp, bool entersRaw, LineFate& fate) {
    const OwnedHandle done(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    QueuedLine* const queued = done ? LineQueue::Make(line, std::strlen(line), 0) : nullptr;
    if (!queued)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    queued->done = done.get();
    queued->entersRaw = entersRaw;
    if (!QueueChain(queued))
        return false;
    const HANDLE either[] = {done.get(), giveUp};
    if (WaitForMultipleObjects(giveUp ? 2 : 1, either, FALSE, INFINITE) != WAIT_OBJECT_0 &&
        !TakeBack(queued))
        WaitForSingleObject(done.get(), INFINITE);
    const bool accepted = queued->accepted;
    fate = {queued->sent, queued->answered};
    LineQueue::Free(queued);
    return accepted;
}

// For the first line of a transfer. A device that is still at an earlier one would take the line
// for a part of that file, and go on asking as if it had accepted it.
bool ComPort::AskForTransfer(const char* line, HANDLE giveUp, bool entersRaw) {
    if (m_DeviceMayTransfer)
        EndAtDevice();
    LineFate fate;
    const bool accepted = Ask(line, giveUp, entersRaw, fate);
    m_TransferRefused = fate.answered && !accepted;
    if (fate.sent)
        m_DeviceMayTransfer = !fate.answered && m_DeviceReplied;
    return accepted;
}

// Ends the device's part of a transfer, if it has not given up already. A device that cannot be
// reached goes on waiting.
void ComPort::EndAtDevice() {
    LineFate fate;
    Ask("c\n", nullptr, false, fate);
    if (fate.sent || m_DeviceReplied)
        m_DeviceMayTransfer = !fate.answered && m_DeviceReplied;
}

bool ComPort::TakeBack(QueuedLine* line) {
    const SectionLock lock(m_QueueLock);
    return m_Queue.Remove(line);
}

void ComPort::RunLines() {
    const HANDLE either[] = {m_StopLinesEvent, m_LineEvent};
    while (WaitForMultipleObjects(2, either, FALSE, INFINITE) != WAIT_OBJECT_0)
        while (QueuedLine* const line = NextLine())
            FinishLine(line, Exchange(*line));
}

QueuedLine* ComPort::NextLine() {
    const SectionLock lock(m_QueueLock);
    return m_Queue.TakeFirst();
}

void ComPort::FinishLine(QueuedLine* line, bool accepted) {
    const bool worker = line->Worker();
    if (line->entersRaw && accepted)
        m_RawAhead = true;
    {
        const SectionLock lock(m_QueueLock);
        m_Queue.Finish(line, accepted);
    }
    if (!worker)
        Post(NotifyAnswer);
}

// When the line thread has ended.
void ComPort::RefuseWaitingLines() {
    const SectionLock lock(m_QueueLock);
    while (QueuedLine* const line = m_Queue.TakeFirst())
        m_Queue.Finish(line, false);
}

// A line of the terminal that meets packets would be read as one of them.
bool ComPort::Exchange(QueuedLine& line) {
    line.answered = !line.Worker() && (m_RawAhead || WaitForSingleObject(m_RefuseLinesEvent, 0) ==
                                                         WAIT_OBJECT_0); // by the port itself
    if (line.answered || m_Lost)
        return false;
    const std::unique_ptr<std::uint8_t[]> wire(new (std::nothrow)
                                                   std::uint8_t[CommandLineRoom(line.length)]);
    if (!wire)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    std::uint32_t sum = 0; // the line's own, so ports never disturb each other
    const std::size_t length = EncodeCommandLine(line.Text(), sum, wire.get());
    return SendAndAwait(line, wire.get(), length);
}

// A line that takes no bytes brings no answer either: no second wait for that. The device does not
// answer an empty line.
bool ComPort::SendAndAwait(QueuedLine& line, const std::uint8_t* wire, std::size_t length) {
    AwaitAnswer();
    const bool written = WriteWithin(wire, static_cast<std::uint32_t>(length), CommandTimeout);
    line.sent = written;
    if (wire[0] == '\n') {
        TakeCommandAnswer(line);
        return true;
    }
    if (written) {
        const HANDLE ends[] = {m_CommandEvent, m_AbortWaitsEvent, m_RefuseLinesEvent};
        WaitForMultipleObjects(line.Worker() ? 2 : 3, ends, FALSE, CommandTimeout);
    }
    return TakeCommandAnswer(line);
}

// From here on an answer byte is the line's. It must not be read together with the reply after
// it, so text no longer gathers.
void ComPort::AwaitAnswer() {
    {
        const InputLock lock(*this);
        m_WatchedLine.Clear();
        m_CommandAnswer = AnswerPending;
        m_AnswerAwaited = true;
        ResetEvent(m_CommandEvent);
    }
    SetEvent(m_EndGatheringEvent);
}

// Ends the wait. A later answer is ignored.
bool ComPort::TakeCommandAnswer(QueuedLine& line) {
    const InputLock lock(*this);
    const bool accepted = m_CommandAnswer == AnswerAccepted;
    line.answered = m_CommandAnswer != AnswerPending;
    m_CommandAnswer = AnswerNone;
    m_AnswerAwaited = false;
    if (accepted)
        m_DeviceMayTransfer = false; // its console answers
    return accepted;
}
