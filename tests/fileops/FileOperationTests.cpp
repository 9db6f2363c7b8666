// Whole operations: from the list to the last record, with the simulated device.

#include "fileops/BootDialog.h"
#include "rig/Pinger.h"
#include "rig/Rig.h"
#include "rig/SystemObjects.h"
#include "settings/MusicSupport.h"
#include "terminal/Dialogs.h"
#include "terminal/Placement.h"
#include "tests/fileops/OperationTest.h"

#include <shlobj.h>

#include <cstring>
#include <functional>

TEST_F(OperationTest, BatchOfAllKindsIsSentAndRecorded) {
    StartWithDevice("1 pause 4 2000"); // time to look at the fourth block's progress
    terminal->Settings.m_ShowProgress = 0;
    terminal->SelectDevice("b");
    const std::string large = RandomBytes(2000, 1);
    const std::string list =
        Packed({File("large.bin", large), File("bad name.txt", "x"), File("empty.txt", ""),
                File("-worse", "x"), File("folder name\\small.txt", "small")});
    EXPECT_EQ(HandOver(list), 1);
    const HWND dialog = terminal->Operation.m_ProgressDialog;
    EXPECT_FALSE(IsWindowVisible(dialog)) << "progress is not to be shown";
    EXPECT_EQ(Item(IDC_FILE_LINE), "Sending " + folder.Path("large.bin"));
    EXPECT_TRUE(IsBusy(*terminal));
    EXPECT_TRUE(WaitUntil([&] { return StatusText() == "1536 of 2007 bytes sended"; }));
    EXPECT_EQ(Item(IDC_PROGRESS_LINE), "1536 of 2000 (3 blocks, 0 errors)");
    EXPECT_EQ(Bar(IDC_FILE_BAR), 76);
    EXPECT_EQ(Bar(IDC_BATCH_BAR), 76);
    const std::string left = Item(IDC_TIME_LEFT); // of 471 bytes at some 5 KB a second
    EXPECT_TRUE(left.rfind("0:0", 0) == 0 && left.substr(4) == " left") << left;

    // Another list is refused, and nothing is disturbed by it.
    EXPECT_EQ(HandOver(Packed({"C:\\other"})), 0);
    Command(CMD_SEND_FILES);
    Command(CMD_BOOT_FILE);
    EXPECT_EQ(terminal->Operation.m_ProgressDialog, dialog);

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
    terminal->Settings.m_AskBeforeSendWrongFile = 1;
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

TEST_F(OperationTest, FilesThatCannotBeReadEndTheBatch) {
    StartWithDevice();
    const std::string missing = folder.Path("missing");
    EXPECT_EQ(HandOver(Packed({missing, File("one", "1")})), 0);
    EXPECT_EQ(Records(), ApiError);
    ASSERT_TRUE(Ended());
    EXPECT_FALSE(IsBusy(*terminal));
    // Without a port nothing starts either.
    Command(CMD_PORT_NONE);
    EXPECT_EQ(HandOver(Packed({File("one", "1")})), 0);
    EXPECT_EQ(Records(), ApiError);
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
    const char* at = terminal->Batch.m_Results;
    while ((at = GetResult(at, result)) != nullptr && result.code == ResultWrongName)
        ++wrong;
    EXPECT_EQ(wrong, 3000);
    EXPECT_EQ(result.code, ResultApiError);
    EXPECT_GE(terminal->Batch.m_ResultsSize, 2 * 3000U);
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
        SendMessageA(OutputOf(*terminal), WM_DROPFILES, reinterpret_cast<WPARAM>(memory), 0);
    };
    drop();
    const HWND dialog = terminal->Operation.m_ProgressDialog;
    ASSERT_NE(dialog, nullptr);
    drop(); // ignored
    EXPECT_EQ(terminal->Operation.m_ProgressDialog, dialog);
    EXPECT_TRUE(LoseNotices(NotifyTransfer)) << "the last of the first file";
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, 1 blocks 0 errors 2");
}

TEST_F(OperationTest, ConvertedFileIsSentAloneAndItsCommandFollows) {
    StartWithDevice();
    const std::string ini =
        File("music.ini", "[Music Support]\nMusicSupport=1\nMusicSupportExt=2\n"
                          "MusicSupportExt0=mid\nMusicSupportConverter0=cmd.exe /c copy\n"
                          "MusicSupportNewExt0=mel\nMusicSupportCommand0=echo play\n"
                          "MusicSupportExt1=slow\nMusicSupportConverter1=cmd.exe /c " +
                              File("slow.cmd", "@ping -n 20 127.0.0.1 > nul\r\n") + "\n");
    MergeMusicSupportIni(terminal->Settings, ini.c_str());
    const std::string song = File("a folder\\song.MID", "music");
    EXPECT_EQ(HandOver(Packed({song, File("other", "o")})), 1);
    EXPECT_EQ(Item(IDC_FILE_LINE), "Converting " + song);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 5");
    EXPECT_EQ(DeviceNames(), "song.mel");
    EXPECT_EQ(Stored("default\\song.mel"), "music");
    EXPECT_TRUE(WaitUntil([&] {
        return TextOf(OutputOf(*terminal)).find("play song.mel\r\n") != std::string::npos;
    }));
    // Only the first file counts; without an extension of the table nothing follows.
    EXPECT_EQ(HandOver(Packed({File("other", "o"), song})), 1);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(DeviceNames(), "other,song.MID");
    EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, -1);
    // A converter that sleeps holds nobody, and Cancel ends it.
    EXPECT_EQ(HandOver(Packed({File("song.slow", "s")})), 1);
    const Pinger pinger(terminal->m_hWnd);
    WaitUntil([] { return false; }, 1000);
    EXPECT_EQ(HandOver(Packed({song})), 0);
    PressButton(IDCANCEL);
    EXPECT_TRUE(Ended());
    EXPECT_EQ(Records(), Cancelled);
    EXPECT_LT(pinger.Slowest(), 1000U);
}

TEST_F(OperationTest, ScreenImageHasNoNameCheckAndNoSummary) {
    StartWithDevice();
    terminal->Settings.m_DisplaySummary = 1;
    terminal->Settings.m_ShowProgress = 0;
    CopyText(terminal->Settings.m_ImageFile, File("an image!", std::string(1000, 'i')).c_str());
    {
        const ModalScript choice({{"Image File", Press(IDOK)}}); // the one that is offered
        Command(CMD_SEND_IMAGE);
    }
    EXPECT_EQ(TextOf(terminal->Operation.m_ProgressDialog), "Sending Image File");
    EXPECT_TRUE(IsWindowVisible(terminal->Operation.m_ProgressDialog));
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "3 blocks 0 errors 1000");
    EXPECT_EQ(Stored("default\\screen.img"), std::string(792, 'i')) << "whole blocks of 264";
    PumpMessages();
    EXPECT_EQ(terminal->m_SummaryDialog, nullptr);
}

TEST_F(OperationTest, ReceivedFileIsWholeAndTheConsoleGoesOn) {
    StartWithDevice("2 pause 2 1500");
    const std::string content = RandomBytes(1300, 5);
    folder.Write("device\\MP3\\song", content);
    terminal->SelectDevice("MP3");
    EXPECT_EQ(HandOver(Packed({"C:\\wrong name"})), 0);
    EXPECT_EQ(Records(), Wrong);
    ASSERT_TRUE(Ended());
    CopyText(terminal->Settings.m_ReceiveFile, folder.Path("song").c_str());
    EXPECT_TRUE(Receive());
    EXPECT_EQ(Item(IDC_FILE_LINE), "Receiving " + folder.Path("song"));
    EXPECT_FALSE(terminal->StartSendList("C:\\x\0", 6)) << "one operation at a time";
    EXPECT_TRUE(WaitUntil([&] { return Item(IDC_PROGRESS_LINE) == "512 (1 blocks, 0 errors)"; }));
    EXPECT_EQ(StatusText(), "512 of 512 bytes received");
    ASSERT_TRUE(Ended());
    EXPECT_TRUE(folder.Read("song") == content);
    EXPECT_EQ(Records(), "") << "a receive leaves none";
    EXPECT_TRUE(terminal->Port->SendCommand("ver"));
    EXPECT_TRUE(
        WaitUntil([&] { return TextOf(OutputOf(*terminal)).find("pc off") != std::string::npos; }));

    // Canceled, and refused by the device: neither reads like success.
    EXPECT_EQ(StatusText(), "1300 of 1300 bytes received");
    ASSERT_TRUE(Receive());
    EXPECT_EQ(StatusText(), "");
    PressButton(IDCANCEL);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(StatusText().rfind("Receive failed: ", 0), 0U) << StatusText();
    EXPECT_TRUE(folder.Read("song") == content) << "the earlier file stays";
    CopyText(terminal->Settings.m_ReceiveFile, folder.Path("none").c_str());
    EXPECT_TRUE(Receive());
    EXPECT_TRUE(Ended());
    EXPECT_EQ(StatusText(), "Receive failed: no answer, or the device gave up");
    EXPECT_FALSE(IsBusy(*terminal));
    // The local path stays the user's: of the device's name only its last part counts.
    Command(CMD_PORT_NONE);
    EXPECT_FALSE(Receive());
    EXPECT_EQ(terminal->Operation.m_ProgressDialog, nullptr);
    EXPECT_EQ(StatusText(), "Receive failed: no port is open");
}

TEST_F(OperationTest, HandOverRestoresAMinimizedTerminalWithItsDialogInSight) {
    StartWithDevice("1 pause 0 1000");
    SetWindowPos(terminal->m_hWnd, nullptr, -300, 100, 400, 300, SWP_NOZORDER);
    ShowWindow(terminal->m_hWnd, SW_MINIMIZE);
    ASSERT_TRUE(IsIconic(terminal->m_hWnd));
    ASSERT_EQ(HandOver(Packed({File("x.txt", "x")})), 1);
    EXPECT_FALSE(IsIconic(terminal->m_hWnd));
    const HWND dialog = terminal->Operation.m_ProgressDialog;
    EXPECT_TRUE(IsWindowVisible(dialog));
    EXPECT_TRUE(IsInSight(RectOf(dialog)));
    ASSERT_TRUE(Ended());
    ShowWindow(terminal->m_hWnd, SW_MINIMIZE);
    PostMessageA(terminal->m_hWnd, WM_COMMAND, CMD_ABOUT, 0);
    const ModalScript about({{"About Console",
                              [](HWND window) {
                                  RECT area = {};
                                  SystemParametersInfoA(SPI_GETWORKAREA, 0, &area, 0);
                                  const RECT own = RectOf(window);
                                  EXPECT_TRUE(own.left >= area.left && own.top >= area.top);
                                  PostMessageA(window, WM_COMMAND, IDOK, 0);
                              }}});
    EXPECT_TRUE(WaitUntil([&] { return about.Done(); }));
}

TEST_F(OperationTest, BootWaitsForTheRestart) {
    sim::DeviceSetup quick;
    quick.restartPause = 100;
    StartWithDevice("2 pause 5 1000", quick);
    CopyText(terminal->Settings.m_BootFile, folder.Path("none").c_str());
    OpenBootDialog(*terminal);
    EXPECT_EQ(terminal->Operation.m_ProgressDialog, nullptr) << "the file does not exist";

    terminal->Settings.m_ShowProgress = 0;
    CopyText(terminal->Settings.m_BootFile, File("new.boot", std::string(3000, 'b')).c_str());
    {
        const ModalScript choice({{"Boot File", Press(IDOK)}}); // the one that is offered
        Command(CMD_BOOT_FILE);
    }
    const HWND dialog = terminal->Operation.m_ProgressDialog;
    ASSERT_NE(dialog, nullptr);
    EXPECT_TRUE(IsWindowVisible(dialog));
    EXPECT_EQ(Item(IDC_PROGRESS_LINE), "Waiting for reboot...");
    SetForegroundWindow(dialog); // the command has given the keyboard to the command box
    EXPECT_EQ(LOWORD(SendMessageA(dialog, DM_GETDEFID, 0, 0)), IDCANCEL);
    for (const int focused : {IDCANCEL, IDC_REBOOT}) { // Enter presses the one that is drawn so
        EXPECT_EQ(GetFocus(), GetDlgItem(dialog, focused));
        for (const int button : {IDCANCEL, IDC_REBOOT})
            EXPECT_EQ(GetWindowLongPtrA(GetDlgItem(dialog, button), GWL_STYLE) & BS_TYPEMASK,
                      button == focused ? BS_DEFPUSHBUTTON : BS_PUSHBUTTON);
        SendMessageA(dialog, WM_NEXTDLGCTL, 0, FALSE);
    }
    FocusControl(dialog, IDC_REBOOT);
    PressButton(IDC_REBOOT);
    EXPECT_TRUE(IsWindowVisible(GetDlgItem(dialog, IDC_REBOOT)));
    EXPECT_TRUE(
        WaitUntil([&] { return Item(IDC_PROGRESS_LINE).rfind("2048 of 3000 (4", 0) == 0; }));
    EXPECT_FALSE(IsWindowVisible(GetDlgItem(dialog, IDC_REBOOT)));
    EXPECT_EQ(GetFocus(), GetDlgItem(dialog, IDCANCEL));
    EXPECT_EQ(LOWORD(SendMessageA(dialog, DM_GETDEFID, 0, 0)), IDCANCEL);
    EXPECT_EQ(Bar(IDC_FILE_BAR), 68);
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Stored("default\\new.boot"), std::string(3000, 'b'));
    EXPECT_EQ(Records(), "");

    OpenBootDialog(*terminal);
    PressButton(IDCANCEL);
    EXPECT_TRUE(Ended(2000)) << "nothing is under way yet";
}

TEST_F(OperationTest, OperationsLeaveNoObjectsBehind) {
    StartWithDevice("every refuse"); // a file is refused at once
    terminal->Settings.m_DisplaySummary = 1;
    const std::string refused = Packed({File("x", "x")});
    const std::string wrong = Packed({"C:\\wrong name"});
    const auto operate = [&](int times) {
        for (int i = 0; i < times; ++i) {
            const ModalScript summary({{"Sent status", Press(IDOK)}});
            HandOver(i % 4 == 0 ? refused : wrong);
            EXPECT_TRUE(Ended() && WaitUntil([&] { return summary.Done(); }));
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
