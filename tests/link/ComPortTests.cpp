// The link over a real COM pair, with the test playing the device at the other end.

#include "link/ComPort.h"
#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/NoticeWindow.h"
#include "rig/Rig.h"
#include "rig/Wait.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

namespace {

struct PortCloser {
    void operator()(ComPort* port) const { DestroyComPort(port); }
};

class OpenPortTest : public testing::Test {
protected:
    OpenPortTest() : port(CreateComPort()) {
        EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 115200, 4096)) << port->LastError();
        EXPECT_TRUE(
            port->SetNotify(window.Handle(), NoticeWindow::Message, NotifyText | NotifyTransfer));
    }

    // The terminal text that has come once `count` bytes are there.
    std::string Text(std::size_t count) {
        EXPECT_TRUE(WaitUntil([&] { return port->m_InCount >= count; })) << port->m_InCount;
        std::string text(8192, '\0');
        auto taken = static_cast<std::uint32_t>(text.size());
        EXPECT_TRUE(port->ReadText(text.data(), &taken));
        port->TakeTextNotice();
        text.resize(taken);
        return text;
    }

    // Sends a command line while the device answers with `reply`.
    bool Command(const std::string& line, const std::string& reply) {
        std::string wire;
        std::thread device([&] {
            wire = peer.Receive(OnTheWire(line).size());
            peer.Send(reply);
        });
        const bool accepted = port->SendCommand(line.c_str());
        device.join();
        EXPECT_EQ(wire, OnTheWire(line));
        return accepted;
    }

    ComPair pair = ReadComPair();
    ComPeer peer;
    NoticeWindow window;
    std::unique_ptr<ComPort, PortCloser> port;
};

std::string Repeat(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i)
        all += text;
    return all;
}

} // namespace

TEST(ClosedPort, EveryOperationTellsThatItIsClosed) {
    const std::unique_ptr<ComPort, PortCloser> port(CreateComPort());
    TransferInfo info = {};
    char text[8];
    std::uint32_t count = sizeof(text);
    const std::uint8_t byte = 'x';
    EXPECT_FALSE(port->Close());
    EXPECT_FALSE(port->SetBaudRate(9600));
    EXPECT_FALSE(port->Write(&byte, 1));
    EXPECT_FALSE(port->SetNotify(nullptr, 0, 0));
    EXPECT_FALSE(port->GetTransferInfo(&info));
    EXPECT_FALSE(port->ReadText(text, &count));
    EXPECT_FALSE(port->SendCommand("dir"));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_INVALID_HANDLE});
    DestroyComPort(nullptr);
}

TEST(ClosedPort, FailedOpenKeepsTheReasonAndCanBeRepeated) {
    const std::unique_ptr<ComPort, PortCloser> port(CreateComPort());
    EXPECT_FALSE(port->Open("\\\\.\\COM199", 9600, 4096));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(port->m_Handle, nullptr);
    EXPECT_EQ(port->m_InBuffer, nullptr);

    // A file opens, and then is no serial line: what was made is released.
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    EXPECT_FALSE(port->Open(path, 9600, 4096));
    EXPECT_NE(port->LastError(), 0U);
    EXPECT_EQ(port->m_Handle, nullptr);

    const ComPair pair = ReadComPair();
    EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 9600, 4096));
    EXPECT_FALSE(port->Open(pair.ProgramPath().c_str(), 9600, 4096));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_ALREADY_INITIALIZED});
    EXPECT_TRUE(port->SetBaudRate(9600)) << "the open port is untouched";
}

TEST_F(OpenPortTest, LineRuns8N1WithoutFlowControl) {
    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    ASSERT_TRUE(GetCommState(port->m_Handle, &dcb));
    EXPECT_EQ(dcb.BaudRate, 115200U);
    EXPECT_EQ(dcb.ByteSize, 8);
    EXPECT_EQ(dcb.Parity, NOPARITY);
    EXPECT_EQ(dcb.StopBits, ONESTOPBIT);
    EXPECT_FALSE(dcb.fOutX || dcb.fInX || dcb.fOutxCtsFlow || dcb.fOutxDsrFlow || dcb.fParity);
    COMMTIMEOUTS timeouts = {1, 1, 1, 1, 1};
    ASSERT_TRUE(GetCommTimeouts(port->m_Handle, &timeouts));
    EXPECT_EQ(timeouts.ReadIntervalTimeout, 0U);
    EXPECT_EQ(timeouts.ReadTotalTimeoutMultiplier, 0U);
    EXPECT_EQ(timeouts.ReadTotalTimeoutConstant, 0U);
    EXPECT_EQ(RecordedModemLines(pair.program).value_or("DTR=1 RTS=0"), "DTR=1 RTS=0");

    EXPECT_TRUE(port->SetBaudRate(2400));
    ASSERT_TRUE(GetCommState(port->m_Handle, &dcb));
    EXPECT_EQ(dcb.BaudRate, 2400U);
}

TEST_F(OpenPortTest, TextModeMakesLineEndsAndTakesAnswerBytes) {
    peer.Send("ab\r\ncd\n\x01\x02send5\nack\n");
    EXPECT_EQ(Text(20), "ab\r\ncd\r\nsend5\r\nack\r\n");
    EXPECT_EQ(port->m_ReplyState, ReplyNone);
    EXPECT_GE(window.Take(NotifyText), 1);
}

TEST_F(OpenPortTest, OneNoticeWaitsUntilItIsTaken) {
    peer.Send("first");
    ASSERT_TRUE(WaitUntil([&] { return port->m_InCount >= 5; }));
    peer.Send("second");
    ASSERT_TRUE(WaitUntil([&] { return port->m_InCount >= 11; }));
    EXPECT_EQ(window.Take(NotifyText), 1);

    EXPECT_EQ(Text(11), "firstsecond");
    peer.Send("third");
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyText) == 1; }));
}

TEST_F(OpenPortTest, TextFromBeforeTheTargetWasSetIsTold) {
    port->SetNotify(nullptr, 0, 0);
    peer.Send("banner");
    ASSERT_TRUE(WaitUntil([&] { return port->m_InCount == 6; }));
    EXPECT_EQ(window.Take(NotifyText), 0);
    port->SetNotify(window.Handle(), NoticeWindow::Message, NotifyText);
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyText) == 1; }));
}

TEST_F(OpenPortTest, LineModeRecognizesRepliesAndShowsTheRest) {
    port->m_ReplyState = ReplyCancel;
    peer.Send("hi\r\n\nack \nsend7\n");
    EXPECT_EQ(WaitForSingleObject(port->m_ReplyEvent, Patience), WAIT_OBJECT_0);
    EXPECT_EQ(port->m_ReplyState, ReplySend);
    EXPECT_EQ(port->m_RequestedBlock, 7U);
    EXPECT_EQ(WaitForSingleObject(port->m_CommandEvent, Patience), WAIT_OBJECT_0);
    EXPECT_EQ(Text(10), "hi\r\nack \r\n");

    peer.Send("Preparing to load ZoOS\n");
    EXPECT_EQ(WaitForSingleObject(port->m_ReplyEvent, Patience), WAIT_OBJECT_0);
    EXPECT_EQ(port->m_ReplyState, ReplyAck);
    EXPECT_EQ(Text(24), "Preparing to load ZoOS\r\n");

    peer.Send(std::string(300, 'x') + "\nnack\n");
    EXPECT_EQ(WaitForSingleObject(port->m_ReplyEvent, Patience), WAIT_OBJECT_0);
    EXPECT_EQ(port->m_ReplyState, ReplyNack);
    EXPECT_EQ(Text(262), std::string(260, 'x') + "\r\n");
}

TEST_F(OpenPortTest, LineLeftFromLineModeComesBeforeTheNextText) {
    port->m_ReplyState = ReplyCancel;
    peer.Send("done\nhalf a li");
    EXPECT_EQ(WaitForSingleObject(port->m_ReplyEvent, Patience), WAIT_OBJECT_0);
    // The end of the chunk is no event of its own: a second reply tells that it was handled.
    peer.Send("ne\nack\nrest");
    EXPECT_TRUE(WaitUntil([&] { return port->m_ReplyState == ReplyAck; }));
    EXPECT_EQ(Text(13), "half a line\r\n");
    port->m_ReplyState = ReplyNone;
    peer.Send("!\n");
    EXPECT_EQ(Text(7), "rest!\r\n");
}

TEST_F(OpenPortTest, RawModeKeepsEveryByteForTheReceiveOnly) {
    port->m_RawMode = 1;
    port->m_ByteTimeout = Patience;
    const std::string packet("\x01\x02\r\n\0\xFF"
                             "ack\n",
                             10);
    peer.Send(packet);
    EXPECT_EQ(port->ReadLong(), 0x01020D0AU);
    EXPECT_EQ(Text(0), "") << "the terminal must not take a packet's bytes";
    EXPECT_EQ(port->ReadWord(), 0x00FF);
    for (const char byte : packet.substr(6))
        EXPECT_EQ(port->ReadByte(), byte);
    port->m_ByteTimeout = 50;
    EXPECT_EQ(port->ReadByte(), -1);
    EXPECT_EQ(port->ReadWord(), -0x10000);
    EXPECT_EQ(window.Take(NotifyText), 0);
}

TEST_F(OpenPortTest, StopReceiveAndCloseEndUnderAFlood) {
    const TestFolder folder;
    for (const bool close : {false, true}) {
        std::atomic<bool> stop{false};
        std::thread device([&] {
            peer.Receive(OnTheWire("upl x").size());
            for (std::string bytes = "\x02"; !stop; bytes = std::string(2000, '\x01'))
                peer.Send(bytes);
        });
        ASSERT_TRUE(port->StartReceive(folder.Path("x").c_str(), "x"));
        EXPECT_TRUE(WaitUntil([&] { return port->m_RawMode != 0; }));
        Sleep(700);
        const ULONGLONG start = GetTickCount64();
        EXPECT_TRUE(close ? port->Close() : port->StopReceive());
        EXPECT_LT(GetTickCount64() - start, 3000U);
        EXPECT_FALSE(folder.Exists("x"));
        stop = true;
        // A line that nobody reads would hold the device's last write for ever.
        EXPECT_TRUE(!close || port->Open(pair.ProgramPath().c_str(), 115200, 4096));
        device.join();
        peer.ReceiveRest(20);
        peer.Send("over\n"); // behind the rest of the flood, which holds answer bytes only
        EXPECT_TRUE(Text(6) == "over\r\n");
    }
}

TEST_F(OpenPortTest, StopSendEndsWhenTheLineTakesNoBytes) {
    const TestFolder folder;
    folder.Write("image", std::string(200000, 'i'));
    std::thread device([&] {
        peer.Receive(OnTheWire("imgrcv 65535 3\r\n").size());
        peer.Send("\x02");
        Sleep(50);
        peer.Send("ack\n"); // and reads nothing of the block
    });
    ASSERT_TRUE(
        port->StartSend(nullptr, folder.Path("image").c_str(), nullptr, SendModeImage, 65535));
    device.join();
    Sleep(300);
    EXPECT_EQ(port->m_Info.Status, DWORD{ERROR_IO_PENDING}) << "the block does not fit the line";
    const ULONGLONG start = GetTickCount64();
    port->StopSend();
    EXPECT_LT(GetTickCount64() - start, 3000U);
    EXPECT_EQ(port->m_Info.Status, DWORD{ERROR_CANCELLED});
    EXPECT_GT(peer.ReceiveRest().size(), 1000U);
    EXPECT_TRUE(Command("dir", "\x02")) << "the port is usable again";
}

TEST_F(OpenPortTest, TextBeforeASendDoesNotCostItsFirstReply) {
    const TestFolder folder;
    folder.Write("x", "data");
    for (int i = 0; i < 4; ++i) { // streaming text gathers
        peer.Send("text");
        Sleep(10);
    }
    std::string frame;
    std::thread device([&] {
        peer.Receive(OnTheWire("rcv x 4\r\n").size());
        peer.Send("\x02");
        Sleep(15);
        peer.Send("ack\n");
        frame = peer.Receive(13, 1000);
        peer.Send("done\n");
    });
    EXPECT_TRUE(port->StartSend(nullptr, folder.Path("x").c_str(), nullptr, SendModeFile, 0));
    device.join();
    EXPECT_EQ(frame.size(), 13U);
    EXPECT_TRUE(WaitUntil([&] { return port->m_Info.Status == 0; }));
}

TEST_F(OpenPortTest, FloodFillsTheBufferAndTheLineGoesOn) {
    const std::string line = "0123456789";
    peer.Send(Repeat(line, 1000));
    EXPECT_TRUE(WaitUntil([&] { return port->m_InCount == 4095; }));
    EXPECT_EQ(Text(4095), Repeat(line, 1000).substr(0, 4095));
    peer.Send("alive\n");
    std::string rest; // what of the flood still comes, and then the line
    EXPECT_TRUE(WaitUntil([&] {
        rest += Text(0);
        return rest.find("alive\r\n") != std::string::npos;
    }));
}

TEST_F(OpenPortTest, AnswerDecidesACommand) {
    EXPECT_TRUE(Command("dir", "\x02"));
    EXPECT_FALSE(Command("dir", "\x01"));
    EXPECT_TRUE(Command("reboot", "noise\x02\x01"));
    EXPECT_EQ(Text(5), "noise");
    EXPECT_TRUE(Command("caf\xE9\r\n", "\x02"));
}

TEST_F(OpenPortTest, SendRequestCountsAsAcceptance) {
    port->m_ReplyState = ReplyCancel;
    EXPECT_TRUE(Command("rcv x 1\r\n", "send0\n"));
    EXPECT_EQ(port->m_RequestedBlock, 0U);
}

TEST_F(OpenPortTest, SilentDeviceFailsACommandAfterTwoSeconds) {
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(Command("dir", ""));
    const ULONGLONG took = GetTickCount64() - start;
    EXPECT_GE(took, 1900U);
    EXPECT_LT(took, 3000U);

    peer.Send("\x02"); // late: it must not answer the next command
    EXPECT_TRUE(WaitUntil([&] { return port->m_CommandAnswer == AnswerAccepted; }));
    EXPECT_FALSE(Command("dir", "\x01"));
}

TEST_F(OpenPortTest, EmptyLineIsAcceptedAtOnce) {
    const ULONGLONG start = GetTickCount64();
    EXPECT_TRUE(port->SendCommand(""));
    EXPECT_TRUE(port->SendCommand("\n"));
    EXPECT_LT(GetTickCount64() - start, 1000U);
    const std::string wire("\n\0\0", 3);
    EXPECT_EQ(peer.Receive(6), wire + wire);
}

TEST_F(OpenPortTest, LineThatTakesNoBytesStopsNeitherCommandNorClose) {
    // Nobody reads at the far end, so the line fills up.
    const std::string block(16384, 'b');
    for (int i = 0; i < 200 && port->SendCommand(block.c_str()); ++i) {
    }
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(port->SendCommand(block.c_str()));
    EXPECT_TRUE(port->Close());
    EXPECT_LT(GetTickCount64() - start, 5000U);
    EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 115200, 4096)) << port->LastError();
}

TEST_F(OpenPortTest, CloseForgetsTheTargetAndOpensAgain) {
    EXPECT_TRUE(port->Close());
    TransferInfo info = {};
    EXPECT_FALSE(port->GetTransferInfo(&info));
    EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 57600, 4096));
    EXPECT_TRUE(port->GetTransferInfo(&info));
    EXPECT_EQ(info.Status, DWORD{ERROR_INVALID_HANDLE});
    peer.Send("unseen");
    EXPECT_EQ(Text(6), "unseen");
    EXPECT_EQ(window.Take(NotifyText), 0);
}

TEST_F(OpenPortTest, PulledCableIsToldOnce) {
    if (!CutCable(pair.program))
        GTEST_SKIP() << "this null modem cannot be cut";
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyLost) == 1; }, 2000));
    EXPECT_TRUE(port->IsLost());
    EXPECT_EQ(WaitForSingleObject(port->m_ReaderThread, Patience), WAIT_OBJECT_0)
        << "the reader ends instead of spinning";
    EXPECT_TRUE(port->Close());
    EXPECT_FALSE(port->IsLost());
    RestoreCable(pair.program);
    EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 115200, 4096)) << port->LastError();
}
