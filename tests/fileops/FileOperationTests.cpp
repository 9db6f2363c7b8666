// Whole operations: from the list to the last record, with the simulated device.

#include "fileops/BootDialog.h"
#include "rig/Rig.h"
#include "rig/SystemObjects.h"
#include "settings/MusicSupport.h"
#include "tests/fileops/OperationTest.h"

#include <shlobj.h>

#include <cstring>
#include <functional>

namespace {

const std::string Wrong = std::to_string(ResultWrongName);
const std::string SendError = std::to_string(ResultSendError);
const std::string ApiError = std::to_string(ResultApiError);
const std::string Cancelled = std::to_string(ResultCancelled);

} // namespace

TEST_F(OperationTest, BatchOfAllKindsIsSentAndRecorded) {
    StartWithDevice("1 pause 4 1000"); // time to look at the fourth block's progress
    terminal->m_ShowProgress = 0;
    terminal->SelectDevice("b");
    const std::string large = RandomBytes(2000, 1);
    const std::string list =
        Packed({File("large.bin", large), File("bad name.txt", "x"), File("empty.txt", ""),
                File("-worse", "x"), File("folder name\\small.txt", "small")});
    EXPECT_EQ(HandOver(list), 1);
    const HWND dialog = terminal->m_ProgressDialog;
    EXPECT_FALSE(IsWindowVisible(dialog)) << "progress is not to be shown";
    EXPECT_EQ(Item(IDC_FILE_LINE), "Sending " + folder.Path("large.bin"));
    EXPECT_TRUE(ItemIsGrayed(0, 0) ||
                (GetMenuState(GetMenu(terminal->m_hWnd), 0, MF_BYPOSITION) & MF_GRAYED));
    EXPECT_TRUE(WaitUntil([&] { return StatusText() == "1536 of 2007 bytes sended"; }));
    EXPECT_EQ(Item(IDC_PROGRESS_LINE), "1536 of 2000 (3 blocks, 0 errors)");
    EXPECT_EQ(Bar(IDC_FILE_BAR), 76);
    EXPECT_EQ(Bar(IDC_BATCH_BAR), 76);

    // Another list is refused, and nothing is disturbed by it.
    EXPECT_EQ(HandOver(Packed({"C:\\other"})), 0);
    Command(CMD_SEND_FILES);
    Command(CMD_BOOT_FILE);
    EXPECT_EQ(terminal->m_ProgressDialog, dialog);

    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "4 blocks 0 errors 2000, " + Wrong + ", 1 blocks 0 errors 0, " + Wrong +
                             ", 1 blocks 0 errors 5");
    EXPECT_EQ(DeviceNames(), "large.bin,empty.txt,small.txt");
    EXPECT_EQ(StatusText(), "");
    EXPECT_TRUE(Stored("b\\large.bin") == large);
    EXPECT_EQ(Stored("b\\small.txt"), "small");
    EXPECT_TRUE(folder.Exists("device\\b\\empty.txt"));
    EXPECT_TRUE(ButtonIsEnabled(CMD_SEND_FILES));
}

TEST_F(OperationTest, WrongNamesAreAskedFor) {
    StartWithDevice();
    terminal->m_AskBeforeSendWrongFile = 1;
    const auto answer = [](const char* name, bool valid) {
        return [name, valid](HWND dialog) {
            EXPECT_FALSE(IsWindowEnabled(GetDlgItem(dialog, IDOK)));
            EXPECT_EQ(TextOf(GetDlgItem(dialog, IDC_NEW_NAME)), "my song!.txt");
            EXPECT_EQ(TextOf(GetDlgItem(dialog, IDC_FILE_LINE)), "my song!.txt");
            SetDlgItemTextA(dialog, IDC_NEW_NAME, name);
            EXPECT_EQ(IsWindowEnabled(GetDlgItem(dialog, IDOK)) != 0, valid) << name;
            if (!valid)
                SendMessageA(dialog, WM_COMMAND, IDOK, 0); // must not close it
            SetDlgItemTextA(dialog, IDC_NEW_NAME, valid ? name : "corrected");
            PostMessageA(dialog, WM_COMMAND, IDOK, 0);
        };
    };
    const std::string bad = File("my song!.txt", "song");
    const ModalScript dialogs({{"Enter new file name", answer("renamed.txt", true)},
                               {"Enter new file name", answer("still bad?", false)},
                               {"Enter new file name", Press(IDCANCEL)}});
    EXPECT_EQ(HandOver(Packed({bad, bad, bad, File("good", "g")})), 1);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(),
              "1 blocks 0 errors 4, 1 blocks 0 errors 4, " + Wrong + ", 1 blocks 0 errors 1");
    EXPECT_EQ(DeviceNames(), "renamed.txt,corrected,good");
    EXPECT_EQ(Stored("default\\corrected"), "song");
}

TEST_F(OperationTest, CancelEndsTheBatchAndTheNextOneIsWhole) {
    StartWithDevice("2 cancel 1"); // hits the second "rcv", see below
    const std::string large(50000, 'l');
    const std::string list = Packed({File("one", "1"), File("two", large), File("three", "3")});
    EXPECT_EQ(HandOver(list), 1);
    EXPECT_TRUE(IsWindowVisible(terminal->m_ProgressDialog));
    EXPECT_TRUE(Ended()) << "the device gave up on the second file, the batch went on";
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + SendError + ", 1 blocks 0 errors 1");

    EXPECT_EQ(HandOver(list), 1);
    ASSERT_TRUE(
        WaitUntil([&] { return terminal->m_BatchBytesDone == 1 && Bar(IDC_FILE_BAR) > 0; }));
    PressButton(IDCANCEL);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + Cancelled);
    EXPECT_EQ(terminal->m_CancelRequested, 1U);

    EXPECT_EQ(HandOver(Packed({File("one", "1")})), 1);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1");
    // A Cancel that comes when a file has just gone through ends the batch before the next.
    EXPECT_EQ(HandOver(list), 1);
    terminal->m_CancelRequested = 1;
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + Cancelled);
}

TEST_F(OperationTest, FilesThatCannotBeReadEndTheBatch) {
    StartWithDevice();
    const std::string missing = folder.Path("missing");
    EXPECT_EQ(HandOver(Packed({missing, File("one", "1")})), 0);
    EXPECT_EQ(Records(), ApiError);
    EXPECT_EQ(HandOver(Packed({File("one", "1"), missing, File("two", "2")})), 1);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, " + ApiError);
    EXPECT_FALSE(terminal->m_Busy);
    // Without a port nothing starts either.
    Command(CMD_PORT_NONE);
    EXPECT_EQ(HandOver(Packed({File("one", "1")})), 0);
    EXPECT_EQ(Records(), ApiError);
}

TEST_F(OperationTest, PulledCableEndsEveryOperation) {
    StartWithDevice();
    const ComPair pair = ReadComPair();
    const std::string large = File("large", std::string(50000, 'l'));
    folder.Write("device\\default\\large", std::string(50000, 'l'));
    CopyText(terminal->m_BootFile, large.c_str());
    CopyText(terminal->m_ReceiveFile, folder.Path("received\\large").c_str());
    folder.Write("received\\here", "");
    const std::pair<const char*, std::function<void()>> operations[] = {
        {"sending",
         [&] {
             HandOver(Packed({large, File("two", "2")}));
         }},
        {"receiving", [&] { terminal->StartReceiveList(); }},
        {"waiting for a restart", [&] { OpenBootDialog(*terminal); }},
    };
    for (const auto& [name, start] : operations) {
        SCOPED_TRACE(name);
        start();
        ASSERT_NE(terminal->m_ProgressDialog, nullptr);
        WaitUntil([] { return false; }, 500); // in the middle of it
        ASSERT_NE(terminal->m_ProgressDialog, nullptr);
        if (!CutCable(pair.program))
            GTEST_SKIP() << "this null modem cannot be cut";
        EXPECT_TRUE(WaitUntil([&] { return terminal->m_PortNumber == 0; }, 2000));
        EXPECT_TRUE(Ended(3000));
        EXPECT_FALSE(folder.Exists("received\\large"));
        EXPECT_FALSE(terminal->OpenPort(pair.number, 115200)) << "it is not back yet";
        RestoreCable(pair.program);
        EXPECT_TRUE(terminal->OpenPort(pair.number, 115200));
        EXPECT_TRUE(WaitUntil([&] {
            return terminal->Port->SendCommand("ver") || (terminal->Port->SendCommand("c"), false);
        }));
    }
    HandOver(Packed({large}));
    CutCable(pair.program);
    EXPECT_TRUE(Ended(5000));
    EXPECT_EQ(Records(), SendError);
    RestoreCable(pair.program);
}

TEST_F(OperationTest, ListsOfAnyShapeAndLength) {
    StartWithDevice();
    for (const std::string& broken : {std::string(), std::string(1, '\0'), std::string("C:\\a"),
                                      std::string("C:\\a\0C:\\b", 9), std::string("C:\\a\0", 5)})
        EXPECT_EQ(HandOver(broken), 0) << broken.size();
    EXPECT_EQ(Records(), "");
    // More names and records than the buffers held at first, and paths beyond any field.
    std::vector<std::string> paths(3000, "C:\\some folder\\wrong name");
    paths.push_back("C:\\" + std::string(400, 'f') + "\\name");
    EXPECT_EQ(HandOver(Packed(paths)), 0);
    TransferResult result;
    int wrong = 0;
    const char* at = terminal->m_Results;
    while ((at = GetResult(at, result)) != nullptr && result.code == ResultWrongName)
        ++wrong;
    EXPECT_EQ(wrong, 3000);
    EXPECT_EQ(result.code, ResultApiError);
    EXPECT_GE(terminal->m_ResultsSize, 2 * 3000U);
}

TEST_F(OperationTest, DroppedFilesAreSent) {
    StartWithDevice();
    const std::string paths = Packed({File("one", "1"), File("two", "22")});
    const auto drop = [&] {
        const HGLOBAL memory = GlobalAlloc(GHND, sizeof(DROPFILES) + paths.size());
        auto* header = static_cast<DROPFILES*>(GlobalLock(memory));
        header->pFiles = sizeof(DROPFILES);
        std::memcpy(header + 1, paths.data(), paths.size());
        GlobalUnlock(memory);
        SendMessageA(terminal->m_hOutput, WM_DROPFILES, reinterpret_cast<WPARAM>(memory), 0);
    };
    drop();
    const HWND dialog = terminal->m_ProgressDialog;
    ASSERT_NE(dialog, nullptr);
    drop(); // ignored
    EXPECT_EQ(terminal->m_ProgressDialog, dialog);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, 1 blocks 0 errors 2");
}

TEST_F(OperationTest, ConvertedFileIsSentAloneAndItsCommandFollows) {
    StartWithDevice();
    const std::string ini =
        File("music.ini", "[Music Support]\nMusicSupport=1\nMusicSupportExt=1\n"
                          "MusicSupportExt0=mid\nMusicSupportConverter0=cmd.exe /c copy\n"
                          "MusicSupportNewExt0=mel\nMusicSupportCommand0=echo play\n");
    MergeMusicSupportIni(*terminal, ini.c_str());
    const std::string song = File("a folder\\song.MID", "music");
    EXPECT_EQ(HandOver(Packed({song, File("other", "o")})), 1);
    EXPECT_EQ(Item(IDC_FILE_LINE), "Sending " + folder.Path("a folder\\song.mel"));
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 5");
    EXPECT_EQ(DeviceNames(), "song.mel");
    EXPECT_EQ(Stored("default\\song.mel"), "music");
    EXPECT_TRUE(WaitUntil([&] {
        return TextOf(terminal->m_hOutput).find("play song.mel\r\n") != std::string::npos;
    }));
    // Only the first file counts; without an extension of the table nothing follows.
    EXPECT_EQ(HandOver(Packed({File("other", "o"), song})), 1);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(DeviceNames(), "other,song.MID");
    EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, -1);
}

TEST_F(OperationTest, ScreenImageHasNoNameCheckAndNoSummary) {
    StartWithDevice();
    terminal->m_DisplaySummary = 1;
    terminal->m_ShowProgress = 0;
    CopyText(terminal->m_ImageFile, File("an image!", std::string(1000, 'i')).c_str());
    EXPECT_TRUE(terminal->StartSendBatch(true));
    EXPECT_EQ(TextOf(terminal->m_ProgressDialog), "Sending Image File");
    EXPECT_TRUE(IsWindowVisible(terminal->m_ProgressDialog));
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "3 blocks 0 errors 1000");
    EXPECT_EQ(Stored("default\\screen.img"), std::string(792, 'i')) << "whole blocks of 264";
    PumpMessages();
    EXPECT_EQ(terminal->m_SummaryDialog, nullptr);
}

TEST_F(OperationTest, ReceivedFileIsWholeAndTheConsoleGoesOn) {
    StartWithDevice("2 pause 2 700");
    const std::string content = RandomBytes(1300, 5);
    folder.Write("device\\MP3\\song", content);
    terminal->SelectDevice("MP3");
    EXPECT_EQ(HandOver(Packed({"C:\\wrong name"})), 0);
    EXPECT_EQ(Records(), Wrong);
    CopyText(terminal->m_ReceiveFile, folder.Path("song").c_str());
    EXPECT_TRUE(terminal->StartReceiveList());
    EXPECT_EQ(Item(IDC_FILE_LINE), "Receiving " + folder.Path("song"));
    EXPECT_FALSE(terminal->StartSendList("C:\\x\0", 6)) << "one operation at a time";
    EXPECT_TRUE(WaitUntil([&] { return Item(IDC_PROGRESS_LINE) == "512 (1 blocks, 0 errors)"; }));
    EXPECT_EQ(StatusText(), "512 of 512 bytes received");
    ASSERT_TRUE(Ended());
    EXPECT_TRUE(folder.Read("song") == content);
    EXPECT_EQ(Records(), "") << "a receive leaves none";
    EXPECT_TRUE(terminal->Port->SendCommand("ver"));
    EXPECT_TRUE(
        WaitUntil([&] { return TextOf(terminal->m_hOutput).find("pc off") != std::string::npos; }));

    // Canceled, and refused by the device.
    ASSERT_TRUE(terminal->StartReceiveList());
    PressButton(IDCANCEL);
    ASSERT_TRUE(Ended());
    EXPECT_FALSE(folder.Exists("song"));
    CopyText(terminal->m_ReceiveFile, folder.Path("none").c_str());
    EXPECT_TRUE(terminal->StartReceiveList());
    EXPECT_TRUE(Ended());
    EXPECT_FALSE(terminal->m_Busy);
    // The local path stays the user's: of the device's name only its last part counts.
    Command(CMD_PORT_NONE);
    EXPECT_FALSE(terminal->StartReceiveList());
    EXPECT_EQ(terminal->m_ProgressDialog, nullptr);
}

TEST_F(OperationTest, BootWaitsForTheRestart) {
    sim::DeviceSetup quick;
    quick.restartPause = 100;
    StartWithDevice("2 pause 5 1000", quick);
    CopyText(terminal->m_BootFile, folder.Path("none").c_str());
    OpenBootDialog(*terminal);
    EXPECT_EQ(terminal->m_ProgressDialog, nullptr) << "the file does not exist";

    terminal->m_ShowProgress = 0;
    CopyText(terminal->m_BootFile, File("new.boot", std::string(3000, 'b')).c_str());
    {
        const ModalScript choice({{"Boot File", Press(IDOK)}}); // the one that is offered
        Command(CMD_BOOT_FILE);
    }
    const HWND dialog = terminal->m_ProgressDialog;
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(IsWindowVisible(dialog));
    EXPECT_EQ(Item(IDC_PROGRESS_LINE), "Waiting for reboot...");
    PressButton(IDC_REBOOT);
    EXPECT_TRUE(IsWindowVisible(GetDlgItem(dialog, IDC_REBOOT)));
    EXPECT_TRUE(
        WaitUntil([&] { return Item(IDC_PROGRESS_LINE).rfind("2048 of 3000 (4", 0) == 0; }));
    EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, IDC_REBOOT)));
    EXPECT_EQ(Bar(IDC_FILE_BAR), 68);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Stored("default\\new.boot"), std::string(3000, 'b'));
    EXPECT_EQ(Records(), "");

    OpenBootDialog(*terminal);
    PressButton(IDCANCEL);
    EXPECT_TRUE(Ended(500)) << "nothing is under way yet";
}

TEST_F(OperationTest, ClosingTheTerminalEndsWhatRuns) {
    StartWithDevice();
    EXPECT_EQ(HandOver(Packed({File("one", std::string(50000, '1'))})), 1);
    EXPECT_TRUE(WaitUntil([&] { return Bar(IDC_FILE_BAR) > 0; }));
    const ULONGLONG start = GetTickCount64();
    SendMessageA(terminal->m_hWnd, WM_CLOSE, 0, 0);
    EXPECT_LT(GetTickCount64() - start, 3000U);
    EXPECT_TRUE(TerminalWindows().empty());
}

TEST_F(OperationTest, OperationsLeaveNoObjectsBehind) {
    StartWithDevice("every refuse"); // a file is refused at once
    terminal->m_DisplaySummary = 1;
    const std::string refused = Packed({File("x", "x")});
    const std::string wrong = Packed({"C:\\wrong name"});
    const auto operate = [&](int times) {
        for (int i = 0; i < times; ++i) {
            const ModalScript summary({{"Sent status", Press(IDOK)}});
            HandOver(i % 4 == 0 ? refused : wrong);
            EXPECT_TRUE(Ended() && WaitUntil([&] { return summary.Done(); }));
            EXPECT_TRUE(WaitUntil([&] { return !terminal->m_SummaryDialog; }));
        }
    };
    operate(8);
    const SystemObjects before = CountSystemObjects();
    operate(200);
    const SystemObjects after = CountSystemObjects();
    EXPECT_LE(after.gdi, before.gdi + 40) << "fewer than one for every fifth operation";
    EXPECT_LE(after.handles, before.handles + 20);
    EXPECT_LE(after.user, before.user + 60) << "in Wine other processes count, too";
}
