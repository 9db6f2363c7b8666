// Font, output log and sounds of a terminal.

#include "base/Text.h"
#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Modal.h"
#include "rig/Rig.h"
#include "rig/Terminal.h"

#include <winioctl.h>

#include <dlgs.h>

#include <algorithm>
#include <regex>
#include <set>
#include <thread>
#include <vector>

namespace {

class ComfortTest : public TerminalTest {
protected:
    // A line that the device answers.
    void Send(const std::string& answer) {
        EXPECT_TRUE(terminal->QueueLine("ver", LineAloud));
        peer.Receive(OnTheWire("ver").size());
        peer.Send(answer);
    }

    ComPeer peer;
};

// Chooses an entry of one of the font dialog's lists, as the mouse does.
void Pick(HWND dialog, int list, WPARAM entry) {
    SendDlgItemMessageA(dialog, list, CB_SETCURSEL, entry, 0);
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(list, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(GetDlgItem(dialog, list)));
}

constexpr WPARAM Red = 9;

void PickLargest(HWND dialog) {
    const LRESULT sizes = SendDlgItemMessageA(dialog, cmb3, CB_GETCOUNT, 0, 0);
    Pick(dialog, cmb3, static_cast<WPARAM>(sizes - 1));
}

LONG PaneFontHeight(const ZoTerm& terminal) {
    LOGFONTA font = {};
    const LRESULT object = SendMessageA(OutputOf(terminal), WM_GETFONT, 0, 0);
    GetObjectA(reinterpret_cast<HFONT>(object), sizeof(font), &font);
    return font.lfHeight;
}

std::string Sound(const std::string& name) {
    return std::filesystem::absolute(std::string(ZO_EXAMPLES) + "/sounds/" + name).string();
}

} // namespace

TEST_F(ComfortTest, ApplyTakesTheFontAtOnceAndOkTheColorToo) {
    StartConnected();
    const COLORREF color = terminal->Settings.m_TextColor;
    const LONG height = PaneFontHeight(*terminal);
    const LONG box = RectOf(CommandBoxOf(*terminal)).bottom - RectOf(CommandBoxOf(*terminal)).top;
    const auto apply = [&](HWND dialog) {
        PickLargest(dialog);
        Pick(dialog, cmb4, Red);
        EXPECT_EQ(PaneFontHeight(*terminal), height);
        SendMessageA(dialog, WM_COMMAND, psh3, 0);
        EXPECT_LT(PaneFontHeight(*terminal), 2 * height) << "heights are negative";
        const RECT command = RectOf(CommandBoxOf(*terminal));
        EXPECT_GT(command.bottom - command.top, 2 * box);
        EXPECT_EQ(command.bottom, RectOf(StatusBarOf(*terminal)).top);
        EXPECT_EQ(RectOf(OutputOf(*terminal)).bottom, command.top - 2);
        PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    const auto choose = [&](HWND dialog) {
        EXPECT_EQ(terminal->Settings.m_TextColor, color);
        EXPECT_EQ(PaneFontHeight(*terminal), terminal->Settings.m_Font.lfHeight) << "it has stayed";
        Pick(dialog, cmb3, 0);
        Pick(dialog, cmb4, Red);
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    };
    const ModalScript dialogs({{"Font", apply}, {"Font", choose}});
    Command(CMD_FONT);
    Command(CMD_FONT);
    EXPECT_EQ(PaneFontHeight(*terminal), terminal->Settings.m_Font.lfHeight);
    EXPECT_GT(terminal->Settings.m_Font.lfHeight, height) << "the smallest one";
    EXPECT_EQ(terminal->Settings.m_TextColor, RGB(255, 0, 0));
    const HDC context = GetDC(OutputOf(*terminal));
    SendMessageA(terminal->m_hWnd, WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(context),
                 reinterpret_cast<LPARAM>(OutputOf(*terminal)));
    EXPECT_EQ(GetTextColor(context), RGB(255, 0, 0));
    ReleaseDC(OutputOf(*terminal), context);
}

// Each loop that stands below another one does not see the queue empty.
TEST_F(ComfortTest, DialogsOfTwoWindowsShowTogether) {
    Start();
    Command(CMD_NEW_WINDOW);
    const std::vector<HWND> windows = TerminalWindows();
    std::set<HWND> together;
    std::thread user([&] {
        const auto look = [] { // a dialog that comes to the front meanwhile may be met twice
            std::set<HWND> visible;
            HWND dialog = nullptr;
            while ((dialog = FindWindowExA(nullptr, dialog, "#32770", "Font")) != nullptr)
                if (IsWindowVisible(dialog))
                    visible.insert(dialog);
            return visible;
        };
        for (int i = 0; i < 100 && together.size() < 2; ++i, Sleep(50))
            together = look();
        while (!std::all_of(windows.begin(), windows.end(), &IsWindowEnabled)) {
            for (const HWND dialog : look())
                PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
            Sleep(50);
        }
    });
    for (const HWND window : windows)
        PostMessageA(window, WM_COMMAND, CMD_FONT, 0);
    PumpMessages();
    user.join();
    EXPECT_EQ(together.size(), 2U);
}

TEST_F(ComfortTest, LogBelongsToTheFirstTerminalThatOpensIt) {
    folder.Write("out.log", "before\r\n");
    for (const char* instance : {"\\Instance0", "\\Instance1"}) {
        PlantText(SettingsRoot + std::string(instance), "LogFile", folder.Path("out.log"));
        PlantNumber(SettingsRoot + std::string(instance), "UseLogFile", 1);
    }
    StartConnected();
    const auto logged = [&](const std::string& text, const std::string& all) {
        peer.Send(text);
        EXPECT_TRUE(
            WaitUntil([&] { return TextOf(OutputOf(*terminal)).find(text) != std::string::npos; }));
        EXPECT_EQ(folder.Read("out.log"), all) << "others may read it meanwhile";
    };
    Command(CMD_NEW_WINDOW);
    ASSERT_EQ(TerminalWindows().size(), 2U);
    logged("one", "before\r\none");
    terminal->Settings.m_UseLogFile = 0;
    logged("two", "before\r\none");
    terminal->Settings.m_UseLogFile = 1;
    logged("three", "before\r\nonethree");
    CopyText(terminal->Settings.m_LogFile, folder.Path("none\\out.log").c_str());
    terminal->OpenLog();
    EXPECT_EQ(StatusTextOf(*terminal).rfind("Log failed: ", 0), 0U) << StatusTextOf(*terminal);
    terminal->SetStatusText("");
    logged("four", "before\r\nonethree");
    EXPECT_EQ(StatusTextOf(*terminal), "") << "said once";
    EXPECT_TRUE(DeleteFileA(folder.Path("out.log").c_str())) << "the second never had it";
}

TEST_F(ComfortTest, LinesOfALogWithTimesHaveOneEach) {
    PlantText(SettingsRoot + std::string("\\Instance0"), "LogFile", folder.Path("out.log"));
    for (const char* name : {"UseLogFile", "LogTimes"})
        PlantNumber(SettingsRoot + std::string("\\Instance0"), name, 1);
    StartConnected();
    SYSTEMTIME now = {};
    GetLocalTime(&now);
    const std::regex time(std::to_string(now.wYear) +
                          "-[01]\\d-[0-3]\\d [012]\\d:[0-5]\\d:[0-5]\\d[.]\\d{3} ");
    const auto logged = [&](const std::string& text, const std::string& all) {
        peer.Send(text);
        EXPECT_TRUE(WaitUntil([&] {
            return std::regex_replace(folder.Read("out.log"), time, "T") == all;
        })) << folder.Read("out.log");
    };
    logged("one\ntwo", "Tone\r\nTtwo");
    logged(" more\n\nthree", "Tone\r\nTtwo more\r\nT\r\nTthree");
    terminal->OpenLog();
    logged("four", "Tone\r\nTtwo more\r\nT\r\nTthreeTfour");
    terminal->Settings.m_LogTimes = 0;
    logged("five\nsix", "Tone\r\nTtwo more\r\nT\r\nTthreeTfourfive\r\nsix");
    terminal->Settings.m_LogTimes = 1;
    logged("7\n", "Tone\r\nTtwo more\r\nT\r\nTthreeTfourfive\r\nsixT7\r\n");
}

TEST_F(ComfortTest, LogGoesOnAtTheEndOfALargeFile) {
    constexpr LONGLONG size = 0x100000010;
    const std::string path = folder.Path("large.log");
    DWORD unused = 0;
    LARGE_INTEGER end = {};
    end.QuadPart = size;
    OwnedHandle file(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
    DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
    ASSERT_TRUE(SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get()));
    file.reset();
    PlantText(SettingsRoot + std::string("\\Instance0"), "LogFile", path);
    PlantNumber(SettingsRoot + std::string("\\Instance0"), "UseLogFile", 1);
    StartConnected();
    peer.Send("more");
    EXPECT_TRUE(WaitUntil([&] { return std::filesystem::file_size(path) == size + 4; }));
}

TEST_F(ComfortTest, AcceptedAndRefusedLinesAreHeard) {
    constexpr double Accepted = 880; // Hz, the first and the last note of the two
    constexpr double Refused = 247;
    Recording recording;
    if (!recording.Runs())
        GTEST_SKIP() << "nothing records what is played";
    StartConnected();
    CopyText(terminal->Settings.m_CmdWav, Sound("accepted.wav").c_str());
    CopyText(terminal->Settings.m_CmdErrWav, Sound("refused.wav").c_str());
    Send("\x02");
    EXPECT_TRUE(recording.Hears(Accepted));
    Send("\x01");
    EXPECT_TRUE(recording.Hears(Refused));
    while (recording.Hears(Refused, 300)) // what of it is still on its way
        continue;
    terminal->Settings.m_CmdWav[0] = '\0';
    Send("\x02");
    EXPECT_FALSE(recording.Hears(Accepted, 500)) << "no sound is chosen";
    Send("\x01");
    EXPECT_TRUE(recording.Hears(Refused));
}
