// Command lines: their queue, their order, and what the device makes of them.

#include "rig/PortTest.h"

#include <algorithm>
#include <thread>

TEST_F(OpenPortTest, FirstAnswerDecidesACommandAndAnEmptyLineHasNone) {
    EXPECT_FALSE(Command("dir", "\x01"));
    EXPECT_TRUE(Command("caf\xE9\r\n", "noise\x02\x01"));
    EXPECT_EQ(Text(5), "noise");
    const ULONGLONG start = GetTickCount64();
    EXPECT_TRUE(port->SendCommand("") && port->SendCommand("\n"));
    EXPECT_LT(GetTickCount64() - start, 1000U);
    Expect(std::string("\n\0\0\n\0\0", 6));
}

TEST_F(OpenPortTest, RestartEndsTheWaitForAnAnswer) {
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(Command("dir", "text\r\n" + Banner));
    AskToTake("data");
    peer.Send(Banner);
    EXPECT_EQ(End(), DWORD{ERROR_BAD_COMMAND});
    EXPECT_LT(GetTickCount64() - start, 1900U) << "the time-out of a single answer";
    EXPECT_EQ(Text(54), "text\r\n" + Repeat("Preparing to load ZoOS\r\n", 2));
    EXPECT_FALSE(Command("dir", Banner + "\x02")) << "what comes first decides";
    EXPECT_TRUE(Command("dir", "no " + Banner + "\x02")) << "only a whole line counts";
}

TEST_F(OpenPortTest, SilentDeviceFailsACommandAfterTwoSeconds) {
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(Command("dir", ""));
    const ULONGLONG took = GetTickCount64() - start;
    EXPECT_GE(took, 1900U);
    EXPECT_LT(took, 3000U);
    peer.Send("\x02late"); // it must not answer the next command
    EXPECT_EQ(Text(4), "late");
    EXPECT_FALSE(Command("dir", "\x01"));
}

TEST_F(OpenPortTest, LineThatTakesNoBytesStopsNeitherCommandNorClose) {
    FillLine(); // nobody reads at the far end
    const ULONGLONG start = GetTickCount64();
    EXPECT_FALSE(port->SendCommand("dir"));
    EXPECT_LT(GetTickCount64() - start, 3500U) << "no second wait for an answer";
    EXPECT_TRUE(port->QueueCommands("dir\0ver\0", 1));
    EXPECT_TRUE(port->Close());
    EXPECT_LT(GetTickCount64() - start, 5500U);
    EXPECT_EQ(Results(2).size(), 2U);
    Open();
}

TEST_F(OpenPortTest, LinesDuringAReceiveAreRefusedAndNeverReachTheWire) {
    AskToGive();
    EXPECT_TRUE(port->QueueCommand("early", 0)); // waits behind the line that begins the receive
    peer.Send("\x02");
    Expect(StartPacket);
    EXPECT_TRUE(port->QueueCommand("dir", 1));
    EXPECT_TRUE(port->QueueCommands("echo\0reboot\0", 2));
    const std::vector<LineResult> results = Results(4);
    for (std::size_t i = 0; i < results.size(); ++i)
        EXPECT_TRUE(results[i].tag == std::min<std::size_t>(i, 2) && !results[i].accepted) << i;
    EXPECT_EQ(Status(), DWORD{ERROR_IO_PENDING});
    peer.Send(sim::ControlPacket(sim::ControlReady, 0));
    Expect(sim::ControlPacket(sim::ControlNext, 0));
    peer.Send(sim::ControlPacket(sim::ControlEnd, 0));
    EXPECT_EQ(End(), 0U);
    EXPECT_TRUE(Command("dir", "\x02"));
}

TEST_F(OpenPortTest, LinesOfTwoThreadsAndATransferKeepTheirOrder) {
    constexpr std::uint32_t Rounds = 20;
    const std::string command = "rcv x 4\r";
    std::vector<LineResult> expected;
    std::string order;
    folder.Write("x", "data");
    std::thread device([&] {
        for (std::uint32_t i = 0; i < 3 * Rounds + 1; ++i) {
            const std::string line = PeerLine();
            const std::string text = line.substr(0, line.find('\n'));
            EXPECT_EQ(line, OnTheWire(text + "\n"));
            const bool accepts = text != command && i % 3 != 0;
            if (text != command)
                expected.push_back({static_cast<std::uint32_t>(std::atoi(text.c_str())), accepts});
            order += text.back();
            peer.Send(accepts ? "\x02" : "\x01");
        }
    });
    std::thread other([&] {
        for (std::uint32_t i = 0; i < Rounds; ++i) {
            const std::string number = std::to_string(100 + i);
            std::string both = number + " b";
            both.append(1, '\0').append(number).append(" c").append(1, '\0');
            EXPECT_TRUE(port->QueueCommands(both.c_str(), 100 + i));
        }
    });
    for (std::uint32_t i = 0; i < Rounds; ++i) {
        EXPECT_TRUE(port->QueueCommand((std::to_string(i) + " a").c_str(), i));
        EXPECT_TRUE(i != Rounds / 2 || StartSend(SendModeFile, 0));
    }
    other.join();
    EXPECT_TRUE(port->AwaitsResults());
    device.join();
    const std::vector<LineResult> results = Results(std::size_t{3} * Rounds);
    EXPECT_FALSE(port->AwaitsResults());
    EXPECT_EQ(window.Take(NotifyAnswer), static_cast<int>(3 * Rounds));
    ASSERT_EQ(results.size(), expected.size());
    std::uint32_t next[] = {0, 200}; // twice the tag of a packed list's next line
    for (std::size_t i = 0; i < results.size(); ++i) {
        EXPECT_EQ(results[i].tag, expected[i].tag) << i;
        EXPECT_EQ(results[i].accepted, expected[i].accepted) << i;
        EXPECT_EQ(results[i].tag, results[i].tag < 100 ? next[0]++ : next[1]++ / 2) << i;
    }
    for (std::size_t b = order.find('b'); b != std::string::npos; b = order.find('b', b + 1))
        EXPECT_EQ(order.substr(b, 2), "bc") << "a packed list stays whole";
    const std::string before = order.substr(0, order.find('\r'));
    EXPECT_GT(std::count(before.begin(), before.end(), 'a'), Rounds / 2);
    EXPECT_EQ(End(), DWORD{ERROR_BAD_COMMAND});
}

TEST_F(OpenPortTest, FullQueueTakesAllLinesOrNone) {
    const std::string all = Repeat(std::string("x\0", 2), LineQueue::MostLines);
    const std::string many = Repeat(std::string("y\0", 2), 100);
    EXPECT_FALSE(port->QueueCommands((all + many).c_str(), 1));
    EXPECT_EQ(port->LastError(), DWORD{ERROR_NO_SYSTEM_RESOURCES});
    EXPECT_FALSE(port->AwaitsResults());
    EXPECT_TRUE(port->QueueCommands(all.c_str(), 2)); // nobody answers the first
    EXPECT_FALSE(port->QueueCommands(many.c_str(), 3));
    EXPECT_TRUE(port->Close());
    const std::vector<LineResult> results = Results(LineQueue::MostLines);
    EXPECT_EQ(results.size(), LineQueue::MostLines);
    for (const LineResult& result : results)
        EXPECT_TRUE(result.tag == 2 && !result.accepted);
    EXPECT_FALSE(port->AwaitsResults());
    EXPECT_EQ(peer.ReceiveRest().find('y'), std::string::npos);
}

TEST_F(OpenPortTest, CanceledTransferDoesNotWaitForTheLinesBeforeIt) {
    folder.Write("x", "x");
    for (const bool sends : {true, false}) {
        EXPECT_TRUE(port->QueueCommands("a\0b\0c\0d\0e\0", 1)); // nobody answers: 10 s
        EXPECT_TRUE(sends ? StartSend(SendModeFile, 0)
                          : port->StartReceive(folder.Path("y").c_str(), "y"));
        Sleep(Settle);
        EXPECT_TRUE(port->QueueCommands("f\0g\0", 2)); // these stay
        port->StopSend();
        port->StopReceive();
        EXPECT_TRUE(WaitUntil([&] { return Status() != ERROR_IO_PENDING; }));
        EXPECT_TRUE(port->AwaitsResults());
        EXPECT_TRUE(port->Close());
        EXPECT_EQ(Results(7).size(), 7U);
        EXPECT_EQ(peer.ReceiveRest().find_first_of("rup"), std::string::npos);
        Open();
    }
}
