// Transfers with every fault of the simulated device, on many lines at a time.

#include "rig/DeviceLine.h"
#include "rig/Vectors.h"

#include <algorithm>

namespace {

const std::string CancelLine = OnTheWire("c\n");

struct SendFault {
    const char* script;
    DWORD status;
    DWORD errors;
    DWORD done;
    int frames; // that began with the marker
    bool canceled;
    bool stored;
};

struct ReceiveFault {
    const char* script;
    DWORD status;
    DWORD errors;
    DWORD done;
    int requests;   // packets of the host
    long long kept; // bytes of the local file; -1: deleted
};

constexpr std::size_t FaultSize = 4 * 512 + 52; // five blocks

} // namespace

TEST(Transfer, EachFaultOfASendEndsAsItMust) {
    const SendFault faults[] = {
        {"1 nack 2 3", 0, 3, FaultSize, 8, false, true},
        {"1 nack 2 4", ERROR_CANCELLED, 3, 512, 5, true, false},
        {"1 nack 0 2", 0, 0, FaultSize, 5, false, true},
        {"1 ask 4 2", 0, 1, FaultSize - 52, 6, false, true},
        {"1 ask 2 4000000", 0, 2, FaultSize - 52, 6, false, true},
        {"1 cancel 2", ERROR_CANCELLED, 0, 512, 2, true, false},
        {"1 can 0", ERROR_CANCELLED, 0, 0, 0, true, false},
        {"1 done 3", 0, 0, 1024, 3, false, false},
        {"1 restart 5", ERROR_CANCELLED, 0, FaultSize - 52, 5, true, false},
        {"1 mute 2 9", ERROR_CANCELLED, 0, 512, 2, true, false},
        {"1 pause 2 1800", 0, 0, FaultSize, 5, false, true},
        {"1 refuse", ERROR_BAD_COMMAND, 0, 0, 0, false, false},
        {"1 silent", ERROR_BAD_COMMAND, 0, 0, 0, false, false},
        {"1 noise-before 200 5\n1 noise-after 200 6", 0, 0, FaultSize, 5, false, true},
    };
    const std::string content(FaultSize, 'd'); // no byte looks like a frame's marker
    const auto start = [&](DeviceLine& line) { return line.StartSend(content); };
    OnEveryLine(faults, start, [&](DeviceLine& line, const SendFault& fault) {
        const TransferInfo info = line.End();
        EXPECT_EQ(info.Status, fault.status);
        EXPECT_EQ(info.Errors, fault.errors);
        EXPECT_EQ(info.Done, fault.done);
        line.ExpectUsable();
        EXPECT_EQ(line.Stored(), fault.stored ? content : "");
        EXPECT_EQ(Count(line.ToDevice(), "C"), fault.frames);
        EXPECT_EQ(Count(line.ToDevice(), CancelLine), fault.canceled ? 1 : 0);
        EXPECT_EQ(Count(line.ToDevice(), OnTheWire("rcv /a/x.bin 2100\r\n")), 1);
    });
}

TEST(Transfer, EachFaultOfAReceiveEndsAsItMust) {
    const long long whole = FaultSize;
    const ReceiveFault faults[] = {
        {"1 bad-crc 2 1", 0, 1, FaultSize, 9, whole},
        {"1 wrong-block 2 1", 0, 1, FaultSize, 9, whole},
        {"1 overlong 2 1", 0, 1, FaultSize, 9, whole},
        {"1 noise 2 5", 0, 1, FaultSize, 9, whole},
        {"1 noise 0 1", 0, 0, FaultSize, 9, whole},
        {"1 mute 2 1", 0, 1, FaultSize, 9, whole},
        {"1 pause 2 700", 0, 0, FaultSize, 8, whole},
        {"1 mute 2 99", ERROR_CANCELLED, 10, 512, 13, -1},
        {"1 mute 0 99", ERROR_CANCELLED, 0, 0, 11, -1},
        {"1 end 0", ERROR_CANCELLED, 0, 0, 2, -1},
        {"1 end 3", 0, 0, 1024, 4, 1024},
        {"1 refuse", ERROR_CANCELLED, 0, 0, 0, 0},
    };
    const std::string content(FaultSize, 'd');
    const std::string control = FromHex("02000004");
    const auto start = [&](DeviceLine& line) { return line.StartReceive(content); };
    OnEveryLine(faults, start, [&](DeviceLine& line, const ReceiveFault& fault) {
        const TransferInfo info = line.End();
        EXPECT_EQ(info.Status, fault.status);
        EXPECT_EQ(info.Errors, fault.errors);
        EXPECT_EQ(info.Done, fault.done);
        EXPECT_EQ(line.folder.Exists("local.bin"), fault.kept >= 0);
        EXPECT_EQ(line.Received(),
                  content.substr(0, static_cast<std::size_t>(std::max(0LL, fault.kept))));
        line.ExpectUsable();
        EXPECT_EQ(Count(line.ToDevice(), control), fault.requests);
    });
}

// The device has taken the first command, though its answer got lost, and waits for that file.
TEST(Transfer, FileBehindAnUnansweredCommandIsNotTakenForTheOneBefore) {
    DeviceLine line(ReadComPair(), "1 unanswered");
    ASSERT_TRUE(line.StartSend(std::string(700, '1')));
    EXPECT_EQ(line.End().Status, DWORD{ERROR_BAD_COMMAND});
    line.folder.Write("y.bin", std::string(700, '2'));
    ASSERT_TRUE(
        line.port->StartSend("a", line.folder.Path("y.bin").c_str(), nullptr, SendModeFile, 0));
    EXPECT_EQ(line.End().Status, 0U);
    line.ExpectUsable();
    EXPECT_EQ(line.Stored(), "");
    EXPECT_EQ(line.folder.Read("device\\a\\y.bin"), std::string(700, '2'));
}
