// A terminal's settings against the real registry of the test's own key.

#include "base/Text.h"
#include "rig/Terminal.h"
#include "settings/MusicSupport.h"
#include "settings/SettingsTable.h"

#include <fstream>
#include <memory>
#include <set>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr char Key[] = "Software\\Zorbel\\ZoConsole\\SettingsTest";

// A terminal without a window.
class Settings {
public:
    Settings() {
        CopyText(terminal->m_RegKeyPath, Key);
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
    // The history of a terminal that starts.
    std::vector<std::string> History() { return HistoryOf(Start()); }

    const std::string Instance = std::string(SettingsRoot) + "\\Instance0";
};

} // namespace

TEST_F(SettingsTest, FreshKeyHoldsEveryDefault) {
    Settings settings;
    settings->LoadSettings();
    std::ifstream file(ZO_VECTORS "/settings.txt");
    std::ptrdiff_t rows = 0;
    std::string name;
    for (std::string value; file >> name && std::getline(file >> std::ws, value);) {
        if (name == "#")
            continue;
        ++rows;
        EXPECT_EQ(Stored(name), value) << name;
    }
    const SettingOrder all = ReadingOrder();
    EXPECT_EQ(all.last - all.first, rows + 3) << "two follow from the screen, and rows of music";
    const HDC screen = GetDC(nullptr);
    const int height = -(10 * GetDeviceCaps(screen, LOGPIXELSY)) / 72;
    ReleaseDC(nullptr, screen);
    EXPECT_EQ(Stored("FontHeight"), "dword:" + std::to_string(static_cast<DWORD>(height)));
    EXPECT_EQ(Stored("TextColor"), "dword:" + std::to_string(GetSysColor(COLOR_WINDOWTEXT)));
    EXPECT_EQ(Stored("MusicSupportExt0"), "none");
    EXPECT_EQ(settings->Settings.m_SummaryRect.right, 500);
}

TEST_F(SettingsTest, EveryValueComesBackAsItWasSaved) {
    // Each value differs from its default and from its neighbors'.
    const std::set<std::string> bytes = {"FontItalic", "FontUnderline", "FontStrikeout",
                                         "FontCharset"};
    DWORD number = 1000;
    for (const Setting* setting : ReadingOrder())
        if (setting->kind == SettingKind::Text)
            PlantText(Key, setting->name, std::string("text of ") + setting->name);
        else if (setting->kind == SettingKind::ListHead)
            PlantText(Key, setting->name, "C:\\first.txt");
        else if (bytes.count(setting->name) > 0)
            PlantNumber(Key, setting->name, number++ & 0xFF);
        else if (setting->kind != SettingKind::MusicRows)
            PlantNumber(Key, setting->name, number++);
    PlantNumber(Key, "MusicSupportExt", 2);
    PlantNumber(Key, "MusicSupportCurExt", 1);
    PlantNumber(Key, "MusicSupportConverterNewExt1", 0);
    std::vector<std::string> names = {"MusicSupportConverterNewExt1"};
    for (const char* text : {"Ext", "Converter", "NewExt", "Command"}) {
        names.push_back(std::string("MusicSupport") + text + "1");
        PlantText(Key, names.back(), text);
    }
    for (const Setting* setting : ReadingOrder())
        names.emplace_back(setting->name);

    std::vector<std::string> planted;
    planted.reserve(names.size());
    for (const std::string& name : names)
        planted.push_back(Stored(name));
    {
        Settings settings;
        settings->LoadSettings();
        EXPECT_EQ(settings->Settings.m_SummaryRect.right - settings->Settings.m_SummaryRect.left,
                  std::stoi(Stored("SummaryWindowWidth").substr(6)));
        RemoveKey(Key);
        settings.Save();
    }
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_EQ(Stored(names[i]), planted[i]) << names[i];
}

TEST_F(SettingsTest, UnusableValuesAreReplacedAtOnce) {
    const struct {
        const char* name;
        DWORD type;
        std::string bytes;
        const char* replaced;
    } cases[] = {
        {"WindowX", REG_SZ, "12", "dword:2147483648"},
        {"BootFile", REG_SZ, std::string(300, 'x'), "text:"},
        {"FontFaceName", REG_SZ, std::string(32, 'f'), "text:Courier New"},
        {"LogFile", REG_EXPAND_SZ, "%PATH%", "text:"},
        {"BaudRate", REG_DWORD, "xy", "dword:57600"},
        {"MusicSupportExt", REG_DWORD, "\2\0\0\0"s, "dword:2"},
        {"MusicSupportExt0", REG_DWORD, "\2\0\0\0"s, "text:"},
        {"MusicSupportCommand0", REG_SZ, std::string(10000, 'x'), "text:"},
        {"MusicSupportConverterNewExt0", REG_SZ, "1", "dword:1"},
    };
    for (const auto& each : cases)
        PlantValue(Key, each.name, each.type, each.bytes.c_str(),
                   each.bytes.size() + (each.type == REG_DWORD ? 0 : 1));
    PlantNumber(Key, "FontItalic", 0x01000001); // of which the low byte counts
    PlantNumber(Key, "FontUnderline", 0x01000000);
    PlantNumber(Key, "MusicSupportCurExt", 5);
    Settings settings;
    settings->LoadSettings();
    for (const auto& each : cases)
        EXPECT_EQ(Stored(each.name), each.replaced) << each.name;
    EXPECT_EQ(settings->Settings.m_WindowX, CW_USEDEFAULT);
    EXPECT_STREQ(settings->Settings.m_BootFile, "");
    EXPECT_STREQ(settings->Settings.m_Font.lfFaceName, "Courier New");
    EXPECT_EQ(settings->Settings.m_BaudRate, 57600U);
    EXPECT_EQ(settings->Settings.m_Font.lfItalic, 1);
    EXPECT_EQ(settings->Settings.m_Font.lfUnderline, 0);
    EXPECT_EQ(settings->Settings.m_MusicSupportCurExt, 0);
    for (const auto& [planted, count] : {std::pair(0xFFFFFFFF, 0), std::pair(0x7FFFFFFFU, 1000)}) {
        PlantNumber(Key, "MusicSupportExt", planted);
        settings->LoadSettings();
        EXPECT_EQ(settings->Settings.m_MusicSupportExt, count);
    }
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
