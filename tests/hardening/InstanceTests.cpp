// Several programs at a time, and one beside files that are not its own.

#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/DeviceLine.h"
#include "rig/Files.h"
#include "rig/Process.h"
#include "rig/Terminal.h"

#include <cstring>

namespace {

const std::string FirstKey = std::string(SettingsRoot) + "\\Instance0";
const std::string SecondKey = std::string(SettingsRoot) + "\\Instance1";

// The program with its window up.
class Instance {
public:
    explicit Instance(const std::string& program = BuildFile("ZoConsole.exe"))
        : process('"' + program + '"') {
        EXPECT_TRUE(WaitUntil([&] { return !WindowsOf(process).empty(); }, 20000));
        window = WindowsOf(process).at(0);
        WaitUntil([&] { return TextOf(window).find(" Port: ") == 0; });
    }

    void Command(WORD command) { SendMessageA(window, WM_COMMAND, command, 0); }

    void Close() {
        Command(CMD_EXIT);
        EXPECT_TRUE(process.Ended(Patience));
    }

    Process process;
    HWND window = nullptr;
};

// A device for the terminal of that key, whose log is "both.log".
Process Device(const ComPair& pair, const std::string& key, const TestFolder& folder,
               const std::string& files) {
    PlantNumber(key, "Port", static_cast<DWORD>(pair.number));
    PlantNumber(key, "BaudRate", 115200);
    PlantText(key, "LogFile", folder.Path("both.log"));
    PlantNumber(key, "UseLogFile", 1);
    folder.Write(files + "\\default\\old.txt", "old");
    return Process("ZorbelSim.exe", "--port " + pair.device + " --files \"" + folder.Path(files) +
                                        "\" --start-delay 3000");
}

bool Shows(HWND terminal, const char* text) {
    char shown[4096] = {};
    SendMessageA(FindWindowExA(terminal, nullptr, "EDIT", nullptr), WM_GETTEXT, sizeof(shown),
                 reinterpret_cast<LPARAM>(shown));
    return std::strstr(shown, text) != nullptr;
}

} // namespace

TEST(Instances, ShareListLogAndKeyAsTheyMust) {
    const std::vector<ComPair> pairs = AllComPairs(2);
    if (pairs.size() < 2)
        GTEST_SKIP() << "needs two null modems";
    const TestFolder folder;
    RemoveKey(SettingsRoot);
    const Process devices[2] = {Device(pairs[0], FirstKey, folder, "device0"),
                                Device(pairs[1], SecondKey, folder, "device1")};
    Instance first;
    Instance second;
    EXPECT_EQ(TextOf(second.window).find(" Port: " + pairs[1].program), 0U);
    // Only the program that opened the log first writes it.
    const auto banners = [&] { return Count(folder.Read("both.log"), "ZoOS"); };
    EXPECT_TRUE(WaitUntil([&] { return banners() == 1; }, 8000));
    EXPECT_TRUE(WaitUntil([&] { return Shows(second.window, "ZoOS"); }, 8000))
        << "a device that starts later would refuse the file";

    // Every running program gets the list of a later start.
    folder.Write("sent.txt", "to both");
    Process sender("ZoConsole.exe", '"' + folder.Path("sent.txt") + '"');
    EXPECT_TRUE(sender.Ended(Patience));
    EXPECT_EQ(sender.ExitCode(), 0U);
    for (const char* device : {"device0", "device1"})
        EXPECT_TRUE(WaitUntil([&] {
            return folder.Read(std::string(device) + "\\default\\sent.txt") == "to both";
        })) << device;
    EXPECT_EQ(banners(), 1) << folder.Read("both.log");

    // The key is that of the number of windows, so two may share one; the last to close stays.
    first.Close();
    Instance third;
    second.Command(CMD_DEVICE_A);
    third.Command(CMD_DEVICE_B);
    third.Close();
    EXPECT_EQ(FindValue(SecondKey, "DeviceName"), "text:b");
    second.Close();
    EXPECT_EQ(FindValue(SecondKey, "DeviceName"), "text:a");
    EXPECT_EQ(FindValue(FirstKey, "DeviceName"), "text:default");
    RemoveKey(SettingsRoot);
}

TEST(Instances, LibraryBesideTheProgramIsNotLoaded) {
    const TestFolder folder;
    RemoveKey(SettingsRoot);
    const std::string planted = BuildFile("tests\\hardening\\libplanted.dll");
    const std::string program = folder.Path("ZoConsole.exe");
    ASSERT_TRUE(CopyFileA(BuildFile("ZoConsole.exe").c_str(), program.c_str(), TRUE));
    ASSERT_TRUE(CopyFileA(planted.c_str(), folder.Path("winmm.dll").c_str(), TRUE)) << planted;
    const HMODULE loaded = LoadLibraryA(planted.c_str());
    EXPECT_NE(GetFileAttributesA((planted + ".loaded").c_str()), INVALID_FILE_ATTRIBUTES);
    FreeLibrary(loaded);
    DeleteFileA((planted + ".loaded").c_str());

    PlantText(FirstKey, "CmdErrWav", folder.Path("no.wav"));
    Instance instance(program);
    instance.Command(CMD_REBOOT); // refused: it wants to sound
    instance.Close();
    EXPECT_FALSE(folder.Exists("winmm.dll.loaded"));
    RemoveKey(SettingsRoot);
}
