// Command lines: the text with its checksum out, the device's one answer byte back.

#include "link/ComPort.h"

#include "link/InputLock.h"
#include "link/codec/CommandSum.h"

#include <cstring>
#include <memory>
#include <new>

bool ComPort::SendCommand(const char* line) {
    if (!RequireOpen())
        return false;
    const std::size_t room = CommandLineRoom(std::strlen(line));
    const std::unique_ptr<std::uint8_t[]> wire(new (std::nothrow) std::uint8_t[room]);
    if (!wire)
        return Fail(ERROR_NOT_ENOUGH_MEMORY);
    // A line that the user types waits for one of a transfer, and the other way round.
    const SectionLock lock(m_CommandLock);
    const std::size_t length = EncodeCommandLine(line, m_CommandSum, wire.get());

    m_AnswerAwaited = true;
    SetEvent(m_EndGatheringEvent); // an answer must not be read together with the reply behind it
    m_CommandAnswer = AnswerPending;
    ResetEvent(m_CommandEvent);
    // A line that takes no bytes brings no answer either: no second wait for that.
    const bool written =
        WriteWithin(wire.get(), static_cast<std::uint32_t>(length), CommandTimeout);

    if (wire[0] == '\n')
        m_CommandAnswer = AnswerAccepted; // the device does not answer an empty line
    else if (written) {
        const HANDLE either[] = {m_CommandEvent, m_AbortWaitsEvent};
        WaitForMultipleObjects(2, either, FALSE, CommandTimeout);
    }
    m_AnswerAwaited = false;
    return m_CommandAnswer == AnswerAccepted || m_ReplyState == ReplySend;
}
