// The link over a real COM pair, with the test playing the device at the other end.

#include "rig/Import.h"
#include "rig/PortTest.h"
#include "rig/Rig.h"

#include <algorithm>
#include <atomic>

STAND_IN(WriteFile);

namespace {

const decltype(&WriteFile) SystemWriteFile = __imp_WriteFile;
std::atomic<int> Pieces{0}; // of a frame, that were begun

BOOL WINAPI CountsPieces(HANDLE file, const void* bytes, DWORD count, DWORD* written,
                         OVERLAPPED* overlapped) {
    ++Pieces;
    return SystemWriteFile(file, bytes, count, written, overlapped);
}

} // namespace

TEST(ClosedPort, FailedOpenKeepsTheReasonAndCanBeRepeated) {
    const OwnedPort port(CreateComPort());
    EXPECT_FALSE(port->Open("\\\\.\\COM199", 9600, 4096));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_FILE_NOT_FOUND});
    TransferInfo info = {};
    EXPECT_FALSE(port->Close() || port->SetBaudRate(9600) || port->SetNotify(nullptr, 0, 0) ||
                 port->GetTransferInfo(&info) || port->Answers() || port->SendCommand("dir") ||
                 port->QueueCommands("dir\0ver\0", 1) || port->StartReceive("x", "x"));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_INVALID_HANDLE});

    // A file opens, and then is no serial line: what was made is released.
    const TestFolder folder;
    folder.Write("file", "");
    EXPECT_FALSE(port->Open(folder.Path("file").c_str(), 9600, 4096));
    EXPECT_NE(port->LastError(), 0U);
    EXPECT_TRUE(DeleteFileA(folder.Path("file").c_str()));
    EXPECT_FALSE(port->Close());
    const ComPair pair = ReadComPair();
    EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 9600, 4096));
    EXPECT_FALSE(port->Open(pair.ProgramPath().c_str(), 9600, 4096));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_ALREADY_INITIALIZED});
    EXPECT_TRUE(port->SetBaudRate(9600)) << "the open port is untouched";
}

TEST_F(OpenPortTest, LineRuns8N1WithoutFlowControl) {
    EXPECT_EQ(RecordedModemLines(pair.program).value_or("DTR=1 RTS=0"), "DTR=1 RTS=0");
    port->Close();
    LineSettings(pair, "baud=9600 parity=E data=7 stop=2 xon=on");
    Open();
    port->Close();
    const DCB dcb = LineSettings(pair);
    EXPECT_EQ(dcb.BaudRate, 115200U);
    EXPECT_EQ(dcb.ByteSize, 8);
    EXPECT_EQ(dcb.Parity, NOPARITY);
    EXPECT_EQ(dcb.StopBits, ONESTOPBIT);
    EXPECT_FALSE(dcb.fOutX || dcb.fInX || dcb.fOutxCtsFlow || dcb.fOutxDsrFlow || dcb.fParity);
    Open();
    EXPECT_TRUE(port->SetBaudRate(2400));
    port->Close();
    EXPECT_EQ(LineSettings(pair).BaudRate, 2400U);
}

TEST_F(OpenPortTest, TextNoticeThatIsLostComesAgainAndNoOtherDoes) {
    const ULONGLONG start = GetTickCount64();
    for (int i = 0; i < 20; ++i) {
        peer.Send("text");
        Sleep(60);
    }
    EXPECT_GE(Notices(NotifyText, start), 1);
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyText) > 0; }, 1000)) << "text waits";
    EXPECT_EQ(Text(80), Repeat("text", 20));
    Sleep(2 * NoticeLife);
    window.Take(NotifyText); // one was under way
    Sleep(2 * NoticeLife);
    EXPECT_EQ(window.Take(NotifyText), 0) << "all text is taken";
}

TEST_F(OpenPortTest, TextIsReportedToTheTargetThatIsSetAlsoTextFromBefore) {
    EXPECT_TRUE(port->Close());
    EXPECT_TRUE(port->Open(pair.ProgramPath().c_str(), 57600, 4096));
    EXPECT_EQ(Status(), DWORD{ERROR_INVALID_HANDLE});
    peer.Send("ban\1\2ner\nack\n");
    Sleep(Settle);
    EXPECT_EQ(window.Take(NotifyText), 0) << "the target is forgotten";
    port->SetNotify(window.Handle(), NoticeWindow::Message, NotifyText);
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyText) > 0; }));
    EXPECT_EQ(Text(13), "banner\r\nack\r\n");
}

TEST_F(OpenPortTest, LineModeRecognizesRepliesAndShowsTheRest) {
    const std::string empty = FromHex("43FFFF000000EDD941");
    AskToTake("data");
    peer.Send("\x02");
    Reply("hi\r\n\nack \nsend65535\n");
    Expect(empty);
    Reply(std::string(300, 'x') + "\nnack\n");
    Expect(empty);
    Reply("Ack\nnack\r\n");
    Expect(empty);
    Reply(Banner); // counts as an "ack"
    EXPECT_EQ(peer.Receive(13).substr(5, 4), "data");
    EXPECT_EQ(Text(301), "hi\r\nack \r\n" + std::string(260, 'x') + "\r\nAck\r\n" +
                             "Preparing to load ZoOS\r\n");
    Reply("done\n");
    EXPECT_EQ(End(), 0U);
}

// What comes in one chunk with the reply that ends a send.
TEST_F(OpenPortTest, ReplyAndMoreInOneChunkDoNotLeaveThePortInLineMode) {
    const DWORD ends[] = {ERROR_SUCCESS, ERROR_CANCELLED, ERROR_BAD_COMMAND};
    const std::string chunks[] = {"ack\ndone\n", "\2cancel\n", "\1send0\n"};
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE(round);
        const int way = round / 4;
        AskToTake("data");
        peer.Send(way < 2 ? "\x02" : "");
        Sleep(Settle);
        if (way == 1) {
            port->StopSend();
            Expect(OnTheWire("c\n"));
        }
        peer.Send(chunks[way] + (round % 2 ? "> " : ""));
        EXPECT_EQ(End(), ends[way]);
        peer.Send(round % 2 ? "" : "> ");
        EXPECT_EQ(Text(2), "> ");
        EXPECT_TRUE(Command("dir", "send7\n\x02"));
        EXPECT_EQ(Text(7), "send7\r\n");
    }
}

TEST_F(OpenPortTest, LineLeftFromLineModeComesBeforeTheNextText) {
    AskToTake("data");
    peer.Send("send0\nhalf"); // who asks for a block has taken the command
    peer.ReceiveRest(2 * Settle);
    Reply(" a line\nrest");
    EXPECT_EQ(Text(13), "half a line\r\n");
    peer.Send("\ndone\n12");
    EXPECT_EQ(End(), 0U);
    peer.Send("34\n");
    EXPECT_EQ(Text(12), "rest\r\n1234\r\n");
}

TEST_F(OpenPortTest, RawModeKeepsEveryByteForTheReceiveOnly) {
    const std::string packet = sim::DataPacket(0, std::string("\x01\x02\r\n\0ack\n\xFF> ", 12));
    AskToGive();
    peer.Send("\x02");
    Expect(StartPacket);
    window.Take(NotifyText);
    peer.Send(sim::ControlPacket(sim::ControlReady, 0));
    Expect(sim::ControlPacket(sim::ControlNext, 0));
    peer.Send(packet.substr(0, 9));
    Sleep(Settle);
    EXPECT_EQ(Text(0), "") << "the terminal must not take a packet's bytes";
    peer.Send(packet.substr(9));
    Expect(sim::ControlPacket(sim::ControlNext, 1));
    EXPECT_EQ(window.Take(NotifyText), 0);
    peer.Send(sim::DataPacket(1, "") + "> ");
    Expect(sim::ControlPacket(sim::ControlEnd, 1));
    EXPECT_EQ(End(), 0U);
    EXPECT_EQ(folder.Read("y"), packet.substr(4, 12));
    EXPECT_EQ(Text(2), "> ") << "what follows the last packet is text";
}

TEST_F(OpenPortTest, TextThatStreamsIntoAReceiveDoesNotCostItsFirstPacket) {
    for (int round = 0; round < 5; ++round) {
        std::atomic<bool> streams{true};
        std::thread device([&] {
            for (; streams; Sleep(7))
                peer.Send("some text\n");
        });
        Sleep(150 + 17 * static_cast<DWORD>(round));
        EXPECT_TRUE(port->StartReceive(folder.Path("y").c_str(), "y"));
        streams = false;
        device.join();
        Expect(OnTheWire("upl y"));
        peer.Send("tail\x02");
        Give("data");
    }
}

TEST_F(OpenPortTest, StopReceiveAndCloseEndUnderAFlood) {
    for (const bool close : {false, true}) {
        std::atomic<bool> stop{false};
        AskToGive();
        peer.Send("\x02");
        Expect(StartPacket);
        std::thread device([&] {
            while (!stop)
                peer.Send(std::string(2000, '\x01'));
        });
        Sleep(700);
        const ULONGLONG start = GetTickCount64();
        EXPECT_TRUE(close ? port->Close() : port->StopReceive());
        EXPECT_LT(GetTickCount64() - start, close ? 3000U : 1000U);
        EXPECT_TRUE(close || End() == ERROR_CANCELLED);
        EXPECT_FALSE(folder.Exists("y"));
        stop = true;
        // A line that nobody reads would hold the device's last write for ever.
        if (close)
            Open();
        device.join();
        peer.ReceiveRest(20);
        peer.Send("over\n"); // after the rest of the flood, which holds answer bytes only
        EXPECT_EQ(Text(6), "over\r\n");
    }
}

TEST_F(OpenPortTest, CanceledFrameIsWholeOnASlowLine) {
    const std::string image = RandomBytes(14000, 1);
    AskToTake(image, 14000);
    peer.Send("\x02");
    Sleep(Settle);
    FillLine();
    Pieces = 0;
    const StandIn driver(__imp_WriteFile, &CountsPieces);
    peer.Send("ack\n");
    EXPECT_TRUE(WaitUntil([&] { return Pieces > 1; }));
    port->StopSend();
    std::string wire;
    const std::string cancel = OnTheWire("c\n");
    const ULONGLONG start = GetTickCount64();
    while (wire.find(cancel) == std::string::npos && GetTickCount64() - start < 30000) {
        wire += peer.Receive(4096, 50);
        Sleep(20);
    }
    peer.Send("\x02");
    const std::size_t frame = wire.find_first_not_of('b');
    ASSERT_NE(frame, std::string::npos);
    EXPECT_EQ(wire.size() - frame, 9 + image.size() + cancel.size());
    EXPECT_EQ(wire.substr(frame, 5), std::string("C\0\0\xB0\x36", 5));
    EXPECT_TRUE(wire.substr(frame + 5, image.size()) == image);
    EXPECT_EQ(End(), DWORD{ERROR_CANCELLED});
    EXPECT_TRUE(Command("dir", "\x02"));
}

TEST_F(OpenPortTest, CanceledSendEndsWhenTheLineTakesNoBytes) {
    for (const bool finish : {false, true}) {
        AskToTake(std::string(65535, 'i'), 65535);
        peer.Send("\x02");
        Sleep(Settle);
        FillLine();
        Pieces = 0;
        const StandIn driver(__imp_WriteFile, &CountsPieces);
        peer.Send("ack\n"); // and reads nothing of the block
        EXPECT_TRUE(WaitUntil([&] { return Pieces > 0; }));
        EXPECT_EQ(Status(), DWORD{ERROR_IO_PENDING});
        const ULONGLONG start = GetTickCount64();
        finish ? port->FinishTransfer() : port->StopSend();
        EXPECT_LT(GetTickCount64() - start, finish ? 3000U : 1000U);
        EXPECT_TRUE(!finish || Status() != ERROR_IO_PENDING);
        EXPECT_EQ(End(), DWORD{ERROR_CANCELLED});
        EXPECT_GT(peer.ReceiveRest().size(), 1000U);
        EXPECT_TRUE(Command("dir", "\x02")) << "the port is usable again";
    }
}

TEST_F(OpenPortTest, TextBeforeASendDoesNotCostItsFirstReply) {
    for (int i = 0; i < 4; ++i) { // streaming text gathers
        peer.Send("text");
        Sleep(10);
    }
    for (const std::string late : {"", "prompt> "}) { // read when the send has begun
        AskToTake("data");
        peer.Send(late + "\x02");
        Reply("ack\n");
        EXPECT_EQ(peer.Receive(13).size(), 13U);
        Reply("done\n");
        EXPECT_EQ(End(), 0U);
    }
    EXPECT_EQ(Text(24), "texttexttexttextprompt> ");
}

TEST_F(OpenPortTest, FloodFillsTheBufferAndTheLineGoesOn) {
    const std::string flood = Repeat("0123456789", 1000);
    EXPECT_FALSE(Command("dir", flood + "\n" + Banner)); // when it ends, all of it has come
    EXPECT_EQ(Text(4095), flood.substr(0, 4095));
    peer.Send("alive\n");
    std::string rest; // what still waited for room, and then the line
    EXPECT_TRUE(WaitUntil([&] {
        rest += Text(0);
        return rest.find("alive\r\n") != std::string::npos;
    }));
}
