// A terminal's settings against the real registry of the test's own key.

#include "base/Text.h"
#include "rig/Terminal.h"
#include "settings/MusicSupport.h"
#include "settings/SettingsTable.h"

#include <memory>
#include <vector>

namespace {

constexpr char Key[] = "Software\\Zorbel\\ZoConsole\\SettingsTest";

// A terminal without a window.
class Settings {
public:
    explicit Settings(const char* key = Key) {
        CopyText(terminal->m_RegKeyPath, key);
        EXPECT_TRUE(terminal->MakeParts());
    }

    ZoTerm* operator->() { return terminal.get(); }

    // As when the session ends.
    void Save() { terminal->TerminalWindowProc(nullptr, WM_ENDSESSION, TRUE, 0); }

private:
    std::unique_ptr<ZoTerm> terminal = std::make_unique<ZoTerm>();
};

class SettingsTest : public testing::Test {
protected:
    SettingsTest() { RemoveKey(SettingsRoot); } // which a volatile key may have made volatile, too
    ~SettingsTest() override { RemoveKey(SettingsRoot); }

    std::string Stored(const std::string& name) { return FindValue(Key, name); }
};

class HistoryTest : public TerminalTest {
protected:
    // The lines of the command box of a terminal that starts.
    std::vector<std::string> History() {
        const HWND box = CommandBoxOf(Start());
        std::vector<std::string> lines;
        for (LRESULT i = 0; i < SendMessageA(box, CB_GETCOUNT, 0, 0); ++i) {
            char line[ZoTerm::LineRoom];
            SendMessageA(box, CB_GETLBTEXT, static_cast<WPARAM>(i), reinterpret_cast<LPARAM>(line));
            lines.emplace_back(line);
        }
        return lines;
    }

    const std::string Instance = std::string(SettingsRoot) + "\\Instance0";
};

} // namespace

TEST_F(SettingsTest, FreshKeyHoldsEveryDefault) {
    Settings settings;
    settings->LoadSettings();

    const HDC screen = GetDC(nullptr);
    const int height = -(10 * GetDeviceCaps(screen, LOGPIXELSY)) / 72;
    ReleaseDC(nullptr, screen);
    const auto number = [](auto value) {
        return "dword:" + std::to_string(static_cast<DWORD>(value));
    };
    const std::pair<const char*, std::string> expected[] = {
        {"WindowX", number(0x80000000)},
        {"WindowY", number(0x80000000)},
        {"WindowWidth", number(0x80000000)},
        {"WindowHeight", number(0x80000000)},
        {"ShowCmd", number(1)},
        {"ImageBlockSize", number(264)},
        {"FontHeight", number(height)},
        {"FontWeight", number(400)},
        {"FontCharset", number(1)},
        {"FontFaceName", "text:Courier New"},
        {"TextColor", number(GetSysColor(COLOR_WINDOWTEXT))},
        {"DeviceName", "text:default"},
        {"BaudRate", number(57600)},
        {"SummaryWindowWidth", number(500)},
        {"SummaryWindowHeight", number(350)},
        {"ShowProgress", number(1)},
        {"MusicSupportExt0", "none"},
    };
    for (const auto& [name, value] : expected)
        EXPECT_EQ(Stored(name), value) << name;
    for (const char* name :
         {"ListOn", "FontItalic", "FontUnderline", "FontStrikeout", "Port", "SummaryWindowX",
          "SummaryWindowY", "MusicSupport", "MusicSupportExt", "MusicSupportCurExt",
          "SummaryPosition0", "SummaryPosition5", "AskBeforeSendWrongFile", "DisplaySummary",
          "UseLogFile", "LogTimes", "FastTransfers", "DropOldestText"})
        EXPECT_EQ(Stored(name), number(0)) << name;
    for (const char* name : {"BootFile", "ReceiveFile", "SendFiles", "ImageFile", "MacrosFile",
                             "CmdWav", "CmdErrWav", "CompleteWav", "SendMid", "LogFile"})
        EXPECT_EQ(Stored(name), "text:") << name;
    EXPECT_EQ(settings->Settings.m_SummaryRect.right, 500);
    EXPECT_STREQ(settings->Settings.m_Font.lfFaceName, "Courier New");
}

TEST_F(SettingsTest, EveryValueComesBackAsItWasSaved) {
    // Each value differs from its default and from its neighbors'.
    DWORD number = 1000;
    for (const Setting* setting : ReadingOrder())
        if (setting->kind == SettingKind::Text)
            PlantText(Key, setting->name, std::string("text of ") + setting->name);
        else if (setting->kind == SettingKind::ListHead)
            PlantText(Key, setting->name, "C:\\first.txt");
        else if (setting->kind == SettingKind::Byte)
            PlantNumber(Key, setting->name, number++ & 0xFF);
        else if (setting->kind != SettingKind::MusicRows)
            PlantNumber(Key, setting->name, number++);
    PlantNumber(Key, "MusicSupportExt", 0);
    PlantNumber(Key, "MusicSupportCurExt", 0);

    std::vector<std::string> planted;
    for (const Setting* setting : ReadingOrder())
        planted.push_back(Stored(setting->name));
    {
        Settings settings;
        settings->LoadSettings();
        EXPECT_EQ(settings->Settings.m_SummaryRect.right - settings->Settings.m_SummaryRect.left,
                  std::stoi(Stored("SummaryWindowWidth").substr(6)));
        RemoveKey(Key);
        settings.Save();
    }
    std::size_t i = 0;
    for (const Setting* setting : ReadingOrder())
        EXPECT_EQ(Stored(setting->name), planted[i++]) << setting->name;
}

TEST_F(SettingsTest, UnusableValuesAreReplacedAtOnce) {
    PlantText(Key, "WindowX", "12");
    PlantText(Key, "BootFile", std::string(300, 'x'));
    PlantText(Key, "FontFaceName", std::string(32, 'f'));
    const char wide[] = "%PATH%";
    PlantValue(Key, "LogFile", REG_EXPAND_SZ, wide, sizeof(wide));
    const char shortNumber[] = {1, 2};
    PlantValue(Key, "BaudRate", REG_DWORD, shortNumber, sizeof(shortNumber));

    Settings settings;
    settings->LoadSettings();
    EXPECT_EQ(settings->Settings.m_WindowX, CW_USEDEFAULT);
    EXPECT_STREQ(settings->Settings.m_BootFile, "");
    EXPECT_STREQ(settings->Settings.m_Font.lfFaceName, "Courier New");
    EXPECT_STREQ(settings->Settings.m_LogFile, "");
    EXPECT_EQ(settings->Settings.m_BaudRate, 57600U);
    EXPECT_EQ(Stored("WindowX"), "dword:2147483648");
    EXPECT_EQ(Stored("BootFile"), "text:");
    EXPECT_EQ(Stored("FontFaceName"), "text:Courier New");
    EXPECT_EQ(Stored("LogFile"), "text:");
    EXPECT_EQ(Stored("BaudRate"), "dword:57600");
}

TEST_F(SettingsTest, TextWithoutItsEndIsTerminatedInItsBuffer) {
    // Fills the field without a NUL. The system would store a NUL that follows, so none does.
    const std::string exact(MAX_PATH + 1, 'p');
    PlantValue(Key, "MacrosFile", REG_SZ, exact.data(), MAX_PATH);
    const std::string list("C:\\a.txt\0C:\\smuggled.txt\0", 24);
    PlantValue(Key, "SendFiles", REG_SZ, list.data(), list.size());
    const std::string full(TransferBatch::FirstBufferSize + 1, 'l');

    Settings settings;
    settings->LoadSettings();
    EXPECT_EQ(std::string(settings->Settings.m_MacrosFile), exact.substr(0, MAX_PATH - 1));
    EXPECT_EQ(std::string(settings->Batch.m_FileList, 10), std::string("C:\\a.txt\0\0", 10));

    PlantValue(Key, "SendFiles", REG_SZ, full.data(), TransferBatch::FirstBufferSize);
    settings->LoadSettings();
    EXPECT_EQ(std::string(settings->Batch.m_FileList + TransferBatch::FirstBufferSize - 2, 2),
              std::string(2, '\0'));
}

TEST_F(SettingsTest, ByteSettingsTakeTheLowByteOnly) {
    PlantNumber(Key, "FontItalic", 0x01000001);
    PlantNumber(Key, "FontUnderline", 0x01000000);
    Settings settings;
    settings->LoadSettings();
    EXPECT_EQ(settings->Settings.m_Font.lfItalic, 1);
    EXPECT_EQ(settings->Settings.m_Font.lfUnderline, 0);
}

TEST_F(HistoryTest, EndsAtItsFirstGapAndOutlivesTheSession) {
    PlantText(Instance, "Command0", std::string(256, 'c')); // no line is that long
    EXPECT_TRUE(History().empty());
    EXPECT_EQ(FindValue(Instance, "Command0"), "text:");
    EXPECT_EQ(FindValue(Instance, "Command1"), "none");
    EXPECT_TRUE(Close());
    PlantText(Instance, "Command0", "dir");
    PlantText(Instance, "Command1", "");
    PlantText(Instance, "Command2", "ver");
    EXPECT_EQ(History(), std::vector<std::string>{"dir"});

    EXPECT_NE(SendMessageA(terminal->m_hWnd, WM_QUERYENDSESSION, 0, 0), 0);
    PlantText(Instance, "Command0", "changed");
    SendMessageA(terminal->m_hWnd, WM_ENDSESSION, FALSE, 0);
    EXPECT_EQ(FindValue(Instance, "Command0"), "text:changed") << "the session goes on";
    SendMessageA(terminal->m_hWnd, WM_ENDSESSION, TRUE, 0);
    EXPECT_EQ(FindValue(Instance, "Command0"), "text:dir");
    EXPECT_EQ(FindValue(Instance, "Command1"), "text:");
    EXPECT_EQ(FindValue(Instance, "Command2"), "text:ver");
}

TEST_F(SettingsTest, MusicRowsLoadAndSave) {
    PlantNumber(Key, "MusicSupportExt", 2);
    PlantNumber(Key, "MusicSupportCurExt", 5);
    PlantText(Key, "MusicSupportExt1", "mid");
    PlantText(Key, "MusicSupportConverter1", "conv.exe");
    PlantNumber(Key, "MusicSupportConverterNewExt1", 0);
    PlantText(Key, "MusicSupportNewExt1", "mel");
    PlantText(Key, "MusicSupportCommand1", "play");
    PlantText(Key, "MusicSupportCommand0", std::string(10000, 'x')); // does not fit with its NUL

    Settings settings;
    settings->LoadSettings();
    ASSERT_EQ(settings->Settings.m_MusicSupportExt, 2);
    EXPECT_EQ(settings->Settings.m_MusicSupportCurExt, 0);
    EXPECT_STREQ(MusicText(settings->Settings.m_MusicRows[1].ext), "mid");
    EXPECT_STREQ(MusicText(settings->Settings.m_MusicRows[0].command), "");
    EXPECT_EQ(settings->Settings.m_MusicRows[0].converterNewExt, 1U);
    EXPECT_EQ(Stored("MusicSupportExt0"), "text:");
    EXPECT_EQ(Stored("MusicSupportCommand0"), "text:");

    RemoveKey(Key);
    settings.Save();
    EXPECT_EQ(Stored("MusicSupportExt"), "dword:2");
    EXPECT_EQ(Stored("MusicSupportExt1"), "text:mid");
    EXPECT_EQ(Stored("MusicSupportConverter1"), "text:conv.exe");
    EXPECT_EQ(Stored("MusicSupportConverterNewExt1"), "dword:0");
    EXPECT_EQ(Stored("MusicSupportNewExt1"), "text:mel");
    EXPECT_EQ(Stored("MusicSupportCommand1"), "text:play");
}

TEST_F(SettingsTest, AbsurdMusicCountsAreHarmless) {
    PlantNumber(Key, "MusicSupportExt", 0xFFFFFFFF);
    PlantNumber(Key, "MusicSupportCurExt", 0xFFFFFFFF);
    Settings settings;
    settings->LoadSettings();
    EXPECT_EQ(settings->Settings.m_MusicSupportExt, 0);
    EXPECT_EQ(settings->Settings.m_MusicSupportCurExt, 0);

    PlantNumber(Key, "MusicSupportExt", 0x7FFFFFFF);
    settings->LoadSettings();
    EXPECT_EQ(settings->Settings.m_MusicSupportExt, 1000);
}

TEST_F(SettingsTest, KeyThatCannotBeOpenedGivesDefaultsAndSavesNothing) {
    // A lasting key cannot be made below a volatile one.
    HKEY parent = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, Key, 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &parent, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(parent);
    const std::string path = std::string(Key) + "\\Instance0";

    Settings settings(path.c_str());
    settings->LoadSettings();
    settings.Save();
    EXPECT_EQ(settings->Settings.m_BaudRate, 57600U);
    EXPECT_EQ(settings->Settings.m_SummaryRect.bottom, 350);
    EXPECT_STREQ(settings->Settings.m_DeviceName, "default");
    EXPECT_EQ(FindValue(path, "BaudRate"), "none");
}
