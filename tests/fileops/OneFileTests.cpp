// Operations with one file: a screen image, a receive, a boot.

#include "fileops/BootDialog.h"
#include "terminal/Dialogs.h"
#include "tests/fileops/OperationTest.h"

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
