// The music-support table from ini files, and converters that really run.

#include "settings/MusicSupport.h"

#include "base/Text.h"
#include "fileops/Converter.h"
#include "rig/Files.h"
#include "rig/Terminal.h"

#include <memory>

namespace {

constexpr char Key[] = "Software\\Zorbel\\ZoConsole\\MusicTest";

// In a folder of its own, which is the current one.
class MusicTest : public testing::Test {
protected:
    MusicTest() {
        GetCurrentDirectoryA(MAX_PATH, m_Before);
        SetCurrentDirectoryA(folder.Path("").c_str());
        CopyText(terminal->m_RegKeyPath, Key);
        EXPECT_TRUE(terminal->Batch.Allocate());
        RemoveKey(SettingsRoot);
    }
    ~MusicTest() override {
        SetCurrentDirectoryA(m_Before);
        RemoveKey(SettingsRoot);
    }

    void Merge(const std::string& section) {
        folder.Write("merged.ini", "[Music Support]\n" + section);
        MergeMusicSupportIni(terminal->Settings, folder.Path("merged.ini").c_str());
    }

    // A row: "ext>new by converter, command, flag".
    std::string Row(std::int32_t row) const {
        if (row >= terminal->Settings.m_MusicSupportExt)
            return "none";
        const MusicRow& music = terminal->Settings.m_MusicRows[row];
        return std::string(MusicText(music.ext)) + ">" + MusicText(music.newExt) + " by " +
               MusicText(music.converter) + ", " + MusicText(music.command) + ", " +
               std::to_string(music.converterNewExt);
    }

    // One row more, with music support on.
    void AddRow(const std::string& ext, const std::string& converter, const std::string& newExt,
                int flag) {
        Merge("MusicSupport=1\nMusicSupportExt=1\nMusicSupportExt0=" + ext +
              "\nMusicSupportConverter0=" + converter + "\nMusicSupportNewExt0=" + newExt +
              "\nMusicSupportConverterNewExt0=" + std::to_string(flag) + "\n");
    }

    // Plans a conversion and carries it out.
    bool Convert(const std::string& source) {
        char commandLine[ZoTerm::ConvertedFileRoom] = {};
        const bool planned =
            terminal->ConvertFile(source.c_str(), terminal->ConvertedFile, commandLine);
        if (planned && commandLine[0]) {
            Conversion* const conversion = StartConversion(commandLine, nullptr, WM_NULL);
            EXPECT_TRUE(WaitUntil([&] { return ConversionEnded(conversion); }, 20000));
            LeaveConversion(conversion);
        }
        return planned;
    }

    // The converted list's only entry.
    std::string Output() const {
        std::string path = terminal->ConvertedFile;
        EXPECT_LT(path.size() + 1, sizeof(terminal->ConvertedFile));
        EXPECT_EQ(terminal->ConvertedFile[path.size() + 1], '\0');
        return path;
    }

    // A converter that notes its arguments in args.txt.
    void AddNotingRow(const std::string& ext, const std::string& newExt, int flag) {
        folder.Write("note.cmd", "@echo %1 %2 [%3]> args.txt\r\n");
        AddRow(ext, "cmd.exe /c note.cmd", newExt, flag);
    }

    TestFolder folder;
    std::unique_ptr<ZoTerm> terminal = std::make_unique<ZoTerm>();

private:
    char m_Before[MAX_PATH];
};

} // namespace

TEST_F(MusicTest, IniRowsJoinTheRowsOfTheRegistry) {
    PlantNumber(Key, "MusicSupportExt", 1);
    PlantText(Key, "MusicSupportExt0", "mid");
    PlantText(Key, "MusicSupportCommand0", "old");
    folder.Write("ZoConsole.ini", "[Music Support]\nMusicSupport=1\nMusicSupportExt=5\n"
                                  "MusicSupportExt1=MID\nMusicSupportNewExt1=up\n"
                                  "MusicSupportExt2=mid\nMusicSupportConverter2=conv.exe -q\n"
                                  "MusicSupportConverterNewExt2=0\nMusicSupportCommand2=play it\n"
                                  "MusicSupportExt4=MID\nMusicSupportNewExt4=mel\n"
                                  "MusicSupportExt5=beyond\n");
    terminal->LoadSettings();
    EXPECT_EQ(terminal->Settings.m_MusicSupport, 1U);
    EXPECT_EQ(Row(0), "mid> by conv.exe -q, play it, 0");
    EXPECT_EQ(Row(1), "MID>mel by , , 1") << "extensions differ by letter case here";
    EXPECT_EQ(Row(2), "none");

    Merge("MusicSupport=0\nMusicSupportExt=1\nMusicSupportExt0=xm\n");
    EXPECT_EQ(terminal->Settings.m_MusicSupport, 0U) << "switched off, and the row is merged";
    EXPECT_EQ(Row(2), "xm> by , , 1");
    for (const char* ignored : {"", "MusicSupport=2\n"}) {
        Merge(ignored + std::string("MusicSupportExt=1\nMusicSupportExt0=s3m\n"));
        EXPECT_EQ(terminal->Settings.m_MusicSupportExt, 3);
    }
    Merge("MusicSupport=-1\nMusicSupportExt=-1\nMusicSupportExt0=s3m\n");
    EXPECT_EQ(terminal->Settings.m_MusicSupportExt, 3);
    Merge("MusicSupport=1\nMusicSupportExt=2147483647\nMusicSupportExt999=" +
          std::string(2000, 'e') + "\n");
    EXPECT_EQ(Row(3), std::string(999, 'e') + "> by , , 1");
}

TEST_F(MusicTest, KeyThatCannotBeOpenedGivesDefaultsWithoutTheIniAndSavesNothing) {
    HKEY parent = nullptr; // a lasting key cannot be made below a volatile one
    ASSERT_EQ(RegCreateKeyExA(HKEY_CURRENT_USER, Key, 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &parent, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(parent);
    const std::string below = std::string(Key) + "\\Below";
    CopyText(terminal->m_RegKeyPath, below.c_str());
    folder.Write("ZoConsole.ini",
                 "[Music Support]\nMusicSupport=1\nMusicSupportExt=1\nMusicSupportExt0=a\n");
    terminal->LoadSettings();
    EXPECT_EQ(terminal->Settings.m_MusicSupport, 0U);
    EXPECT_EQ(Row(0), "none");
    EXPECT_EQ(terminal->Settings.m_BaudRate, 57600U);
    EXPECT_STREQ(terminal->Settings.m_DeviceName, "default");
    EXPECT_TRUE(terminal->MakeParts());
    terminal->TerminalWindowProc(nullptr, WM_ENDSESSION, TRUE, 0); // saves
    EXPECT_EQ(FindValue(below, "BaudRate"), "none");
}

TEST_F(MusicTest, ShippedConverterMakesAFile) {
    for (const char* name : {"ZoConsole.ini", "convert.cmd"})
        std::filesystem::copy_file(std::string(ZO_EXAMPLES) + "/" + name, folder.Path(name));
    folder.Write("my music\\a tune.ZoMelody", "c d e\r\n");
    terminal->LoadSettings();
    ASSERT_TRUE(Convert(folder.Path("my music\\a tune.ZoMelody")));
    EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, 0);
    EXPECT_EQ(Output(), folder.Path("my music\\a tune.mel"));
    const std::string made = folder.Read("my music\\a tune.mel");
    EXPECT_NE(made.find("melody \"a tune\""), std::string::npos) << made;
    EXPECT_NE(made.find("c d e\r\n"), std::string::npos) << made;
    EXPECT_NE(made.find("end\r\n"), std::string::npos) << made;
}

TEST_F(MusicTest, ConverterGetsWholePathsAndNothingElse) {
    AddNotingRow("mod", "out", 1);
    const std::string source = folder.Path("a b & c.MOD");
    ASSERT_TRUE(Convert(source));
    EXPECT_EQ(Output(), folder.Path("a b & c.out"));
    EXPECT_EQ(folder.Read("args.txt"), "\"" + source + "\" \"" + Output() + "\" []\r\n");

    AddNotingRow("mod", "", 0);
    ASSERT_TRUE(Convert(source));
    EXPECT_EQ(Output(), folder.Path("a b & c."));
    EXPECT_EQ(folder.Read("args.txt"), "\"" + source + "\"  []\r\n");

    EXPECT_FALSE(Convert(folder.Path("xmod")));
    EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, -1);
    EXPECT_FALSE(Convert("od"));
    EXPECT_TRUE(Convert(".mod"));
    EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, 0);
    terminal->Settings.m_MusicSupport = 0;
    EXPECT_FALSE(Convert(source));
    EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, 0) << "nothing was looked at";
}

TEST_F(MusicTest, ConverterThatFailsStillNamesItsFile) {
    AddRow("a", "no-such-program.exe", "x", 1);
    AddRow("b", "cmd.exe /c exit 3", "x", 1);
    AddRow("cmd", "", "x", 1);
    folder.Write("s.cmd", "@echo started> started.txt\r\n");
    for (const char* name : {"s.a", "s.b", "s.cmd"}) {
        EXPECT_TRUE(Convert(folder.Path(name)));
        EXPECT_EQ(Output(), folder.Path("s.x"));
        EXPECT_FALSE(folder.Exists("s.x"));
    }
    EXPECT_FALSE(folder.Exists("started.txt")) << "without a converter the source is no program";
}

TEST_F(MusicTest, WhatCannotBeHandedOverIsNotConverted) {
    AddNotingRow("mod", "out", 1);
    AddNotingRow("long", std::string(990, 'n'), 1);
    AddNotingRow("slash", "out\\", 1);
    AddNotingRow("dir\\", "out", 1);
    const std::string folderPart = "C:\\" + std::string(480, 'f') + "\\";
    const std::pair<std::string, int> sources[] = {
        {folderPart + "tune.mod", 0}, // twice is too long
        {folderPart + folderPart + "f\\tune.mod", 0},
        {"C:\\tune.long", 1},
        {"C:\\tune.slash", 2},
        {"C:\\tune.dir\\", 3},
        {"C:\\x\" -all \"\\tune.mod", 0}};
    for (const auto& [source, row] : sources) {
        EXPECT_TRUE(Convert(source));
        EXPECT_EQ(terminal->m_MusicSupportCurrentExtention, row);
        EXPECT_EQ(Output().substr(0, 2), "|\\") << source;
        const HANDLE file = CreateFileA(Output().c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                        OPEN_ALWAYS, 0, nullptr);
        EXPECT_EQ(file, INVALID_HANDLE_VALUE) << "there can be no such file";
    }
    EXPECT_FALSE(folder.Exists("args.txt")) << "the converter was not started";
}
