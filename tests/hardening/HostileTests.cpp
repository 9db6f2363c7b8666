// Devices that say anything at any moment: nothing crashes, hangs or writes where it must not.

#include "fileops/BootDialog.h"
#include "rig/Pinger.h"
#include "tests/fileops/OperationTest.h"

#include <functional>
#include <random>

namespace {

constexpr DWORD LineTime = 20000; // ms on each of the lines
constexpr DWORD LongestAnswer = 3000;

sim::DeviceSetup HostileSetup(std::uint32_t seed) {
    sim::DeviceSetup setup;
    setup.hostile = seed;
    setup.restartPause = 100;
    return setup;
}

// Transfers of all kinds, one after the other, each stopped somewhere in its course.
void TransferUnderFire(const ComPair& pair, std::uint32_t seed) {
    const TestFolder folder;
    folder.Write("x", RandomBytes(20000, seed));
    folder.Write("device\\a\\x", RandomBytes(20000, seed));
    SimDevice device(pair.device, folder.Path("device"), {}, HostileSetup(seed));
    ComPort* const port = CreateComPort();
    ASSERT_TRUE(port->Open(pair.ProgramPath().c_str(), 115200, 4096));
    std::minstd_rand random(seed);
    const ULONGLONG end = GetTickCount64() + LineTime;
    while (GetTickCount64() < end) {
        const std::uint32_t mode = random() % 4;
        const std::string path = folder.Path("x");
        const bool started = mode == 3 ? port->StartReceive(folder.Path("received").c_str(), "/a/x")
                                       : port->StartSend("a", path.c_str(), nullptr, mode, 264);
        EXPECT_TRUE(started) << port->LastError();
        Sleep(random() % 2500);
        char text[256];
        for (std::uint32_t taken = 255; port->ReadText(text, &taken) && taken > 0; taken = 255)
            continue;
        const ULONGLONG stop = GetTickCount64();
        port->StopSend();
        port->StopReceive();
        TransferInfo info = {};
        while (port->GetTransferInfo(&info) && info.Status == ERROR_IO_PENDING)
            Sleep(10);
        EXPECT_LT(GetTickCount64() - stop, LongestAnswer);
    }
    const ULONGLONG close = GetTickCount64();
    DestroyComPort(port);
    EXPECT_LT(GetTickCount64() - close, LongestAnswer);
}

class HostileTest : public OperationTest {};

} // namespace

TEST_F(HostileTest, NothingBreaksInAMinuteOfLineTime) {
    std::vector<std::thread> lines;
    const std::vector<ComPair> pairs = AllComPairs(3);
    if (pairs.size() > 1)
        for (std::uint32_t i = 0; i < 2; ++i)
            lines.emplace_back([pair = pairs[i + 1], i] { TransferUnderFire(pair, 11 + i); });

    // On the first line a terminal, with whatever its user may do.
    device = std::make_unique<SimDevice>(ReadComPair().device, folder.Path("device"), std::string(),
                                         HostileSetup(10));
    StartConnected();
    terminal->Settings.m_DisplaySummary = 0;
    CopyText(terminal->Settings.m_BootFile, File("boot", RandomBytes(3000, 1)).c_str());
    CopyText(terminal->Settings.m_ReceiveFile, folder.Path("received").c_str());
    const std::string list = Packed({File("one", RandomBytes(3000, 2)), File("two", "2")});
    const std::function<void()> acts[] = {
        [&] { HandOver(list); },
        [&] { Receive(); },
        [&] { OpenBootDialog(*terminal); },
        [&] { terminal->QueueLine("dir", LineSilent); },
        [&] { PressButton(IDCANCEL); },
    };
    DWORD slowest = 0;
    {
        const Pinger pinger(terminal->m_hWnd);
        std::minstd_rand random(10);
        const ULONGLONG end = GetTickCount64() + LineTime;
        while (GetTickCount64() < end) {
            const std::size_t any = random() % 4;
            Command(CMD_CLEAR); // a pane full of anything takes long to draw
            if (terminal->Operation.m_ProgressDialog)
                acts[4]();
            else if (terminal->TakesLists())
                acts[any]();
            const DWORD pause = random() % 2000;
            WaitUntil([] { return false; }, pause);
        }
        slowest = pinger.Slowest();
    }
    EXPECT_LT(slowest, LongestAnswer);
    EXPECT_TRUE(Close());
    for (std::thread& line : lines)
        line.join();
    EXPECT_TRUE(HeapValidate(GetProcessHeap(), 0, nullptr));
}
