// Files from the device: a command line asks for the file, control packets ask for its blocks,
// packets in raw mode bring them.

#include "link/ComPort.h"

#include "base/Text.h"
#include "link/InputLock.h"
#include "link/KeepAwake.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {

constexpr std::uint32_t MostFailures = 10; // reads in a row, of the start or of one block
constexpr char UploadCommand[] = "upl %s";
constexpr DWORD LongestRest = 300; // ms until the reader has put away the text that came before

} // namespace

bool ComPort::StartReceive(const char* path, const char* deviceName) {
    if (!BeginTransfer())
        return false;
    if (!CopyText(m_ReceivePath, path) || !CopyText(m_ReceiveName, deviceName))
        return FailTransfer(ERROR_FILENAME_EXCED_RANGE);
    if (HasControlCharacter(m_ReceiveName))
        return FailTransfer(ERROR_INVALID_NAME);
    return StartTransferThread(m_ReceiveThread, &Thread<&ComPort::RunReceive>) ||
           FailTransfer(GetLastError());
}

void ComPort::RunReceive() {
    const KeepAwake awake;
    AwaitPredecessor();
    const DWORD status = EndReceive(ReceiveFile());
    m_RawAhead = false; // after the last packet
    EndTransfer(status);
}

// Returns the status. m_ReceiveAbort set: the local file is deleted, and the device stopped.
DWORD ComPort::ReceiveFile() {
    const DWORD error = m_ReceivedFile.Create(m_ReceivePath);
    if (error != ERROR_SUCCESS) {
        m_ReceiveAbort = 1;
        return error;
    }

    char command[sizeof(UploadCommand) + sizeof(m_ReceiveName)];
    FormatText(command, UploadCommand, m_ReceiveName);
    if (!AskForTransfer(command, m_DataEvent, true)) // a cancel sets it
        return ERROR_CANCELLED;                      // an empty file stays, if it replaces none
    Sleep(PacketPause);
    if (m_ReceiveAbort)
        return ERROR_CANCELLED;
    EnterRawMode();
    if (!StartUpload()) {
        m_ReceiveAbort = 1;
        return ERROR_CANCELLED;
    }
    return ReceiveBlocks();
}

// The terminal text that nobody has fetched is dropped; every byte from here on is a packet's. The
// reader gets the time to put away what it holds.
void ComPort::EnterRawMode() {
    WaitForSingleObject(m_ReaderRestsEvent, LongestRest);
    const InputLock lock(*this);
    m_InCount = 0;
    SwitchMode(LineMode::Raw);
}

// Bytes after a complete file are text again; the remains of an aborted one are not.
void ComPort::LeaveRawMode(bool aborted) {
    {
        const InputLock lock(*this);
        if (m_Mode == LineMode::Raw) {
            const std::uint32_t count = m_InCount;
            const std::unique_ptr<std::uint8_t[]> rest(new (std::nothrow) std::uint8_t[count + 1]);
            if (rest)
                std::copy_n(m_InBuffer, count, rest.get());
            m_InCount = 0;
            SwitchMode(LineMode::Text);
            if (rest && !aborted)
                AppendInput(rest.get(), count);
        }
    }
    if (m_InCount > 0)
        PostText();
}

// False when the device refuses, does not answer, or the receive is canceled.
bool ComPort::StartUpload() {
    std::uint32_t type = 0;
    std::uint8_t sub = 0;
    std::uint32_t length = 0;
    std::uint8_t payload[LargestPayload] = {};
    std::uint32_t failures = 0;
    while (failures < MostFailures && !m_ReceiveAbort) {
        SendControl(CtlStart, 0);
        if (!ReadPacket(type, sub, length, payload, sizeof(payload)))
            ++failures;
        // Also after a failed read: a packet that lost only its end still shows what it is.
        const std::uint8_t code = ControlCodeOf(type, length, payload);
        if (code == CtlReady)
            return failures < MostFailures;
        if (code == CtlEnd) {
            m_TransferRefused = true;
            return false;
        }
    }
    return false;
}

DWORD ComPort::ReceiveBlocks() {
    std::uint32_t block = 0;
    std::uint32_t total = 0;
    std::uint32_t errors = 0;
    std::uint32_t retries = 0; // of the block that is wanted
    std::uint32_t type = 0;
    std::uint8_t sub = 0;
    std::uint32_t length = 0;
    std::uint8_t payload[LargestPayload] = {};
    while (!m_ReceiveAbort) {
        const auto wanted = static_cast<std::uint16_t>(block);
        SendControl(CtlNext, wanted);
        if (!m_Fast)
            Sleep(PacketPause);
        if (!ReadPacket(type, sub, length, payload, sizeof(payload))) {
            ++retries;
            ShowProgress(wanted, total, errors + retries);
            PostTransfer();
            if (retries == MostFailures)
                m_ReceiveAbort = 1;
            continue;
        }
        errors += retries;
        retries = 0;
        if (length == 0) {
            SendControl(CtlEnd, wanted);
            return ERROR_SUCCESS;
        }
        if (ControlCodeOf(type, length, payload) == CtlEnd)
            return ERROR_SUCCESS;
        if (type == PacketData && sub != static_cast<std::uint8_t>(block))
            ++errors;
        else if (type == PacketData) {
            const DWORD error = StoreBlock(payload, length);
            if (error != ERROR_SUCCESS)
                return error;
            ++block;
            total += length;
        }
        ShowProgress(static_cast<std::uint16_t>(block), total, errors);
        PostTransfer();
    }
    return ERROR_CANCELLED;
}

// Returns 0 or the platform's error; a full disk ends the receive.
DWORD ComPort::StoreBlock(const std::uint8_t* payload, std::uint32_t length) {
    const DWORD error = m_ReceivedFile.Append(payload, length);
    if (error != ERROR_SUCCESS)
        m_ReceiveAbort = 1;
    return error;
}

// Puts the line back and settles the local file. Returns the final status: what is deleted is
// never reported as received.
DWORD ComPort::EndReceive(DWORD status) {
    const bool aborted = m_ReceiveAbort != 0;
    if (aborted || (status != ERROR_SUCCESS && m_ReceivedFile.Replaces())) {
        m_ReceivedFile.Discard();
    } else {
        const DWORD error = m_ReceivedFile.Keep();
        status = status == ERROR_SUCCESS ? error : status;
    }
    LeaveRawMode(aborted);
    if (!aborted)
        return status;
    SendControl(CtlEnd, 0);
    if (m_Lost && m_RawAhead)
        m_DeviceMayTransfer = true; // it cannot know of the end
    return status == ERROR_SUCCESS ? DWORD{ERROR_CANCELLED} : status;
}
