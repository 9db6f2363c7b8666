// Files to the device: one command line announces the file, block frames carry it, each after a
// reply line of the device.

#include "link/ComPort.h"

#include "base/Text.h"
#include "link/InputLock.h"
#include "link/KeepAwake.h"
#include "link/codec/BlockFrame.h"
#include "link/codec/PathName.h"

#include <limits>
#include <new>

namespace {

constexpr std::uint32_t LargestFile = std::numeric_limits<std::int32_t>::max();

} // namespace

bool ComPort::StartSend(const char* folder, const char* path, const char* nameSource,
                        std::uint32_t mode, std::uint32_t imageBlockSize) {
    if (!BeginTransfer())
        return false;
    const bool image = mode == SendModeImage;
    if (mode > SendModeImage ||
        (image && (imageBlockSize == 0 || imageBlockSize > LargestBlockSize)))
        return FailTransfer(ERROR_INVALID_PARAMETER);
    m_SendMode = mode;
    if (image)
        m_ImageBlockSize = imageBlockSize;

    if (LoadSendData(path) && NameTarget(folder, path, nameSource)) {
        {
            const InputLock lock(*this);
            m_Info.Size = m_SendSize;
        }
        if (StartTransferThread(m_SendThread, &Thread<&ComPort::RunSend>))
            return true;
    }
    const DWORD error = GetLastError();
    FreeSendData();
    return FailTransfer(error);
}

// A target is refused before anything is written when it would be cut in its field or in its
// command line, or end that line early. The file is loaded: its size is part of the line.
bool ComPort::NameTarget(const char* folder, const char* path, const char* nameSource) {
    const char* const name = BaseName(nameSource ? nameSource : path);
    const bool fits =
        folder ? FormatText(m_SendTarget, "/%s/%s", folder, name) : CopyText(m_SendTarget, name);
    char command[MAX_PATH];
    SetLastError(ERROR_FILENAME_EXCED_RANGE);
    if (!fits || !ComposeSendCommand(command))
        return false;
    SetLastError(ERROR_INVALID_NAME);
    return !HasControlCharacter(m_SendTarget);
}

bool ComPort::ComposeSendCommand(char (&line)[MAX_PATH]) const {
    if (m_SendMode == SendModeImage)
        return FormatText(line, "imgrcv %u %u\r\n", m_ImageBlockSize,
                          m_SendSize / m_ImageBlockSize);
    return FormatText(line, "rcv %s %u\r\n", m_SendTarget, m_SendSize);
}

bool ComPort::LoadSendData(const char* path) {
    const HANDLE handle = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    const bool read = ReadWhole(handle);
    const DWORD error = GetLastError();
    CloseHandle(handle);
    SetLastError(error);
    return read;
}

// False with the platform's error number; what was made so far is left for FreeSendData.
bool ComPort::ReadWhole(HANDLE file) {
    LARGE_INTEGER size = {};
    if (!GetFileSizeEx(file, &size))
        return false;
    if (size.QuadPart > LargestFile) {
        SetLastError(ERROR_FILE_TOO_LARGE);
        return false;
    }
    m_SendSize = static_cast<std::uint32_t>(size.QuadPart);
    m_SendData = new (std::nothrow) std::uint8_t[m_SendSize + 1]; // an empty file is data, too
    m_SendFrame = new (std::nothrow) std::uint8_t[SendBlockSize() + BlockFrameOverhead];
    if (!m_SendData || !m_SendFrame) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
    DWORD read = 0;
    if (!ReadFile(file, m_SendData, m_SendSize, &read, nullptr))
        return false;
    SetLastError(ERROR_HANDLE_EOF); // only when another program has cut it meanwhile
    return read == m_SendSize;
}

void ComPort::FreeSendData() {
    delete[] m_SendData;
    delete[] m_SendFrame;
    m_SendData = nullptr;
    m_SendFrame = nullptr;
    m_SendSize = 0;
}

std::uint32_t ComPort::SendBlockSize() const {
    return m_SendMode == SendModeImage ? m_ImageBlockSize : FileBlockSize;
}

void ComPort::RunSend() {
    const KeepAwake awake;
    AwaitPredecessor();
    {
        const InputLock lock(*this);
        SwitchMode(LineMode::Lines); // from here on the reader looks for reply lines
    }
    const DWORD status = SendFile();
    {
        const InputLock lock(*this);
        SwitchMode(LineMode::Text);
    }
    if (m_InCount > 0) // also an unfinished line
        PostText();
    FreeSendData();
    EndTransfer(status);
}

DWORD ComPort::SendFile() {
    char command[MAX_PATH];
    ComposeSendCommand(command);
    if (m_SendMode == SendModeBoot && !WaitReply())
        return ERROR_CANCELLED;
    ForgetReply();
    if (!AskForTransfer(command, m_CancelSendEvent, false))
        return ERROR_BAD_COMMAND;
    if (SendBlocks())
        return ERROR_SUCCESS;
    EndAtDevice();
    return ERROR_CANCELLED;
}

// Replies so far do not answer the next frame.
void ComPort::ForgetReply() {
    const InputLock lock(*this);
    m_ReplyState = ReplyCancel;
    m_DeviceReplied = false;
    m_DeviceRestarted = false;
    ResetEvent(m_ReplyEvent);
}

// One frame for each reply. False when the send is canceled or fails.
bool ComPort::SendBlocks() {
    SendCursor cursor;
    cursor.size = m_SendSize;
    cursor.blockSize = SendBlockSize();
    std::uint32_t frameSize = 0;
    std::uint32_t block = 0; // asked for last
    for (;;) {
        const ReplyState reply = WaitReplyTimed(block);
        const SendStep step = TakeReply(cursor, reply, block);
        if (step == SendStep::Nothing)
            continue;
        if (step == SendStep::Cancel)
            return false;
        if (step == SendStep::Finish && reply == ReplyAck && m_DeviceRestarted)
            return false; // its banner is no reply to the last block
        if (step == SendStep::Finish) {
            ShowProgress(block, cursor.offset, cursor.errors);
            return true;
        }
        if (step == SendStep::NewFrame)
            frameSize = EncodeFrame(cursor);
        if (!m_Fast)
            Sleep(FramePause);
        ResetEvent(m_ReplyEvent);   // an early reply is no answer to the frame
        if (!WriteFrame(frameSize)) // nor does the device reply to half of one
            return false;
        FrameWritten(cursor, step);
        ShowProgress(block, cursor.offset, cursor.errors);
        PostTransfer();
    }
}

std::uint32_t ComPort::EncodeFrame(const SendCursor& cursor) {
    return static_cast<std::uint32_t>(EncodeBlockFrame(cursor.block, m_SendData + cursor.offset,
                                                       static_cast<std::uint16_t>(cursor.length),
                                                       m_SendFrame));
}

// Waits for a reply line; false when the send is canceled first.
bool ComPort::WaitReply() {
    const HANDLE either[] = {m_CancelSendEvent, m_ReplyEvent};
    return WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
}

// The next reply and the block that the device asked for last. ReplyCancel when the send is
// canceled, or no reply comes within ReplyTimeout.
ReplyState ComPort::WaitReplyTimed(std::uint32_t& block) {
    const HANDLE either[] = {m_CancelSendEvent, m_ReplyEvent};
    const bool replied =
        WaitForMultipleObjects(2, either, FALSE, ReplyTimeout) == WAIT_OBJECT_0 + 1;
    const InputLock lock(*this);
    if (!replied)
        m_ReplyState = ReplyCancel;
    block = m_RequestedBlock;
    return static_cast<ReplyState>(m_ReplyState);
}
