// Files to the device: one command line announces the file, block frames carry it, each after a
// reply line of the device.

#include "link/ComPort.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "link/codec/BlockFrame.h"
#include "link/codec/PackedList.h"

#include <limits>
#include <new>

namespace {

constexpr std::uint32_t LargestFile = std::numeric_limits<std::int32_t>::max();

DWORD WINAPI SendThread(void* port) {
    static_cast<ComPort*>(port)->RunSend();
    return 0;
}

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
    m_RequestedBlock = 0;
    ResetEvent(m_CancelSendEvent);
    ResetEvent(m_ReplyEvent);

    if (!NameTarget(folder, path, nameSource) || !LoadSendData(path))
        return FailTransfer(GetLastError());
    m_Info.Size = m_SendSize;
    if (StartTransferThread(m_SendThread, &SendThread))
        return true;
    const DWORD error = GetLastError();
    FreeSendData();
    return FailTransfer(error);
}

// A target is refused before anything is read or written when it would be cut in its field or in
// its command line, or end that line early.
bool ComPort::NameTarget(const char* folder, const char* path, const char* nameSource) {
    const char* const name = BaseName(nameSource ? nameSource : path);
    const bool fits =
        folder ? FormatText(m_SendTarget, "/%s/%s", folder, name) : CopyText(m_SendTarget, name);
    if (HasControlCharacter(m_SendTarget)) {
        SetLastError(ERROR_INVALID_NAME);
        return false;
    }
    char command[MAX_PATH];
    m_SendSize = LargestFile; // the longest number that the line may have to hold
    const bool composed = fits && ComposeSendCommand(command);
    m_SendSize = 0;
    if (!composed)
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
    return composed;
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
    const OwnedHandle file(handle);
    if (ReadWhole(file.get()))
        return true;
    const DWORD error = GetLastError();
    FreeSendData();
    SetLastError(error);
    return false;
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
    m_ReplyState = ReplyCancel; // from here on the reader looks for reply lines
    SetEvent(m_EndGatheringEvent);
    const DWORD status = SendFile();
    m_ReplyState = ReplyNone;
    FreeSendData();
    EndTransfer(status);
}

DWORD ComPort::SendFile() {
    char command[MAX_PATH];
    ComposeSendCommand(command);
    if (m_SendMode == SendModeBoot && !WaitReply())
        return ERROR_CANCELLED;
    m_ReplyState = ReplyCancel;
    if (!SendCommand(command))
        return ERROR_BAD_COMMAND;
    if (SendBlocks())
        return ERROR_SUCCESS;
    SendCommand("c\n"); // the device may have given up already
    return ERROR_CANCELLED;
}

// One frame for each reply. False when the send is canceled or fails.
bool ComPort::SendBlocks() {
    SendCursor cursor;
    cursor.size = m_SendSize;
    cursor.blockSize = SendBlockSize();
    std::uint32_t frameSize = 0;
    for (;;) {
        WaitForSingleObject(m_ReplyEvent, 0); // an early reply is no answer to the last frame
        const bool replied = WaitReplyTimed();
        if (!replied)
            m_ReplyState = ReplyCancel;
        const auto reply = replied ? static_cast<ReplyState>(m_ReplyState.load()) : ReplyCancel;
        const SendStep step = TakeReply(cursor, reply, m_RequestedBlock);
        if (step == SendStep::Nothing)
            continue;
        if (step == SendStep::Cancel)
            return false;
        if (step == SendStep::Finish) {
            ShowProgress(m_RequestedBlock, cursor.offset, cursor.errors);
            return true;
        }
        if (step == SendStep::NewFrame)
            frameSize = EncodeFrame(cursor);
        Sleep(FramePause);
        Write(m_SendFrame, frameSize);
        FrameWritten(cursor, step);
        ShowProgress(m_RequestedBlock, cursor.offset, cursor.errors);
        PostTransfer();
    }
}

std::uint32_t ComPort::EncodeFrame(const SendCursor& cursor) {
    return static_cast<std::uint32_t>(EncodeBlockFrame(cursor.block, m_SendData + cursor.offset,
                                                       static_cast<std::uint16_t>(cursor.length),
                                                       m_SendFrame));
}

bool ComPort::WaitReply() {
    const HANDLE either[] = {m_CancelSendEvent, m_ReplyEvent};
    return WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0 + 1;
}

bool ComPort::WaitReplyTimed() {
    const HANDLE either[] = {m_CancelSendEvent, m_ReplyEvent};
    return WaitForMultipleObjects(2, either, FALSE, ReplyTimeout) == WAIT_OBJECT_0 + 1;
}
