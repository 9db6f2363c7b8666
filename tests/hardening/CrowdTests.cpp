// As many terminals as there may be, all busy, and a person who uses the windows meanwhile.

#include "rig/Crowd.h"
#include "rig/Pinger.h"
#include "tests/fileops/OperationTest.h"

namespace {

constexpr int MostTerminals = 20;
constexpr std::size_t FileSize = 24 << 10;
constexpr DWORD LongestCrowd = 120000; // ms

class CrowdTest : public OperationTest {};

} // namespace

TEST_F(CrowdTest, TwentyTerminalsSendAndReceiveAtOnce) {
    Start();
    Crowd crowd(folder, AllComPairs(MostTerminals));
    crowd.Assign(2, FileSize);
    DWORD slowest = 0;
    {
        const Pinger pinger(crowd.FirstWindow());
        EXPECT_TRUE(WaitUntil([&] { return crowd.AllDone(); }, LongestCrowd));
        slowest = pinger.Slowest();
    }
    EXPECT_LT(slowest, 3000U);
    EXPECT_EQ(crowd.WrongFiles(), 0);
    crowd.Close();
    EXPECT_TRUE(WaitUntil([] { return TerminalWindows().empty(); }));
}

// An open menu, a scroll bar that is held and a modal dialog run message loops of their own; the
// transfer goes on in them, and while an edge is dragged.
TEST_F(CrowdTest, TransferGoesOnUnderModalLoops) {
    const std::string content(4096, 'x');
    StartWithDevice();
    const auto loop = [&](const char* name, WPARAM command, LPARAM at, bool pane) {
        SCOPED_TRACE(name);
        EXPECT_EQ(HandOver(Packed({File("x", content)})), 1);
        const HWND window = pane ? OutputOf(*terminal) : terminal->m_hWnd;
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
            if (waiter.terminal->Operation.m_ProgressDialog || waiter.ended)
                return;
            waiter.ended = GetTickCount64();
            ReleaseCapture();
            PostMessageA(waiter.window, WM_CANCELMODE, 0, 0);
            PostMessageA(waiter.window, WM_KEYDOWN, VK_ESCAPE, 0);
            PostMessageA(waiter.window, WM_LBUTTONUP, 0, 0);
        });
        SendMessageA(window, pane ? WM_NCLBUTTONDOWN : WM_SYSCOMMAND, command, at);
        EXPECT_EQ(terminal->Operation.m_ProgressDialog, nullptr) << "the loop was left early";
        EXPECT_TRUE(Ended() && WaitUntil([&] { return waiter.ended != 0; }));
        KillTimer(nullptr, timer);
        EXPECT_LT(waiter.ended - start, 5000U) << "it was slowed";
        EXPECT_EQ(Stored("default\\x"), content);
        folder.Write("device\\default\\x", "");
    };
    RECT rect = {};
    GetWindowRect(terminal->m_hWnd, &rect);
    loop("menu", SC_KEYMENU, 'v', false);
    GetWindowRect(OutputOf(*terminal), &rect);
    loop("scroll bar", HTVSCROLL, MAKELPARAM(rect.right - 8, rect.bottom - 30), true);

    // A dragged edge is a storm of sizes; what else happens then is the window manager's.
    EXPECT_EQ(HandOver(Packed({File("x", content)})), 1);
    int size = 0;
    EXPECT_TRUE(WaitUntil(
        [&] {
            size = (size + 7) % 300;
            MoveWindow(terminal->m_hWnd, 20, 20, 400 + size, 300 + size, TRUE);
            return !terminal->Operation.m_ProgressDialog;
        },
        5000));
    EXPECT_TRUE(Ended());

    EXPECT_EQ(HandOver(Packed({File("x", content)})), 1);
    const ModalScript about({{"About Console", [&](HWND dialog) {
                                  EXPECT_TRUE(Ended(5000));
                                  PostMessageA(dialog, WM_COMMAND, IDOK, 0);
                              }}});
    Command(CMD_ABOUT);
    EXPECT_EQ(Stored("default\\x"), content);
}
