// A cable that is pulled, and drivers that behave as some adapters' do: the system's calls on the
// port are answered in their place.

#include "rig/Import.h"
#include "rig/PortTest.h"
#include "rig/Rig.h"
#include "rig/SystemObjects.h"

#include <atomic>
#include <thread>

STAND_IN(CancelIoEx);
STAND_IN(ReadFile);
STAND_IN(WriteFile);

namespace {

constexpr DWORD LargestPart = 100;

const decltype(&ReadFile) SystemReadFile = __imp_ReadFile;
const decltype(&WriteFile) SystemWriteFile = __imp_WriteFile;

DWORD TestThread = 0;
std::atomic<int> FailuresLeft{0};

// True for the threads of the port, while failures are left.
bool Fails() {
    return GetCurrentThreadId() != TestThread && FailuresLeft-- > 0;
}

BOOL WINAPI NeverCancels(HANDLE, OVERLAPPED*) {
    return TRUE;
}

BOOL WINAPI TakesParts(HANDLE file, const void* bytes, DWORD count, DWORD* written,
                       OVERLAPPED* overlapped) {
    return SystemWriteFile(file, bytes, std::min(count, LargestPart), written, overlapped);
}

BOOL WINAPI FailsToRead(HANDLE file, void* bytes, DWORD count, DWORD* read,
                        OVERLAPPED* overlapped) {
    if (!Fails())
        return SystemReadFile(file, bytes, count, read, overlapped);
    SetLastError(ERROR_OPERATION_ABORTED);
    return FALSE;
}

BOOL WINAPI FailsToWrite(HANDLE file, const void* bytes, DWORD count, DWORD* written,
                         OVERLAPPED* overlapped) {
    if (!Fails())
        return SystemWriteFile(file, bytes, count, written, overlapped);
    SetLastError(ERROR_GEN_FAILURE);
    return FALSE;
}

class DriverTest : public OpenPortTest {
protected:
    DriverTest() { TestThread = GetCurrentThreadId(); }
};

} // namespace

TEST_F(DriverTest, WriteThatEndsEarlyGoesOnWithTheRest) {
    const StandIn driver(__imp_WriteFile, &TakesParts);
    const std::string block = RandomBytes(512, 3);
    const std::string line(250, 'l');
    EXPECT_TRUE(Command(line, "\x02"));
    AskToTake(block);
    peer.Send("\x02");
    Reply("ack\n");
    const std::string frame = peer.Receive(block.size() + 9);
    EXPECT_EQ(frame.size(), block.size() + 9);
    EXPECT_TRUE(frame.substr(5, block.size()) == block);
    Reply("ack\n");
    EXPECT_EQ(End(), 0U);
}

TEST_F(DriverTest, ReadThatFailsIsNoLostPortButAWriteIs) {
    {
        FailuresLeft = 6;
        const StandIn reads(__imp_ReadFile, &FailsToRead);
        for (const std::string text : {"one", "two"}) { // the first read waits for a byte already
            peer.Send(text);
            EXPECT_EQ(Text(3), text);
        }
        EXPECT_LE(FailuresLeft, 0);
    }
    EXPECT_FALSE(port->IsLost());
    FailuresLeft = 1;
    const StandIn writes(__imp_WriteFile, &FailsToWrite);
    EXPECT_FALSE(port->SendCommand("dir"));
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyLost) > 0; }));
    EXPECT_TRUE(port->IsLost());
    EXPECT_TRUE(port->Close());
}

TEST_F(DriverTest, PortThatIsNeverLetGoOfIsGivenUp) {
    {
        const StandIn driver(__imp_CancelIoEx, &NeverCancels);
        for (const std::string& line : {std::string(400000, 'b'), std::string("waits")})
            EXPECT_TRUE(port->QueueCommand(line.c_str(), 7));
        Sleep(Settle);
        const ULONGLONG start = GetTickCount64();
        EXPECT_FALSE(port->Close());
        EXPECT_EQ(port->LastError(), DWORD{ERROR_TIMEOUT});
        EXPECT_TRUE(port->IsGivenUp());
        port.reset(CreateComPort());
        EXPECT_LT(GetTickCount64() - start, 3500U);
    }
    const DWORD held = CountSystemObjects().handles;
    EXPECT_GT(peer.ReceiveRest().size(), 1000U);
    peer.Send("x"); // all that was pending has ended
    EXPECT_TRUE(WaitUntil([&] { return CountSystemObjects().handles + 15 < held; }))
        << "the driver has let go of it";
    Open();
    EXPECT_TRUE(Command("dir", "\x02"));
}

TEST_F(OpenPortTest, PulledCableIsReportedUntilThePortIsClosed) {
    const ULONGLONG start = GetTickCount64();
    if (!CutCable(pair.program))
        GTEST_SKIP() << "this null modem cannot be cut";
    EXPECT_TRUE(WaitUntil([&] { return window.Take(NotifyLost) > 0; }));
    EXPECT_TRUE(WaitUntil([&] { return port->IsLost() && window.Take(NotifyLost) > 0; }));
    EXPECT_FALSE(port->Answers());
    const ULONGLONG asked = GetTickCount64();
    EXPECT_FALSE(port->SendCommand("dir"));
    EXPECT_LT(GetTickCount64() - asked, 1900U) << "nobody is there to wait for";
    Sleep(4 * NoticeLife);
    EXPECT_GE(Notices(NotifyLost, start), 1);
    EXPECT_TRUE(port->Close());
    EXPECT_FALSE(port->IsLost());
    window.Take(NotifyLost);
    Sleep(2 * NoticeLife);
    EXPECT_EQ(window.Take(NotifyLost), 0);
    RestoreCable(pair.program);
    Open();

    AskToTake("x");
    std::thread pulls([&] {
        Sleep(Settle);
        CutCable(pair.program);
    });
    const ULONGLONG closed = GetTickCount64();
    EXPECT_TRUE(port->Close());
    EXPECT_LT(GetTickCount64() - closed, 1500U) << "the device went while it was waited for";
    pulls.join();
    RestoreCable(pair.program);
    Open();
}
