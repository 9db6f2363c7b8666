// What the line carries, and the notices to the window.

#include "link/ComPort.h"

#include "link/InputLock.h"

static_assert(sizeof(LPARAM) == 8, "a transfer's number goes in the high half");

// With m_InLock held. Reply state, block and events are those of the new mode alone; the text that
// gathers comes over at once. The remainder of a line becomes text with the mode that it began in.
void ComPort::SwitchMode(LineMode mode) {
    if (m_Line.length > 0 && m_Mode == LineMode::Lines && mode == LineMode::Text)
        AppendInput(reinterpret_cast<const std::uint8_t*>(m_Line.text), m_Line.length);
    m_Line.Clear();
    m_WatchedLine.Clear();
    m_Mode = mode;
    ++m_ModeNumber;
    m_ReplyState = mode == LineMode::Lines ? ReplyCancel : ReplyNone;
    ResetEvent(m_ReplyEvent);
    ResetEvent(m_DataEvent);
    SetEvent(m_EndGatheringEvent);
}

ComPort::ModeStamp ComPort::Stamp() {
    const InputLock lock(*this);
    return {m_Mode, m_ModeNumber};
}

bool ComPort::Post(NotifyKind kind, std::uint32_t number) {
    const HWND window = m_NotifyWindow;
    if (!window)
        return false;
    DWORD status = 0;
    {
        const InputLock lock(*this);
        status = m_Info.Status;
    }
    return PostMessageA(window, m_NotifyMessage, kind,
                        static_cast<LPARAM>(std::uint64_t{number} << 32 | status)) != 0;
}

// One notice that waits is enough: the drain that it starts takes everything. One that has waited
// for long may have got lost on its way.
void ComPort::PostText() {
    if (!(m_NotifyFlags & NotifyText) || !m_NotifyWindow)
        return;
    const std::uint32_t now = GetTickCount();
    if (m_TextNoticeWaits.exchange(true) && now - m_TextNoticeAt < NoticeLife)
        return;
    m_TextNoticeAt = now;
    if (!Post(NotifyText))
        m_TextNoticeWaits = false;
}

// The reader reports it until the window has heard, unless the driver holds the reader itself.
void ComPort::Lose() {
    m_Lost = true;
    SetEvent(m_LostEvent);
    Post(NotifyLost);
}
