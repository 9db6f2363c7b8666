#pragma once

// The serial link of one terminal: the port, its reader thread, command lines and their answers,
// files sent and received.

#include "link/LineQueue.h"
#include "link/Notices.h"
#include "link/ReceivedFile.h"
#include "link/codec/Packet.h"
#include "link/codec/ReplyLine.h"
#include "link/codec/SendCursor.h"
#include "link/codec/TerminalText.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>

// What the line carries.
enum class LineMode : std::uint32_t {
    Text,  // the console's text
    Lines, // reply lines among the text: a send runs
    Raw,   // packets: a receive runs
};

enum SendMode : std::uint32_t { SendModeFile = 0, SendModeBoot = 1, SendModeImage = 2 };

// One COM port. Operations answer nonzero for success; the reason of a failure is in LastError.
// The GUI thread opens, closes and configures; inside it run the reader thread, the line thread,
// which sends one command line after the other, and the thread of a transfer. What they share is
// guarded by m_InLock, the lines by m_QueueLock, or is a single word.
class ComPort {
public:
    static constexpr std::uint32_t DefaultImageBlockSize = 264;

    ComPort();
    ~ComPort();
    ComPort(const ComPort&) = delete;
    ComPort& operator=(const ComPort&) = delete;

    // GUI thread. Opens the device ("\\.\COM3") at 8N1 without flow control, DTR on, RTS off, and
    // starts the reader thread. `baud` in bits per second, `inSize` in bytes. A failure leaves
    // the port closed and LastError at the failing step's error; ERROR_ALREADY_INITIALIZED when
    // it is open.
    bool Open(const char* path, std::uint32_t baud, std::uint32_t inSize);

    // GUI thread only. Cancels a transfer, then stops every thread of the port and joins it before
    // anything it uses is released; ends within 3 s even when the line takes no bytes, and at once
    // when no transfer runs or the port is lost. Lines that wait end unaccepted; their results can
    // still be taken. Forgets the notification target. ERROR_INVALID_HANDLE when it is not open.
    // ERROR_TIMEOUT when the driver does not let go of it in time: then the port is given up, and
    // all that can be done with it is to take results and to destroy it.
    bool Close();

    // GUI thread. True when a Close has given it up.
    bool IsGivenUp() const { return m_GivenUp; }

    // GUI thread. Changes the speed in bits per second; a refusal leaves the old one.
    bool SetBaudRate(std::uint32_t baud);

    // Any thread. Returns when the driver has taken all the bytes, however long that takes and in
    // how many parts; Close cancels it with ERROR_OPERATION_ABORTED. A failure that is not a
    // shortage of the system's means that the port is lost.
    bool Write(const std::uint8_t* data, std::uint32_t length);

    // GUI thread, after Open. Notifications are posted as `message` with a NotifyKind in wParam,
    // if `flags` has the bit value of NotifyText or NotifyTransfer. The others are posted whatever
    // the flags. At most one text notice waits at a time: see TakeTextNotice.
    bool SetNotify(HWND window, std::uint32_t message, std::uint32_t flags);

    // Any thread, also on a closed port. Meaningful to the thread that just got a failure.
    std::uint32_t LastError() const { return m_LastError; }

    // Any thread. Copies the transfer snapshot and, if wanted, the number of the transfer that it
    // is of. No two transfers of the process have the same number.
    bool GetTransferInfo(TransferInfo* info, std::uint32_t* number = nullptr);

    // GUI thread. True once the port has stopped working and until it is closed.
    bool IsLost() const { return m_Lost; }

    // Any thread, on an open port. Counts the port as lost from now on, whatever its driver says:
    // a close waits for no device then.
    void Lose();

    // Any thread. Asks the driver; false when it does not answer for the open port any more.
    bool Answers();

    // GUI thread, on a NotifyText and before the drain: the next text posts a notice again.
    void TakeTextNotice() { m_TextNoticeWaits = false; }

    // GUI thread. Takes up to *count bytes of terminal text and sets *count to the number taken.
    bool ReadText(char* buffer, std::uint32_t* count);

    // Any thread. Puts a command line at the end of the port's queue. One after the other, the
    // lines go out with their checksum and wait for the device's answer, at most 2 s each for the
    // line to take the bytes and for the device. The result comes as NotifyAnswer, with `tag`; see
    // TakeResult. While a receive has the line, it is refused at once. False with
    // ERROR_NO_SYSTEM_RESOURCES when the queue is full.
    bool QueueCommand(const char* line, std::uint32_t tag);

    // The same for a packed list of lines, all or none: no other line comes between them.
    bool QueueCommands(const char* lines, std::uint32_t tag);

    // GUI thread, also on a closed port. The oldest result of a queued line; false when there is
    // none.
    bool TakeResult(LineResult* result);

    // GUI thread. True while a queued line has no result that was taken.
    bool AwaitsResults();

    // A worker thread. Queues a line and waits for its result: true when the device accepted it.
    bool SendCommand(const char* line);

    // GUI thread, when no transfer runs. Fast: no pause before a block that is sent, and the next
    // request of a receive as soon as the packet before it is complete. Until the port is closed.
    void SetFast(bool fast) { m_Fast = fast; }

    // GUI thread, on a port that has just been opened. The device is the one of the closed port
    // `before`, and may still be at a transfer that ended with the line.
    void TakeDeviceOf(const ComPort& before) {
        m_DeviceMayTransfer = before.m_DeviceMayTransfer.load();
    }

    // GUI thread, after a transfer. True when it failed because the device said no.
    bool IsRefused() const { return m_TransferRefused; }

    // GUI thread. Reads a local file into memory and starts to send it. On the device it goes to
    // `folder` (null: none is named) under the base name of `nameSource` (null: of `path`).
    // `imageBlockSize` in bytes, for SendModeImage. False with the reason in LastError and Status:
    // ERROR_BUSY while a transfer runs, which is left alone; ERROR_INVALID_PARAMETER for a block
    // size that a frame cannot hold; ERROR_FILENAME_EXCED_RANGE or ERROR_INVALID_NAME for a target
    // that no command line can hold; the platform's error when the file cannot be read.
    // Progress and the end come by NotifyTransfer; at the end Status is 0, ERROR_BAD_COMMAND
    // when the device refused, ERROR_CANCELLED for any other failure.
    bool StartSend(const char* folder, const char* path, const char* nameSource, std::uint32_t mode,
                   std::uint32_t imageBlockSize);

    // GUI thread. Asks a send to end, and returns at once; its last notification comes when it has.
    // A frame that is under way is finished first, while the line takes it.
    void StopSend();

    // GUI thread. Starts to receive the device's file `deviceName` into the local file `path`. One
    // that is there is replaced when the new one is complete, and only then. False with the reason
    // in LastError and Status, as StartSend. Progress and the end come by NotifyTransfer; the last
    // one comes when the line is the terminal's again. A failed or canceled receive leaves no file
    // of its own behind; one that the device refuses leaves an empty one, if it was a new one.
    bool StartReceive(const char* path, const char* deviceName);

    // GUI thread. Asks a receive to end, and returns at once. Always true.
    bool StopReceive();

    // GUI thread, when the program is about to be ended from outside: cancels a transfer and waits
    // for its end, at most 3 s, and hardly at all when the port is lost.
    void FinishTransfer();

private:
    static constexpr DWORD DriverQueueSize = 4096;
    static constexpr DWORD CommandTimeout = 2000; // ms for a command line's answer
    static constexpr DWORD ReplyTimeout = 5000;   // ms for a reply line during a send
    static constexpr DWORD FramePause = 70;       // ms before each block frame
    static constexpr DWORD PacketPause = 200;     // ms for the device to answer a request
    static constexpr DWORD PoliteStop = 2500;     // ms for a transfer to end in its own way
    static constexpr DWORD LongestClose = 3000;   // ms until a close gives the port up
    static constexpr DWORD DriverPatience = 3000; // ms for a driver to end a canceled operation
    static constexpr DWORD NoticeLife = 250;      // ms until a notice counts as lost

    class InputLock;
    enum class ReaderStep { Bytes, NoBytes, Failed, Stopped, Lost };

    // The mode that the bytes of a chunk were sent for. The reader stores what comes of
    // them only while that mode lasts.
    struct ModeStamp {
        LineMode mode;
        std::uint32_t number;
    };

    // How far a worker's line has come.
    struct LineFate {
        bool sent = false;
        bool answered = false;
    };

    // What the reader thread keeps from chunk to chunk.
    struct Reader {
        std::unique_ptr<std::uint8_t[]> chunk; // grows to the largest one
        std::uint32_t room = 0;
        std::uint64_t lastChunkAt = 0; // GetTickCount64
    };

    // The packet reader's source; see ReadPacketFrom in codec/Packet.h.
    struct PacketSource {
        ComPort& port;
        std::uint32_t m_ByteTimeout = INFINITE;
        std::uint32_t m_PacketCrc = CrcPreset;

        int ReadByte() { return port.ReadByte(*this); }
    };

    // Opening and closing (ComPort.cpp). A thread runs a member, and is a holder of the port.
    template <void (ComPort::*Body)()> static DWORD WINAPI Thread(void* port);
    bool StartThread(HANDLE& thread, LPTHREAD_START_ROUTINE body);
    static DWORD TimeUntil(std::uint64_t deadline);
    static bool EndsBy(HANDLE thread, std::uint64_t deadline);
    static void Leave(ComPort* port);
    friend void DestroyComPort(ComPort* port);
    bool StopThreads();
    void ReleaseParts();
    void Reset();
    bool OpenSteps(const char* path, std::uint32_t baud, std::uint32_t inSize);
    bool ConfigureLine(std::uint32_t baud);
    bool CreateEvents();
    bool StartThreads();
    bool Fail(DWORD error);
    bool RequireOpen();

    // Bytes out (ComWrite.cpp).
    bool WriteWithin(const std::uint8_t* data, std::uint32_t length, DWORD timeout,
                     HANDLE impatient = nullptr);
    bool WritePart(const std::uint8_t* data, std::uint32_t length, DWORD timeout, HANDLE done,
                   HANDLE impatient, DWORD& taken);
    DWORD AwaitWrite(HANDLE done, DWORD timeout, HANDLE impatient) const;
    void Withdraw(OVERLAPPED& overlapped);
    bool FailWrite(DWORD error);
    bool WriteFrame(std::uint32_t length);

    // Mode and notifications (ComMode.cpp). SwitchMode needs m_InLock.
    void SwitchMode(LineMode mode);
    ModeStamp Stamp();
    bool Post(NotifyKind kind, std::uint32_t number = 0);
    void PostText();

    // Command lines (ComCommand.cpp).
    void RunLines();
    bool QueueChain(QueuedLine* chain);
    bool TakeBack(QueuedLine* line);
    QueuedLine* NextLine();
    void FinishLine(QueuedLine* line, bool accepted);
    bool Ask(const char* line, HANDLE giveUp, bool entersRaw, LineFate& fate);
    void EndAtDevice();
    bool AskForTransfer(const char* line, HANDLE giveUp, bool entersRaw);
    bool Exchange(QueuedLine& line);
    bool SendAndAwait(QueuedLine& line, const std::uint8_t* wire, std::size_t length);
    void AwaitAnswer();
    bool TakeCommandAnswer(QueuedLine& line);
    void RefuseWaitingLines();

    // What sends and receives share (ComTransfer.cpp).
    bool BeginTransfer();
    bool FailTransfer(DWORD error);
    bool StartTransferThread(HANDLE& thread, LPTHREAD_START_ROUTINE body);
    void AwaitPredecessor();
    void ShowProgress(std::uint32_t block, std::uint32_t done, std::uint32_t errors);
    void PostTransfer();
    void EndTransfer(DWORD status);
    void CancelTransfer();
    bool StopTransfers(std::uint64_t deadline);
    bool JoinTransfer(HANDLE& thread, std::uint64_t deadline);

    // The send (SendThread.cpp).
    bool NameTarget(const char* folder, const char* path, const char* nameSource);
    bool ComposeSendCommand(char (&line)[MAX_PATH]) const;
    bool LoadSendData(const char* path);
    bool ReadWhole(HANDLE file);
    void FreeSendData();
    std::uint32_t SendBlockSize() const;
    void RunSend();
    DWORD SendFile();
    void ForgetReply();
    ReplyState WaitReplyTimed(std::uint32_t& block);
    bool WaitReply();
    bool SendBlocks();
    std::uint32_t EncodeFrame(const SendCursor& cursor);

    // The receive (ReceiveThread.cpp, ComPacket.cpp).
    void RunReceive();
    DWORD ReceiveFile();
    void EnterRawMode();
    void LeaveRawMode(bool aborted);
    bool StartUpload();
    DWORD ReceiveBlocks();
    DWORD StoreBlock(const std::uint8_t* payload, std::uint32_t length);
    DWORD EndReceive(DWORD status);
    int ReadByte(PacketSource& source);
    bool ReadPacket(std::uint32_t& type, std::uint8_t& sub, std::uint32_t& length,
                    std::uint8_t* payload, std::uint32_t max);
    bool SendControl(std::uint16_t code, std::uint16_t value);

    // The reader (ComReader.cpp). The last ones need m_InLock.
    void RunReader();
    ReaderStep ReadChunk(Reader& reader);
    ReaderStep ReadRest(Reader& reader, std::uint8_t first, const ModeStamp& stamp);
    bool Gathers(const Reader& reader, const ModeStamp& stamp) const;
    void Gather();
    ReaderStep ReadBytes(std::uint8_t* bytes, DWORD count, DWORD* taken);
    ReaderStep FailedRead();
    DWORD AwaitRead();
    void HandleChunk(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp);
    void HandleText(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp);
    void AwaitRoom(std::uint32_t room, const ModeStamp& stamp);
    bool HandleRaw(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp);
    void HandleLines(const std::uint8_t* bytes, std::uint32_t count, const ModeStamp& stamp);
    Reply ReplyOfLine();
    void CompleteLine(bool current);
    void AppendInput(const std::uint8_t* bytes, std::uint32_t count);
    void WatchForAnswer(const std::uint8_t* bytes, std::uint32_t count);
    bool TakeAnswer(std::uint32_t answer);

    HANDLE m_Handle = nullptr;
    std::atomic<std::uint32_t> m_LastError{0};
    HANDLE m_ReaderThread = nullptr;
    HANDLE m_SendThread = nullptr;
    HANDLE m_ReplyEvent = nullptr;
    std::uint32_t m_ReplyState = ReplyNone;
    std::uint32_t m_RequestedBlock = 0;
    std::atomic<bool> m_DeviceReplied{false};   // since the send forgot earlier replies
    std::atomic<bool> m_DeviceRestarted{false}; // since then
    HANDLE m_CancelSendEvent = nullptr;
    TransferInfo m_Info = {ERROR_INVALID_HANDLE, 0, 0, 0, 0};
    std::uint8_t* m_InBuffer = nullptr;
    std::uint32_t m_InSize = 0;
    std::atomic<std::uint32_t> m_InCount{0};
    CRITICAL_SECTION m_InLock;
    std::uint32_t m_NotifyMessage = 0;
    std::atomic<HWND> m_NotifyWindow{nullptr};
    std::uint32_t m_NotifyFlags = 0;
    OVERLAPPED m_ReadOverlapped = {};
    std::uint8_t* m_SendData = nullptr;
    std::uint32_t m_SendSize = 0;
    char m_SendTarget[MAX_PATH] = {};
    std::uint32_t m_SendMode = SendModeFile;
    HANDLE m_StopReaderEvent = nullptr;
    std::uint32_t m_CommandAnswer = AnswerNone;
    HANDLE m_CommandEvent = nullptr;
    std::uint32_t m_ImageBlockSize = DefaultImageBlockSize;
    HANDLE m_DataEvent = nullptr;
    ReceivedFile m_ReceivedFile;
    HANDLE m_ReceiveThread = nullptr;
    std::atomic<std::uint32_t> m_ReceiveAbort{0};
    char m_ReceivePath[MAX_PATH] = {};
    char m_ReceiveName[MAX_PATH] = {};

    // What the line carries; every change of mode increments its number. Written under m_InLock
    // together with the reply state, the block and their events.
    std::atomic<LineMode> m_Mode{LineMode::Text};
    std::atomic<std::uint32_t> m_ModeNumber{0};
    LineBuffer m_Line;        // collected in line mode
    LineBuffer m_WatchedLine; // of the text, while an answer is awaited

    LineQueue m_Queue; // guarded by m_QueueLock
    CRITICAL_SECTION m_QueueLock;
    HANDLE m_LineThread = nullptr;
    HANDLE m_LineEvent = nullptr;         // auto-reset; set: a line waits
    HANDLE m_StopLinesEvent = nullptr;    // manual-reset; ends the line thread
    HANDLE m_RefuseLinesEvent = nullptr;  // manual-reset; set: only a worker's lines go out
    std::atomic<bool> m_RawAhead{false};  // from the answer to a receive's line to its end
    std::uint32_t m_TransferNumber = 0;   // guarded by m_InLock
    HANDLE m_Predecessor = nullptr;       // thread of the transfer before, which a new one joins
    std::uint8_t* m_SendFrame = nullptr;  // room for one frame; lives with m_SendData
    HANDLE m_AbortWaitsEvent = nullptr;   // manual-reset; set: nothing waits for the line
    HANDLE m_EndGatheringEvent = nullptr; // auto-reset; set: the reader waits for no more text
    HANDLE m_ReaderRestsEvent = nullptr;  // manual-reset; set: the reader holds no bytes
    std::atomic<std::uint32_t> m_LineSpeed{0}; // bits per second
    std::atomic<bool> m_TransferRuns{false};
    std::atomic<bool> m_TransferRefused{false};
    std::atomic<bool> m_DeviceMayTransfer{false}; // what ended its last one did not reach it
    std::atomic<bool> m_Fast{false};
    std::atomic<bool> m_AnswerAwaited{false};
    std::atomic<bool> m_TextNoticeWaits{false};
    std::atomic<std::uint32_t> m_TextNoticeAt{0}; // GetTickCount
    std::atomic<bool> m_Lost{false};
    HANDLE m_LostEvent = nullptr;   // manual-reset; set with m_Lost
    HANDLE m_GatherTimer = nullptr; // ends a wait that gathers text

    std::atomic<int> m_Holders{1};      // its owner and its threads; the last one frees it
    std::atomic<bool> m_GivenUp{false}; // written with m_QueueLock held
};

template <void (ComPort::*Body)()> DWORD WINAPI ComPort::Thread(void* port) {
    (static_cast<ComPort*>(port)->*Body)();
    Leave(static_cast<ComPort*>(port));
    return 0;
}

// A new, closed port; null when memory is exhausted.
ComPort* CreateComPort();

// Closes the port when it is open, and frees it; one that is given up is freed when its driver lets
// go. Null is allowed.
void DestroyComPort(ComPort* port);
