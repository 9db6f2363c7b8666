// Somebody uses the window while a file goes over.

#include "tests/fileops/OperationTest.h"

namespace {

// Sends a file while a modal loop runs, and leaves that once the transfer is over.
class LoopTest : public OperationTest {
protected:
    void Send() {
        folder.Write("device\\default\\x", "");
        EXPECT_EQ(HandOver(Packed({File("x", content)})), 1);
    }

    void ExpectSent() {
        EXPECT_EQ(terminal->Operation.m_ProgressDialog, nullptr) << "the loop was left early";
        EXPECT_TRUE(Ended());
        EXPECT_LT(Done - start, 5000U) << "it was slowed";
        EXPECT_EQ(Stored("default\\x"), content);
    }

    // Sends the message that begins the loop.
    void Loop(HWND window, UINT message, WPARAM command, LPARAM at) {
        Window = window;
        Done = 0;
        Send();
        const UINT_PTR timer = SetTimer(nullptr, 0, 20, [](HWND, UINT, UINT_PTR, DWORD) {
            if (TerminalOf(TerminalWindows()[0]).Operation.m_ProgressDialog || Done)
                return;
            Done = GetTickCount64();
            ReleaseCapture();
            PostMessageA(Window, WM_CANCELMODE, 0, 0);
            PostMessageA(Window, WM_KEYDOWN, VK_ESCAPE, 0);
            PostMessageA(Window, WM_LBUTTONUP, 0, 0);
        });
        start = GetTickCount64();
        SendMessageA(window, message, command, at);
        EXPECT_TRUE(WaitUntil([] { return Done != 0; }));
        KillTimer(nullptr, timer);
        ExpectSent();
    }

    static inline HWND Window = nullptr;
    static inline ULONGLONG Done = 0;
    ULONGLONG start = 0;
    const std::string content = std::string(4096, 'x');
};

} // namespace

// An open menu, a scroll bar that is held and a modal dialog run message loops of their own; the
// transfer goes on in them, and while an edge is dragged.
TEST_F(LoopTest, TransferGoesOn) {
    StartWithDevice();
    Loop(terminal->m_hWnd, WM_SYSCOMMAND, SC_KEYMENU, 'v');
    const RECT rect = RectOf(OutputOf(*terminal));
    Loop(OutputOf(*terminal), WM_NCLBUTTONDOWN, HTVSCROLL,
         MAKELPARAM(rect.right - 8, rect.bottom - 30));

    // A dragged edge is a storm of sizes; what else happens then is the window manager's.
    Send();
    int size = 0;
    EXPECT_TRUE(WaitUntil([&] {
        size = (size + 7) % 300;
        MoveWindow(terminal->m_hWnd, 20, 20, 400 + size, 300 + size, TRUE);
        return !terminal->Operation.m_ProgressDialog;
    }));
    ExpectSent();

    Send();
    const ModalScript about({{"About Console", [&](HWND dialog) {
                                  EXPECT_TRUE(Ended(5000));
                                  PostMessageA(dialog, WM_COMMAND, IDOK, 0);
                              }}});
    Command(CMD_ABOUT);
    EXPECT_TRUE(WaitUntil([&] { return about.Done(); }));
    ExpectSent();
}
