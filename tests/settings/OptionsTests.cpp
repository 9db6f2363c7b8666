// The Options dialog over real terminals.

#include "resources/resource.h"
#include "rig/Modal.h"
#include "rig/Terminal.h"

namespace {

class OptionsTest : public TerminalTest {
protected:
    // Opens one more dialog.
    HWND Open() {
        const HWND before = FindOptions(nullptr);
        Command(CMD_OPTIONS);
        HWND dialog = FindOptions(nullptr);
        while (dialog && dialog == before)
            dialog = FindOptions(dialog);
        EXPECT_NE(dialog, nullptr);
        return dialog;
    }

    static HWND FindOptions(HWND after) {
        return FindWindowExA(nullptr, after, "#32770", "Options");
    }

    static void Select(HWND dialog, int row) {
        LVITEMA item = {};
        item.stateMask = item.state = LVIS_SELECTED;
        SendDlgItemMessageA(dialog, IDC_SOUND_LIST, LVM_SETITEMSTATE, static_cast<WPARAM>(row),
                            reinterpret_cast<LPARAM>(&item));
    }

    // The images of the four rows: 1 where there is a sound.
    static std::string Images(HWND dialog) {
        std::string images;
        for (int row = 0; row < 4; ++row) {
            LVITEMA item = {};
            item.mask = LVIF_IMAGE;
            item.iItem = row;
            SendDlgItemMessageA(dialog, IDC_SOUND_LIST, LVM_GETITEMA, 0,
                                reinterpret_cast<LPARAM>(&item));
            images += std::to_string(item.iImage);
        }
        return images;
    }

    // Which of some controls are enabled, or checked, as 0s and 1s.
    static std::string Enabled(HWND dialog) {
        std::string states;
        for (const int id :
             {IDC_SOUND_FILE, IDC_SOUND_BROWSE, IDC_LOG_FILE, IDC_LOG_BROWSE, IDC_LOG_TIMES})
            states += IsWindowEnabled(GetDlgItem(dialog, id)) ? '1' : '0';
        return states;
    }
    static std::string Checked(HWND dialog) {
        std::string states;
        for (const int id :
             {IDC_DISPLAY_SUMMARY, IDC_ASK_NAME, IDC_USE_LOG, IDC_SHOW_PROGRESS, IDC_LOG_TIMES})
            states += IsDlgButtonChecked(dialog, id) ? '1' : '0';
        return states;
    }

    static void Type(HWND dialog, int edit, const std::string& text) {
        SetDlgItemTextA(dialog, edit, text.c_str());
    }
    static std::string Text(HWND dialog, int edit) { return TextOf(GetDlgItem(dialog, edit)); }
    static void Click(HWND dialog, int button) {
        SendDlgItemMessageA(dialog, button, BM_CLICK, 0, 0);
    }
};

const std::string Key = std::string(SettingsRoot) + "\\Instance0";

} // namespace

TEST_F(OptionsTest, OkTakesWhatTheRowsAndControlsHold) {
    PlantText(Key, "CmdErrWav", "b.wav");
    PlantNumber(Key, "AskBeforeSendWrongFile", 1);
    Start();
    const HWND dialog = Open();
    EXPECT_EQ(Images(dialog), "0100");
    EXPECT_EQ(Checked(dialog), "01010");
    EXPECT_EQ(Enabled(dialog), "00000");
    EXPECT_EQ(Text(dialog, IDC_IMAGE_BLOCK_SIZE), "264");
    EXPECT_EQ(GetFocus(), GetDlgItem(dialog, IDC_SOUND_LIST));

    Select(dialog, 1);
    EXPECT_EQ(Text(dialog, IDC_SOUND_FILE), "b.wav");
    Type(dialog, IDC_SOUND_FILE, "x.wav");
    Select(dialog, 2);
    EXPECT_EQ(Text(dialog, IDC_SOUND_FILE), "");
    EXPECT_EQ(Images(dialog), "0100");
    Type(dialog, IDC_SOUND_FILE, "c.wav");
    Type(dialog, IDC_SOUND_FILE, "");
    EXPECT_EQ(Images(dialog), "0100");
    Type(dialog, IDC_SOUND_FILE, "c.wav");
    EXPECT_EQ(Images(dialog), "0110");
    Select(dialog, 0);
    EXPECT_EQ(Enabled(dialog), "11000");
    const std::string path(MAX_PATH - 1, 'p');
    Type(dialog, IDC_SOUND_FILE, path + "beyond");
    Click(dialog, IDC_USE_LOG);
    Click(dialog, IDC_DISPLAY_SUMMARY);
    Click(dialog, IDC_SHOW_PROGRESS);
    EXPECT_EQ(Enabled(dialog), "11111");
    Click(dialog, IDC_LOG_TIMES);
    Type(dialog, IDC_LOG_FILE, folder.Path("out.log"));
    Type(dialog, IDC_IMAGE_BLOCK_SIZE, "512");
    EXPECT_STREQ(terminal->Settings.m_CmdErrWav, "b.wav") << "nothing counts before OK";
    Click(dialog, IDOK);

    EXPECT_FALSE(IsWindow(dialog));
    EXPECT_EQ(terminal->Settings.m_CmdWav, path);
    EXPECT_STREQ(terminal->Settings.m_CmdErrWav, "x.wav");
    EXPECT_STREQ(terminal->Settings.m_CompleteWav, "c.wav");
    EXPECT_STREQ(terminal->Settings.m_SendMid, "");
    EXPECT_EQ(terminal->Settings.m_ImageBlockSize, 512U);
    EXPECT_EQ(terminal->Settings.m_DisplaySummary, 1U);
    EXPECT_EQ(terminal->Settings.m_AskBeforeSendWrongFile, 1U);
    EXPECT_EQ(terminal->Settings.m_UseLogFile, 1U);
    EXPECT_EQ(terminal->Settings.m_ShowProgress, 0U);
    EXPECT_EQ(terminal->Settings.m_LogTimes, 1U);
    EXPECT_TRUE(folder.Exists("out.log"));
    EXPECT_FALSE(DeleteFileA(folder.Path("out.log").c_str())) << "the terminal has it open";
}

TEST_F(OptionsTest, UnusableBlockSizesKeepTheOldOne) {
    Start();
    for (const char* size : {"abc", "", "0", "65536", "4294967297", "-5", "65535"}) {
        const HWND dialog = Open();
        Type(dialog, IDC_IMAGE_BLOCK_SIZE, size);
        Click(dialog, IDOK);
        EXPECT_EQ(terminal->Settings.m_ImageBlockSize, std::string(size) == "65535" ? 65535U : 264U)
            << size;
    }
}

TEST_F(OptionsTest, DialogsOfATerminalHoldTheirOwnEdits) {
    PlantText(Key, "LogFile", folder.Path("old.log"));
    Start();
    const HWND first = Open();
    const HWND second = Open();
    const HWND third = Open();
    for (const HWND dialog : {first, second, third}) {
        Select(dialog, 3);
        Type(dialog, IDC_SOUND_FILE, dialog == first ? "first.wav" : "second.wav");
    }
    Type(first, IDC_LOG_FILE, folder.Path("first.log"));
    Click(second, IDOK);
    EXPECT_STREQ(terminal->Settings.m_SendMid, "second.wav");
    EXPECT_FALSE(DeleteFileA(folder.Path("old.log").c_str()))
        << "opened again although it is not written";
    Click(first, IDOK);
    EXPECT_STREQ(terminal->Settings.m_SendMid, "first.wav");
    EXPECT_TRUE(folder.Exists("first.log"));
    EXPECT_TRUE(DeleteFileA(folder.Path("old.log").c_str())) << "it is closed";
    Select(third, 0);
    Click(third, IDCANCEL);
    EXPECT_FALSE(IsWindow(third));
    EXPECT_STREQ(terminal->Settings.m_SendMid, "first.wav");

    const HWND left = Open();
    Type(left, IDC_IMAGE_BLOCK_SIZE, "77");
    EXPECT_TRUE(Close());
    EXPECT_FALSE(IsWindow(left)) << "it goes with its terminal";
    EXPECT_EQ(FindValue(Key, "ImageBlockSize"), "dword:264");
    EXPECT_EQ(FindValue(Key, "SendMid"), "text:first.wav");
}

TEST_F(OptionsTest, BrowseFillsTheFieldAndHoldsTheTerminal) {
    Start();
    const std::string wave = folder.Path("tone.wav");
    folder.Write("tone.wav", "RIFF");
    const HWND dialog = Open();
    Select(dialog, 1);
    Click(dialog, IDC_USE_LOG);
    const auto choose = [&](HWND files) {
        SendMessageA(terminal->m_hWnd, WM_CLOSE, 0, 0);
        EXPECT_TRUE(IsWindow(dialog)) << "it is still needed";
        Choose(wave)(files);
    };
    const ModalScript files({{"Open Wav File", choose},
                             {"Open Log File", Choose(folder.Path("new.log"))},
                             {"Open Log File", Press(IDCANCEL)}});
    Click(dialog, IDC_SOUND_BROWSE);
    EXPECT_EQ(Text(dialog, IDC_SOUND_FILE), wave);
    EXPECT_EQ(Images(dialog), "0100");
    for (int i = 0; i < 2; ++i) {
        Click(dialog, IDC_LOG_BROWSE);
        EXPECT_EQ(Text(dialog, IDC_LOG_FILE), folder.Path("new.log")) << "it need not exist";
    }
    EXPECT_TRUE(IsWindowEnabled(terminal->m_hWnd));
}
