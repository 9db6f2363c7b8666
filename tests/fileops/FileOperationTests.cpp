// Batches from the list to the last record, with the simulated device.

#include "rig/Pinger.h"
#include "rig/SystemObjects.h"
#include "settings/MusicSupport.h"
#include "terminal/Placement.h"
#include "tests/fileops/OperationTest.h"

#include <shlobj.h>

#include <cstring>

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
    std::string grayed; // menus
    for (UINT menu = 0; menu < 8; ++menu)
        if (GetMenuState(GetMenu(terminal->m_hWnd), menu, MF_BYPOSITION) & MF_GRAYED)
            grayed += std::to_string(menu);
    EXPECT_EQ(grayed, "02345");
    EXPECT_FALSE(ButtonIsEnabled(CMD_RECEIVE_FILE));
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
    EXPECT_TRUE(ButtonIsEnabled(CMD_SEND_FILES) && !IsBusy(*terminal));
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

TEST_F(OperationTest, ListsThatCannotBeSentAreRefused) {
    StartWithDevice();
    for (const std::string& broken : {std::string(), std::string(1, '\0'), std::string("C:\\a"),
                                      std::string("C:\\a\0C:\\b", 9), std::string("C:\\a\0", 5)})
        EXPECT_EQ(HandOver(broken), 0) << broken.size();
    EXPECT_EQ(Records(), "");
    for (const bool open : {true, false}) { // a file that is not there, and no port
        EXPECT_EQ(HandOver(Packed({open ? folder.Path("missing") : File("one", "1")})), 0);
        EXPECT_EQ(Records(), ApiError);
        ASSERT_TRUE(Ended());
        EXPECT_FALSE(IsBusy(*terminal));
        Command(CMD_PORT_NONE);
    }
}

// Characters of either kind: a list of names that fits its memory just so.
template <typename Names> HGLOBAL MakeDrop(const Names& names) {
    const std::size_t size = names.size() * sizeof(names[0]);
    const HGLOBAL memory = GlobalAlloc(GHND, sizeof(DROPFILES) + size);
    auto* header = static_cast<DROPFILES*>(GlobalLock(memory));
    header->pFiles = sizeof(DROPFILES);
    header->fWide = sizeof(names[0]) > 1;
    std::memcpy(header + 1, names.data(), size);
    GlobalUnlock(memory);
    return memory;
}

TEST_F(OperationTest, DroppedFilesAreSent) {
    StartWithDevice();
    const std::string paths = Packed({File("one", "1"), File("two", "22")});
    const auto drop = [&](HGLOBAL memory) {
        SendMessageA(OutputOf(*terminal), WM_DROPFILES, reinterpret_cast<WPARAM>(memory), 0);
    };
    drop(MakeDrop(std::wstring(paths.begin(), paths.end())));
    const HWND dialog = terminal->Operation.m_ProgressDialog;
    ASSERT_NE(dialog, nullptr);
    drop(MakeDrop(paths)); // ignored
    EXPECT_EQ(terminal->Operation.m_ProgressDialog, dialog);
    EXPECT_TRUE(LoseNotices(NotifyTransfer)) << "the last of the first file";
    ASSERT_TRUE(Ended());
    EXPECT_EQ(Records(), "1 blocks 0 errors 1, 1 blocks 0 errors 2");
    drop(MakeDrop(Packed({File("a b", "1"), File("c d", "22")})));
    EXPECT_EQ(Records(), "65532, 65532") << "both have no name for the device";
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
    EXPECT_LT(pinger.Slowest(), LongestAnswer);
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
                                  EXPECT_TRUE(WaitUntil([&] {
                                      const RECT own = RectOf(window);
                                      return own.left >= area.left && own.top >= area.top;
                                  }));
                                  PostMessageA(window, WM_COMMAND, IDOK, 0);
                              }}});
    EXPECT_TRUE(WaitUntil([&] { return about.Done(); }));
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
    operate(100);
    const SystemObjects after = CountSystemObjects();
    EXPECT_LE(after.gdi, before.gdi + 20) << "fewer than one for every fifth operation";
    EXPECT_LE(after.handles, before.handles + 20);
    EXPECT_LE(after.user, before.user + 60) << "in Wine other processes count, too";
}
