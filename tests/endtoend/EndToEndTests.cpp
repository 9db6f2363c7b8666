// The whole program with the simulator at the other end, driven by the keyboard.

#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/Process.h"
#include "rig/Terminal.h"

namespace {

// A control's text, also of another process.
std::string ControlText(HWND control) {
    std::string text(70000, '\0');
    text.resize(static_cast<std::size_t>(
        SendMessageA(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

} // namespace

TEST(EndToEnd, TypedLinesReachTheDeviceAndItsTextThePane) {
    const ComPair pair = ReadComPair();
    const std::string key = std::string(SettingsRoot) + "\\Instance0";
    RemoveKey(SettingsRoot);
    PlantNumber(key, "Port", static_cast<DWORD>(pair.number));
    PlantNumber(key, "BaudRate", 115200);

    const TestFolder folder;
    Process device("ZorbelSim.exe",
                   "--port " + pair.device + " --files \"" + folder.Path("device") + "\"");
    Process program("ZoConsole.exe", "");
    ASSERT_TRUE(WaitUntil([&] { return WindowsOf(program).size() == 1; }, 20000));
    const HWND window = WindowsOf(program)[0];
    EXPECT_EQ(TextOf(window), " Port: " + pair.program + ", Zorbel Console Terminal");
    const HWND pane = FindWindowExA(window, nullptr, "EDIT", nullptr);

    const auto typedShows = [&](const std::string& line, const std::string& answer) {
        TypeLine(window, line);
        EXPECT_TRUE(WaitUntil([&] { return ControlText(pane).find(answer) != std::string::npos; }))
            << line << " -> " << ControlText(pane);
    };
    typedShows("echo hello handheld", "\r\nhello handheld\r\n");
    typedShows("ver", "ZoOS 1.0");
    typedShows("reboot", "Preparing to load ZoOS\r\n");

    PressControl(window, 'n');
    ASSERT_TRUE(WaitUntil([&] { return WindowsOf(program).size() == 2; }));
    {
        // There is nothing to send in this list, and the start reports it.
        Process second("ZoConsole.exe", "\"some file.txt\"");
        EXPECT_TRUE(second.Ended(Patience));
        EXPECT_EQ(second.ExitCode(), 1U);
    }
    for (const HWND each : WindowsOf(program))
        PostMessageA(each, WM_COMMAND, CMD_EXIT, 0);
    EXPECT_TRUE(program.Ended(Patience));
    EXPECT_EQ(program.ExitCode(), 0U);
    EXPECT_EQ(FindValue(key, "Command0"), "text:reboot");
    EXPECT_EQ(FindValue(key, "Command2"), "text:echo hello handheld");
    RemoveKey(SettingsRoot);
}
