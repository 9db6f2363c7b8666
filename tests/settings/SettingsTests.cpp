// A terminal's settings against the real registry of the test's own key.

#include "rig/Registry.h"
#include "settings/MusicSupport.h"
#include "settings/SettingsTable.h"
#include "terminal/ZoTerm.h"

#include "base/Text.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

constexpr char Key[] = "Software\\Zorbel\\ZoConsole\\SettingsTest";

// A terminal of which only settings and command box exist.
class Settings {
public:
    explicit Settings(const char* key = Key) {
        CopyText(terminal->m_RegKeyPath, key);
        terminal->m_FileList = list.data();
        terminal->m_FileListSize = static_cast<std::uint32_t>(list.size());
        terminal->m_hCommand = CreateWindowExA(0, "COMBOBOX", "", CBS_DROPDOWN, 0, 0, 100, 200,
                                               HWND_MESSAGE, nullptr, nullptr, nullptr);
    }
    ~Settings() {
        DestroyWindow(terminal->m_hCommand);
        ResizeMusicSupport(*terminal, 0);
    }
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    ZoTerm* operator->() { return terminal.get(); }

    std::vector<std::string> History() {
        std::vector<std::string> lines;
        const LRESULT count = SendMessageA(terminal->m_hCommand, CB_GETCOUNT, 0, 0);
        for (LRESULT i = 0; i < count; ++i) {
            char line[ZoTerm::LineRoom];
            SendMessageA(terminal->m_hCommand, CB_GETLBTEXT, static_cast<WPARAM>(i),
                         reinterpret_cast<LPARAM>(line));
            lines.emplace_back(line);
        }
        return lines;
    }

private:
    std::vector<char> list = std::vector<char>(BatchBufferSize);
    std::unique_ptr<ZoTerm> terminal = std::make_unique<ZoTerm>();
};

class SettingsTest : public testing::Test {
protected:
    SettingsTest() { RemoveKey(Key); }
    ~SettingsTest() override { RemoveKey(Key); }

    std::string Stored(const std::string& name) { return FindValue(Key, name); }
};

} // namespace

TEST_F(SettingsTest, FreshKeyHoldsEveryDefault) {
    Settings settings;
    settings->LoadSettings();
    settings->LoadCommandHistory();

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
        {"Command0", "text:"},
        {"Command1", "none"},
        {"MusicSupportExt0", "none"},
    };
    for (const auto& [name, value] : expected)
        EXPECT_EQ(Stored(name), value) << name;
    for (const char* name : {"ListOn", "FontItalic", "FontUnderline", "FontStrikeout", "Port",
                             "SummaryWindowX", "SummaryWindowY", "MusicSupport", "MusicSupportExt",
                             "MusicSupportCurExt", "SummaryPosition0", "SummaryPosition5",
                             "AskBeforeSendWrongFile", "DisplaySummary", "UseLogFile"})
        EXPECT_EQ(Stored(name), number(0)) << name;
    for (const char* name : {"BootFile", "ReceiveFile", "SendFiles", "ImageFile", "MacrosFile",
                             "CmdWav", "CmdErrWav", "CompleteWav", "SendMid", "LogFile"})
        EXPECT_EQ(Stored(name), "text:") << name;
    EXPECT_EQ(settings->m_SummaryRect.right, 500);
    EXPECT_STREQ(settings->m_Font.lfFaceName, "Courier New");
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
        EXPECT_EQ(settings->m_SummaryRect.right - settings->m_SummaryRect.left,
                  std::stoi(Stored("SummaryWindowWidth").substr(6)));
        RemoveKey(Key);
        settings->SaveSettings();
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
    PlantText(Key, "Command0", std::string(256, 'c'));

    Settings settings;
    settings->LoadSettings();
    settings->LoadCommandHistory();
    EXPECT_EQ(settings->m_WindowX, CW_USEDEFAULT);
    EXPECT_STREQ(settings->m_BootFile, "");
    EXPECT_STREQ(settings->m_Font.lfFaceName, "Courier New");
    EXPECT_STREQ(settings->m_LogFile, "");
    EXPECT_EQ(settings->m_BaudRate, 57600U);
    EXPECT_TRUE(settings.History().empty());
    EXPECT_EQ(Stored("WindowX"), "dword:2147483648");
    EXPECT_EQ(Stored("BootFile"), "text:");
    EXPECT_EQ(Stored("FontFaceName"), "text:Courier New");
    EXPECT_EQ(Stored("LogFile"), "text:");
    EXPECT_EQ(Stored("BaudRate"), "dword:57600");
    EXPECT_EQ(Stored("Command0"), "text:");
}

TEST_F(SettingsTest, TextWithoutItsEndIsTerminatedInItsBuffer) {
    // Fills the field without a NUL. The system would store a NUL that follows, so none does.
    const std::string exact(MAX_PATH + 1, 'p');
    PlantValue(Key, "MacrosFile", REG_SZ, exact.data(), MAX_PATH);
    const std::string list("C:\\a.txt\0C:\\smuggled.txt\0", 24);
    PlantValue(Key, "SendFiles", REG_SZ, list.data(), list.size());
    const std::string full(BatchBufferSize + 1, 'l');

    Settings settings;
    settings->LoadSettings();
    EXPECT_EQ(std::string(settings->m_MacrosFile), exact.substr(0, MAX_PATH - 1));
    EXPECT_EQ(std::string(settings->m_FileList, 10), std::string("C:\\a.txt\0\0", 10));

    PlantValue(Key, "SendFiles", REG_SZ, full.data(), BatchBufferSize);
    settings->LoadSettings();
    EXPECT_EQ(std::string(settings->m_FileList + BatchBufferSize - 2, 2), std::string(2, '\0'));
}

TEST_F(SettingsTest, ByteSettingsTakeTheLowByteOnly) {
    PlantNumber(Key, "FontItalic", 0x01000001);
    PlantNumber(Key, "FontUnderline", 0x01000000);
    Settings settings;
    settings->LoadSettings();
    EXPECT_EQ(settings->m_Font.lfItalic, 1);
    EXPECT_EQ(settings->m_Font.lfUnderline, 0);
}

TEST_F(SettingsTest, HistoryEndsAtItsFirstGap) {
    PlantText(Key, "Command0", "dir");
    PlantText(Key, "Command1", "");
    PlantText(Key, "Command2", "ver");
    Settings settings;
    settings->LoadSettings();
    settings->LoadCommandHistory();
    EXPECT_EQ(settings.History(), std::vector<std::string>{"dir"});
    PlantText(Key, "Command0", "changed");
    settings->SaveSettings();
    EXPECT_EQ(Stored("Command0"), "text:dir");
    EXPECT_EQ(Stored("Command1"), "text:");
    EXPECT_EQ(Stored("Command2"), "text:ver");
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
    ASSERT_EQ(settings->m_MusicSupportExt, 2);
    EXPECT_EQ(settings->m_MusicSupportCurExt, 0);
    EXPECT_STREQ(MusicText(settings->m_MusicSupportExts[1]), "mid");
    EXPECT_STREQ(MusicText(settings->m_MusicSupportCommands[0]), "");
    EXPECT_EQ(settings->m_MusicSupportConverterNewExts[0], 1U);
    EXPECT_EQ(Stored("MusicSupportExt0"), "text:");
    EXPECT_EQ(Stored("MusicSupportCommand0"), "text:");

    RemoveKey(Key);
    settings->SaveSettings();
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
    EXPECT_EQ(settings->m_MusicSupportExt, 0);
    EXPECT_EQ(settings->m_MusicSupportCurExt, 0);

    PlantNumber(Key, "MusicSupportExt", 0x7FFFFFFF);
    settings->LoadSettings();
    EXPECT_EQ(settings->m_MusicSupportExt, 1000);
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
    settings->LoadCommandHistory();
    settings->SaveSettings();
    EXPECT_EQ(settings->m_BaudRate, 57600U);
    EXPECT_EQ(settings->m_SummaryRect.bottom, 350);
    EXPECT_STREQ(settings->m_DeviceName, "default");
    EXPECT_EQ(FindValue(path, "BaudRate"), "none");
}
