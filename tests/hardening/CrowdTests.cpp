// As many terminals as there may be, all busy, and a person who uses the windows meanwhile.

#include "tests/fileops/OperationTest.h"
#include "tests/support/Pinger.h"

#include <algorithm>
#include <random>

namespace {

constexpr int MostTerminals = 20;
constexpr std::size_t FileSize = 100 << 10;
constexpr DWORD LongestCrowd = 120000; // ms

// A terminal of the crowd: it sends one file and receives another.
struct Worker {
    ZoTerm* terminal;
    std::unique_ptr<SimDevice> device;
    std::string folder; // below the test's
    int toStart = 2;    // operations
};

class CrowdTest : public OperationTest {
protected:
    void Open(const std::vector<ComPair>& pairs) {
        Start();
        while (TerminalWindows().size() < pairs.size())
            Command(CMD_NEW_WINDOW);
        for (std::size_t i = 0; i < pairs.size(); ++i) {
            Worker worker = {nullptr, nullptr, "crowd" + std::to_string(i)};
            for (const HWND window : TerminalWindows())
                if (TerminalOf(window).m_Slot == i)
                    worker.terminal = &TerminalOf(window);
            folder.Write(worker.folder + "\\send.bin", RandomBytes(FileSize, i));
            folder.Write(worker.folder + "\\device\\a\\back.bin", RandomBytes(FileSize, 100 + i));
            worker.device = std::make_unique<SimDevice>(pairs[i].device,
                                                        folder.Path(worker.folder + "\\device"));
            worker.terminal->m_ShowProgress = 0;
            worker.terminal->SelectDevice("a");
            EXPECT_TRUE(worker.terminal->OpenPort(pairs[i].number, 115200));
            CopyText(worker.terminal->m_ReceiveFile,
                     folder.Path(worker.folder + "\\back.bin").c_str());
            workers.push_back(std::move(worker));
        }
    }

    // Starts a worker's next operation when it is idle. Half of them begin with the other one.
    void Drive(Worker& worker, std::size_t index) {
        if (worker.terminal->m_ProgressDialog || worker.toStart == 0)
            return;
        const bool sends = (worker.toStart + index) % 2 == 0;
        --worker.toStart;
        const std::string list = Packed({folder.Path(worker.folder + "\\send.bin")});
        EXPECT_TRUE(sends ? worker.terminal->StartSendList(list.data(), list.size())
                          : worker.terminal->StartReceiveList());
    }

    bool AllDone() {
        for (std::size_t i = 0; i < workers.size(); ++i)
            Drive(workers[i], i);
        return std::all_of(workers.begin(), workers.end(), [](const Worker& worker) {
            return worker.toStart == 0 && !worker.terminal->m_ProgressDialog;
        });
    }

    std::vector<Worker> workers;
};

} // namespace

TEST_F(CrowdTest, TwentyTerminalsSendAndReceiveAtOnce) {
    Open(AllComPairs(MostTerminals));
    DWORD slowest = 0;
    {
        const Pinger pinger(workers[0].terminal->m_hWnd);
        EXPECT_TRUE(WaitUntil([&] { return AllDone(); }, LongestCrowd));
        slowest = pinger.Slowest();
    }
    EXPECT_LT(slowest, 3000U);
    for (std::size_t i = 0; i < workers.size(); ++i) {
        const std::string& place = workers[i].folder;
        EXPECT_TRUE(folder.Read(place + "\\device\\a\\send.bin") == RandomBytes(FileSize, i)) << i;
        EXPECT_TRUE(folder.Read(place + "\\back.bin") == RandomBytes(FileSize, 100 + i)) << i;
    }
    std::shuffle(workers.begin(), workers.end(), std::minstd_rand(1));
    for (const Worker& worker : workers)
        SendMessageA(worker.terminal->m_hWnd, WM_CLOSE, 0, 0);
    EXPECT_TRUE(TerminalWindows().empty());
}

// An open menu, a scroll bar that is held and a modal dialog run message loops of their own; the
// transfer goes on in them, and while an edge is dragged.
TEST_F(CrowdTest, TransferGoesOnUnderModalLoops) {
    StartWithDevice();
    const auto loop = [&](const char* name, WPARAM command, LPARAM at, bool pane) {
        SCOPED_TRACE(name);
        EXPECT_EQ(HandOver(Packed({File("x", std::string(8 * 512, 'x'))})), 1);
        const HWND window = pane ? terminal->m_hOutput : terminal->m_hWnd;
        const ULONGLONG start = GetTickCount64();
        struct Waiter {
            ZoTerm* terminal;
            HWND window;
            ULONGLONG ended;
        };
        static Waiter waiter;
        waiter = {terminal, window, 0};
        // Runs in the modal loop and leaves it once the transfer is over.
        const UINT_PTR timer = SetTimer(nullptr, 0, 20, [](HWND, UINT, UINT_PTR, DWORD) {
            if (waiter.terminal->m_ProgressDialog || waiter.ended)
                return;
            waiter.ended = GetTickCount64();
            ReleaseCapture();
            PostMessageA(waiter.window, WM_CANCELMODE, 0, 0);
            PostMessageA(waiter.window, WM_KEYDOWN, VK_ESCAPE, 0);
            PostMessageA(waiter.window, WM_LBUTTONUP, 0, 0);
        });
        SendMessageA(window, pane ? WM_NCLBUTTONDOWN : WM_SYSCOMMAND, command, at);
        EXPECT_EQ(terminal->m_ProgressDialog, nullptr) << "the loop was left early";
        EXPECT_TRUE(Ended() && WaitUntil([&] { return waiter.ended != 0; }));
        KillTimer(nullptr, timer);
        EXPECT_LT(waiter.ended - start, 2500U) << "it was slowed";
        EXPECT_EQ(Stored("default\\x"), std::string(8 * 512, 'x'));
        folder.Write("device\\default\\x", "");
    };
    RECT rect = {};
    GetWindowRect(terminal->m_hWnd, &rect);
    loop("menu", SC_KEYMENU, 'v', false);
    GetWindowRect(terminal->m_hOutput, &rect);
    loop("scroll bar", HTVSCROLL, MAKELPARAM(rect.right - 8, rect.bottom - 30), true);

    // A dragged edge is a storm of sizes; what else happens then is the window manager's.
    EXPECT_EQ(HandOver(Packed({File("x", std::string(8 * 512, 'x'))})), 1);
    int size = 0;
    EXPECT_TRUE(WaitUntil(
        [&] {
            size = (size + 7) % 300;
            MoveWindow(terminal->m_hWnd, 20, 20, 400 + size, 300 + size, TRUE);
            return !terminal->m_ProgressDialog;
        },
        2500));

    EXPECT_EQ(HandOver(Packed({File("x", std::string(8 * 512, 'x'))})), 1);
    const ModalScript about({{"About Console", [&](HWND dialog) {
                                  EXPECT_TRUE(Ended(2500));
                                  PostMessageA(dialog, WM_COMMAND, IDOK, 0);
                              }}});
    Command(CMD_ABOUT);
    EXPECT_EQ(Stored("default\\x"), std::string(8 * 512, 'x'));
}
