// What happens at the same moment ends as if one had come first.

#include "fileops/BootDialog.h"
#include "fileops/ReceiveFileDialog.h"
#include "rig/Pinger.h"
#include "rig/Rig.h"
#include "tests/fileops/OperationTest.h"

#include <functional>
#include <thread>
#include <utility>

TEST_F(OperationTest, CancelEndsTheBatchAndTheNextOneIsWhole) {
    StartWithDevice("2 cancel 1"); // hits the second "rcv", see below
    const std::string large(50000, 'l');
    const std::string list = Packed({File("one", "1"), File("two", large), File("three", "3")});
    EXPECT_EQ(HandOver(list), 1);
    EXPECT_TRUE(IsWindowVisible(terminal->Operation.m_ProgressDialog));
    EXPECT_TRUE(IsCentered(terminal->Operation.m_ProgressDialog));
    EXPECT_TRUE(Ended()) << "the device gave up on the second file, the batch went on";
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + SendError + ", 1 blocks 0 errors 1");

    EXPECT_EQ(HandOver(list), 1);
    ASSERT_TRUE(
        WaitUntil([&] { return terminal->Batch.m_BatchBytesDone == 1 && Bar(IDC_FILE_BAR) > 0; }));
    PressButton(IDCANCEL);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + Cancelled);
    EXPECT_EQ(terminal->Batch.m_CancelRequested, 1U);

    EXPECT_EQ(HandOver(Packed({File("one", "1")})), 1);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1");
    // A Cancel that comes when a file has just gone through ends the batch before the next.
    EXPECT_EQ(HandOver(list), 1);
    TransferInfo info = {ERROR_IO_PENDING, 0, 0, 0, 0};
    while (terminal->Port->GetTransferInfo(&info) && info.Status == ERROR_IO_PENDING)
        Sleep(5);
    PressButton(IDCANCEL);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + Cancelled);
}

// A list that comes while a batch is ending is refused and disturbs nothing, and a close that is
// asked for then waits for what still comes.
TEST_F(OperationTest, EndOfABatchLastsUntilItsSummaryIsClosed) {
    StartWithDevice();
    terminal->Settings.m_DisplaySummary = 1;
    const HWND window = terminal->m_hWnd;
    const std::string list = Packed({File("one", "1"), folder.Path("missing")});
    const std::string other = Packed({File("other", "o")});
    for (const bool closes : {false, true}) {
        const auto about = [&](HWND dialog) {
            SendMessageA(window, WM_CLOSE, 0, 0); // only brings this dialog to the front
            EXPECT_EQ(HandOver(list), 1);
            EXPECT_TRUE(WaitUntil([&] { return Records() == "1 blocks 0 errors 1"; }));
            EXPECT_EQ(HandOver(other), 0) << "the device gets its pause";
            EXPECT_TRUE(WaitUntil([&] { return !terminal->Operation.m_ProgressDialog; }));
            EXPECT_EQ(HandOver(other), 0) << "the summary is still to come";
            EXPECT_EQ(terminal->m_SummaryDialog, nullptr) << "not above another dialog";
            if (closes)
                SendMessageA(window, WM_CLOSE, 0, 0);
            PostMessageA(dialog, WM_COMMAND, IDOK, 0);
        };
        const auto summary = [&](HWND dialog) {
            EXPECT_EQ(HandOver(other), 0) << "the summary is open";
            EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + ApiError);
            PostMessageA(dialog, WM_COMMAND, IDOK, 0);
        };
        std::vector<std::pair<std::string, ModalScript::Action>> steps = {{"About Console", about}};
        if (!closes) // who closes a terminal reads no summary
            steps.emplace_back("Sent status", summary);
        const ModalScript dialogs(steps);
        Command(CMD_ABOUT);
        EXPECT_TRUE(closes ? WaitUntil([&] { return !IsWindow(window); })
                           : WaitUntil([&] { return dialogs.Done(); }) && Ended());
    }
}

// Its batch goes on, its summary shows, and it closes, while the other one's dialog stays open.
TEST_F(OperationTest, NoTerminalWaitsForTheDialogOfAnother) {
    StartWithDevice();
    terminal->Settings.m_AskBeforeSendWrongFile = 1;
    terminal->Settings.m_DisplaySummary = 1;
    const HWND window = terminal->m_hWnd;
    Command(CMD_NEW_WINDOW);
    const std::vector<HWND> both = TerminalWindows();
    ASSERT_EQ(both.size(), 2U);
    const HWND other = both[both[0] == window];
    HWND about = nullptr;
    const auto ask = [&](HWND dialog) {
        SendMessageA(other, WM_COMMAND, CMD_ABOUT, 0);
        about = GetLastActivePopup(other);
        EXPECT_FALSE(IsWindowEnabled(other));
        SetDlgItemTextA(dialog, IDC_NEW_NAME, "good");
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    };
    const ModalScript dialogs({{"Enter new file name", ask}, {"Sent status", Press(IDOK)}});
    EXPECT_EQ(HandOver(Packed({File("a name", "1")})), 1);
    EXPECT_TRUE(WaitUntil([&] { return dialogs.Done(); }) && Ended());
    EXPECT_EQ(Stored("default\\good"), "1");
    SendMessageA(window, WM_CLOSE, 0, 0);
    EXPECT_TRUE(WaitUntil([&] { return !IsWindow(window); }));
    EXPECT_TRUE(IsWindowVisible(about));
    SendMessageA(about, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(IsWindowEnabled(other));
}

TEST_F(OperationTest, SilentDeviceHoldsNobodyAndLinesKeepTheirOrder) {
    PlantText(std::string(SettingsRoot) + "\\Instance0", "MacrosFile",
              File("macros.txt", "[macro]\none\ntwo\n"));
    ComPeer peer;
    StartConnected();
    CopyText(terminal->Settings.m_ReceiveFile, folder.Path("received").c_str());
    {
        const Pinger pinger(terminal->m_hWnd);
        SetWindowTextA(CommandBoxOf(*terminal), "ver");
        Command(MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed));
        Command(2000);
        EXPECT_TRUE(Receive());
        EXPECT_TRUE(Ended());
        EXPECT_TRUE(WaitUntil([&] { return !terminal->Port->AwaitsResults(); }, 10000));
        EXPECT_LT(pinger.Slowest(), LongestAnswer);
    }
    peer.ReceiveRest();
    Command(2000);
    Command(MAKEWPARAM(CMD_REBOOT, 1));
    EXPECT_EQ(HandOver(Packed({File("one", "1")})), 1);
    for (const char* line : {"one", "two", "reboot"}) {
        EXPECT_EQ(peer.Receive(OnTheWire(line).size()), OnTheWire(line));
        peer.Send("\x02");
    }
    EXPECT_EQ(peer.Receive(4), "rcv ");
    peer.Send("\x01");
    EXPECT_TRUE(Ended());
}

TEST_F(OperationTest, PulledCableEndsEveryOperation) {
    StartWithDevice();
    const ComPair pair = ReadComPair();
    const std::string large = File("large", std::string(50000, 'l'));
    folder.Write("device\\default\\large", std::string(50000, 'l'));
    CopyText(terminal->Settings.m_BootFile, large.c_str());
    CopyText(terminal->Settings.m_ReceiveFile, folder.Path("received\\large").c_str());
    folder.Write("received\\here", "");
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"sending",
         [&] {
             HandOver(Packed({large, File("two", "2")}));
         }},
        {"receiving", [&] { Receive(); }},
        {"waiting for a restart", [&] { OpenBootDialog(*terminal); }},
    };
    for (const auto& [name, start] : operations) {
        SCOPED_TRACE(name);
        start();
        ASSERT_NE(terminal->Operation.m_ProgressDialog, nullptr);
        WaitUntil([] { return false; }, 500); // in the middle of it
        ASSERT_NE(terminal->Operation.m_ProgressDialog, nullptr);
        if (!CutCable(pair.program))
            GTEST_SKIP() << "this null modem cannot be cut";
        EXPECT_TRUE(WaitUntil([&] { return terminal->Settings.m_PortNumber == 0; }));
        EXPECT_TRUE(Ended(5000));
        EXPECT_FALSE(folder.Exists("received\\large"));
        EXPECT_FALSE(terminal->OpenPort(pair.number, 115200)) << "it is not back yet";
        RestoreCable(pair.program);
        EXPECT_TRUE(terminal->OpenPort(pair.number, 115200));
        EXPECT_EQ(HandOver(Packed({File("next", name)})), 1);
        EXPECT_TRUE(Ended());
        EXPECT_EQ(folder.Read("device\\default\\next"), name);
    }
    HandOver(Packed({large}));
    CutCable(pair.program);
    EXPECT_TRUE(Ended(5000));
    EXPECT_EQ(Records(), SendError);
    RestoreCable(pair.program);
}

TEST_F(OperationTest, ClosingTheTerminalEndsWhatRuns) {
    StartWithDevice();
    for (const bool session : {true, false}) {
        EXPECT_EQ(HandOver(Packed({File("one", std::string(50000, '1'))})), 1);
        EXPECT_TRUE(WaitUntil([&] { return Bar(IDC_FILE_BAR) > 0; }));
        if (!session)
            continue;
        EXPECT_NE(SendMessageA(terminal->m_hWnd, WM_QUERYENDSESSION, 0, 0), 0);
        SendMessageA(terminal->m_hWnd, WM_ENDSESSION, TRUE, 0);
        TransferInfo info = {};
        EXPECT_TRUE(terminal->Port->GetTransferInfo(&info));
        EXPECT_EQ(info.Status, DWORD{ERROR_CANCELLED}) << "no message comes any more";
        EXPECT_TRUE(Ended());
    }
    EXPECT_TRUE(Close());
}
