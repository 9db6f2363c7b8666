#pragma once

// The serial link of one terminal: the port, its reader thread, command lines and their answers,
// files sent and received.

#include "link/codec/Packet.h"
#include "link/codec/ReplyLine.h"
#include "link/codec/SendCursor.h"
#include "link/codec/TerminalText.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <memory>

// A snapshot of a transfer. Status is a Win32 error number: ERROR_IO_PENDING while it runs, 0 at
// its end, another number when it failed. Sizes are in bytes.
struct TransferInfo {
    std::uint32_t Status;
    std::uint32_t Size;
    std::uint32_t Block;
    std::uint32_t Done;
    std::uint32_t Errors;
};

// What a notification of the link tells, in wParam. lParam is the transfer's Status.
enum NotifyKind : std::uint32_t {
    NotifyText = 1,     // device text waits in the input buffer
    NotifyTransfer = 2, // a transfer progressed or ended
    NotifyLost = 3,     // the port stopped delivering
};

enum SendMode : std::uint32_t { SendModeFile = 0, SendModeBoot = 1, SendModeImage = 2 };

// One COM port. Operations answer nonzero for success; the reason of a failure is in LastError.
// The GUI thread opens, closes and configures; the reader thread and the transfer threads run
// inside. Everything that threads share is one 32-bit word or lies behind m_InLock. The fields
// are the port's own: others go through the operations.
class ComPort {
public:
    static constexpr std::uint32_t DefaultImageBlockSize = 264;
    static constexpr DWORD DriverQueueSize = 4096;
    static constexpr DWORD CommandTimeout = 2000; // ms for a command line's answer
    static constexpr DWORD ReplyTimeout = 5000;   // ms for a reply line during a send
    static constexpr DWORD FramePause = 70;       // ms before each block frame
    static constexpr DWORD PacketPause = 200;     // ms for the device to answer a request
    static constexpr DWORD PoliteStop = 2500;     // ms for a transfer to end in its own way

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
    // anything it uses is released; ends within 3 s even when the line takes no bytes. Forgets the
    // notification target. ERROR_INVALID_HANDLE when the port is not open.
    bool Close();

    // GUI thread. Changes the speed in bits per second; a refusal leaves the old one.
    bool SetBaudRate(std::uint32_t baud);

    // Any thread. Returns when the driver has taken all the bytes, however long that takes;
    // Close cancels it with ERROR_OPERATION_ABORTED.
    bool Write(const std::uint8_t* data, std::uint32_t length);

    // GUI thread, after Open. Notifications are posted as `message` with a NotifyKind in wParam,
    // if `flags` has the bit value of NotifyText or NotifyTransfer. A lost port is told whatever
    // the flags. At most one text notice waits at a time: see TakeTextNotice.
    bool SetNotify(HWND window, std::uint32_t message, std::uint32_t flags);

    // Any thread, also on a closed port. Meaningful to the thread that just got a failure.
    std::uint32_t LastError() const { return m_LastError; }

    // Copies the transfer snapshot.
    bool GetTransferInfo(TransferInfo* info);

    // GUI thread. True once the port has stopped delivering and until it is closed.
    bool IsLost() const { return m_Lost; }

    // GUI thread. Asks the driver; false when it does not answer for the open port any more.
    bool Answers();

    // GUI thread, on a NotifyText and before the drain: the next text posts a notice again.
    void TakeTextNotice() { m_TextNoticeWaits = false; }

    // GUI thread. Takes up to *count bytes of terminal text and sets *count to the number taken.
    bool ReadText(char* buffer, std::uint32_t* count);

    // Any thread; one waits for the other's line. Sends a command line with its checksum and waits
    // for the device's answer, at most CommandTimeout ms each for the line to take it and for the
    // device. True when the device accepted it.
    bool SendCommand(const char* line);

    // GUI thread. Reads a local file into memory and starts to send it. On the device it goes to
    // `folder` (null: none is named) under the base name of `nameSource` (null: of `path`).
    // `imageBlockSize` in bytes, for SendModeImage. False with the reason in LastError and Status:
    // ERROR_BUSY while a transfer runs, which is left alone; ERROR_INVALID_PARAMETER for a block
    // size that a frame cannot hold; ERROR_FILENAME_EXCED_RANGE or ERROR_INVALID_NAME for a target
    // that no command line can hold; the platform's error when the file cannot be read.
    // Progress and the end are told by NotifyTransfer; at the end Status is 0, ERROR_BAD_COMMAND
    // when the device refused, ERROR_CANCELLED for any other failure.
    bool StartSend(const char* folder, const char* path, const char* nameSource, std::uint32_t mode,
                   std::uint32_t imageBlockSize);

    // GUI thread. Cancels a send and waits for its end, at most 3 s.
    void StopSend();

    // GUI thread. Starts to receive the device's file `deviceName` into the local file `path`,
    // which is replaced. False with the reason in LastError and Status, as StartSend. Progress and
    // the end are told by NotifyTransfer; the last one comes when the line is the terminal's again.
    // A failed or canceled receive deletes the local file.
    bool StartReceive(const char* path, const char* deviceName);

    // GUI thread. Cancels a receive and waits for its end, at most 3 s, whatever the device sends.
    // Always true.
    bool StopReceive();

    // Internal operations of the reader and the transfer threads.
    void RunReader();
    void RunSend();
    void RunReceive();
    void AppendInput(const std::uint8_t* bytes, std::uint32_t count);
    void PostText();
    void PostTransfer();

    // Send thread. Waits for a reply line: true when one came, false when the send was canceled
    // or, with a limit, when ReplyTimeout is over.
    bool WaitReply();
    bool WaitReplyTimed();

    // Receive thread, in raw mode. The next byte, -1 when none came within m_ByteTimeout ms or the
    // receive is to end.
    int ReadByte();
    std::int32_t ReadWord();  // negative with 16 low zero bits when a byte did not come
    std::uint32_t ReadLong(); // a half that did not come counts as 0

    // Receive thread. See ReadPacketFrom in codec/Packet.h.
    bool ReadPacket(std::uint32_t& type, std::uint8_t& sub, std::uint32_t& length,
                    std::uint8_t* payload, std::uint32_t max);

    // Writes a control packet. Always true: one that is lost is asked for again.
    bool SendControl(std::uint16_t code, std::uint16_t value);

    HANDLE m_Handle = nullptr;
    std::atomic<std::uint32_t> m_LastError{0};
    HANDLE m_ReaderThread = nullptr;
    HANDLE m_SendThread = nullptr;
    HANDLE m_ReplyEvent = nullptr;
    std::atomic<std::uint32_t> m_ReplyState{ReplyNone};
    std::atomic<std::uint32_t> m_RequestedBlock{0};
    HANDLE m_CancelSendEvent = nullptr;
    struct {
        std::atomic<std::uint32_t> Status{ERROR_INVALID_HANDLE};
        std::atomic<std::uint32_t> Size{0};
        std::atomic<std::uint32_t> Block{0};
        std::atomic<std::uint32_t> Done{0};
        std::atomic<std::uint32_t> Errors{0};
    } m_Info;
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
    std::atomic<std::uint32_t> m_CommandAnswer{0};
    HANDLE m_CommandEvent = nullptr;
    std::uint32_t m_ImageBlockSize = DefaultImageBlockSize;
    std::uint32_t m_ByteTimeout = INFINITE;
    std::atomic<std::uint32_t> m_RawMode{0};
    HANDLE m_DataEvent = nullptr;
    HANDLE m_ReceiveHandle = nullptr;
    HANDLE m_ReceiveThread = nullptr;
    std::atomic<std::uint32_t> m_ReceiveAbort{0};
    char m_ReceivePath[MAX_PATH] = {};
    char m_ReceiveName[MAX_PATH] = {};

    // Each port has registers of its own, so ports never disturb each other.
    std::uint32_t m_CommandSum = 0;
    CRITICAL_SECTION m_CommandLock;
    std::uint32_t m_PacketCrc = CrcPreset;
    std::uint8_t* m_SendFrame = nullptr;       // room for one frame, as long as m_SendData
    HANDLE m_AbortWaitsEvent = nullptr;        // manual-reset; set: nothing waits for the line
    HANDLE m_EndGatheringEvent = nullptr;      // auto-reset; set: the reader waits for no more text
    std::atomic<std::uint32_t> m_LineSpeed{0}; // bits per second
    std::atomic<bool> m_AnswerAwaited{false};
    std::atomic<bool> m_TextNoticeWaits{false};
    std::atomic<bool> m_Lost{false};

private:
    enum class ReaderStep { Bytes, NoBytes, Stopped, Lost };

    // What the reader thread keeps from chunk to chunk.
    struct Reader {
        LineBuffer line;
        std::unique_ptr<std::uint8_t[]> chunk; // grows to the largest one
        std::uint32_t room = 0;
        std::uint64_t lastChunkAt = 0; // GetTickCount64
    };

    void Reset();
    bool OpenSteps(const char* path, std::uint32_t baud, std::uint32_t inSize);
    bool ConfigureLine(std::uint32_t baud);
    bool CreateEvents();
    bool StartReader();
    bool Fail(DWORD error);
    bool RequireOpen();
    bool WriteWithin(const std::uint8_t* data, std::uint32_t length, DWORD timeout);
    bool Post(NotifyKind kind);

    bool BeginTransfer();
    bool FailTransfer(DWORD error);
    bool StartTransferThread(HANDLE& thread, LPTHREAD_START_ROUTINE body);
    void ShowProgress(std::uint32_t block, std::uint32_t done, std::uint32_t errors);
    void EndTransfer(DWORD status);
    void StopTransfers();
    void JoinTransfer(HANDLE& thread);

    bool NameTarget(const char* folder, const char* path, const char* nameSource);
    bool ComposeSendCommand(char (&line)[MAX_PATH]) const;
    bool LoadSendData(const char* path);
    bool ReadWhole(HANDLE file);
    void FreeSendData();
    std::uint32_t SendBlockSize() const;
    DWORD SendFile();
    bool SendBlocks();
    std::uint32_t EncodeFrame(const SendCursor& cursor);

    DWORD ReceiveFile();
    void EnterRawMode();
    void LeaveRawMode(bool aborted);
    bool StartUpload();
    DWORD ReceiveBlocks();
    DWORD StoreBlock(const std::uint8_t* payload, std::uint32_t length);
    DWORD EndReceive(DWORD status);

    ReaderStep ReadChunk(Reader& reader);
    bool Gathers(const Reader& reader) const;
    DWORD GatheringTime() const;
    ReaderStep ReadBytes(std::uint8_t* bytes, DWORD count, DWORD* taken);
    void HandleChunk(LineBuffer& line, const std::uint8_t* bytes, std::uint32_t count, bool text);
    void AwaitRoom(std::uint32_t room);
    bool HandleRaw(const std::uint8_t* bytes, std::uint32_t count);
    void HandleLines(LineBuffer& line, const std::uint8_t* bytes, std::uint32_t count);
    void CompleteLine(LineBuffer& line);
    void TakeAnswer(std::uint8_t byte);
};

// A new, closed port; null when memory is exhausted.
ComPort* CreateComPort();

// Closes the port when it is open, and frees it. Null is allowed.
void DestroyComPort(ComPort* port);
