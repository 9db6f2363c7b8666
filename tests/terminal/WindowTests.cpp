// The terminal window: typed lines and device text.

#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Import.h"
#include "rig/Pinger.h"
#include "rig/Terminal.h"
#include "terminal/Timers.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>

STAND_IN(GetFileAttributesW);
STAND_IN(ShellExecuteExW);

namespace {

// The result of opening the guide, by the threads that look for it.
const auto AttributesOf = __imp_GetFileAttributesW;
thread_local bool guideMissed = false;
std::atomic<bool> guideMissedOnce = false;
std::atomic<DWORD> guideOpenedBy = 0;
std::atomic<bool> guideOpenedUnseen = false;
std::filesystem::path guideOpened;

DWORD WINAPI LooksForGuide(const wchar_t* path) {
    const DWORD attributes = AttributesOf(path);
    if (attributes == INVALID_FILE_ATTRIBUTES && std::wcsstr(path, L"guide.html"))
        guideMissed = guideMissedOnce = true;
    return attributes;
}

BOOL WINAPI OpensGuide(SHELLEXECUTEINFOW* asked) {
    if (guideMissed) {
        guideOpenedUnseen = true;
        return FALSE;
    }
    if (asked->nShow == SW_SHOWNORMAL && std::wcscmp(asked->lpVerb, L"open") == 0)
        guideOpened = asked->lpFile;
    guideOpenedBy = GetCurrentThreadId();
    return TRUE;
}

class WindowTest : public TerminalTest {
protected:
    // Puts a line into the command box and presses Enter in its edit field; the device answers.
    // Returns what it got, up to the longest line's length.
    std::string Enter(const std::string& line, const std::string& answer = "\x02") {
        SetWindowTextA(CommandBoxOf(*terminal), line.c_str());
        SendMessageA(GetDlgItem(CommandBoxOf(*terminal), IDC_COMMAND_EDIT), WM_CHAR, 13, 0);
        PumpMessages();
        std::string wire = peer->Receive(OnTheWire(line.substr(0, 255)).size());
        peer->Send(answer);
        return wire;
    }

    std::vector<std::string> History() { return HistoryOf(*terminal); }

    bool PaneShows(const std::string& text) {
        return WaitUntil([&] { return TextOf(OutputOf(*terminal)) == text; });
    }

    std::unique_ptr<ComPeer> peer = std::make_unique<ComPeer>();
};

} // namespace

TEST_F(WindowTest, EnterSendsTheLineAndKeepsItSelected) {
    StartConnected();
    EXPECT_EQ(Enter("dir"), OnTheWire("dir"));
    EXPECT_EQ(TextOf(CommandBoxOf(*terminal)), "dir");
    EXPECT_EQ(History(), std::vector<std::string>{"dir"});
    DWORD from = 9;
    DWORD to = 9;
    SendMessageA(CommandBoxOf(*terminal), CB_GETEDITSEL, reinterpret_cast<WPARAM>(&from),
                 reinterpret_cast<LPARAM>(&to));
    EXPECT_EQ(from, 0U);
    EXPECT_EQ(to, 3U);
    EXPECT_EQ(TextOf(OutputOf(*terminal)), "") << "the terminal does not echo";
    EXPECT_EQ(Enter(""), OnTheWire(""));
    EXPECT_EQ(History(), std::vector<std::string>{"dir"});
}

TEST_F(WindowTest, WindowAnswersWhetherTheDeviceAccepted) {
    StartConnected();
    const WPARAM enter = MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed);
    const auto answerTo = [&](const std::string& reply) {
        SetWindowTextA(CommandBoxOf(*terminal), "ver");
        std::atomic<bool> done{false};
        LRESULT answer = -1;
        std::thread device([&] {
            peer->Receive(OnTheWire("ver").size());
            peer->Send(reply);
        });
        std::thread other([&] {
            answer = SendMessageA(terminal->m_hWnd, WM_COMMAND, enter, 0);
            done = true;
        });
        EXPECT_TRUE(WaitUntil([&] { return done.load(); }, 20000));
        device.join();
        other.join();
        return answer;
    };
    EXPECT_NE(answerTo("\x02"), 0);
    EXPECT_EQ(answerTo("\x01"), 0);
    EXPECT_NE(SendMessageA(terminal->m_hWnd, WM_COMMAND, enter, 0), 0) << "it is on its way";
}

// The dialog is answered while a line of another program is awaited, on the stack of its loop. That
// loop may drop a notice instead, so the test tries more than once.
TEST_F(WindowTest, DialogClosedDuringAWaitLosesNoMessage) {
    StartConnected();
    for (int i = 0; i < 5 && !HasFailure(); ++i) {
        peer->Send("text");
        ASSERT_TRUE(PaneShows("text"));
        std::atomic<bool> done{false};
        LRESULT accepted = 0;
        std::thread other([&] {
            HWND dialog = nullptr;
            while ((dialog = FindWindowA("#32770", "Font")) == nullptr || !IsWindowVisible(dialog))
                Sleep(5);
            std::thread device([&] {
                peer->Receive(OnTheWire("ver").size());
                PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
                while (IsWindowVisible(dialog))
                    Sleep(5);
                peer->Send("\x02");
            });
            SetWindowTextA(CommandBoxOf(*terminal), "ver");
            accepted = SendMessageA(terminal->m_hWnd, WM_COMMAND,
                                    MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed), 0);
            PostMessageA(terminal->m_hWnd, WM_COMMAND, CMD_CLEAR, 0);
            device.join();
            done = true;
        });
        Command(CMD_FONT);
        EXPECT_TRUE(WaitUntil([&] { return done.load(); }));
        other.join();
        EXPECT_NE(accepted, 0);
        EXPECT_TRUE(PaneShows(""));
    }
}

TEST_F(WindowTest, HistoryKeepsTenLinesOf255CharactersAndIgnoresCase) {
    StartConnected();
    for (int i = 0; i < 11; ++i)
        Enter("line" + std::to_string(i));
    EXPECT_EQ(History().size(), 10U);
    EXPECT_EQ(History().front(), "line10");
    EXPECT_EQ(History().back(), "line1");
    Enter("LINE5");
    EXPECT_EQ(History().size(), 10U);
    EXPECT_EQ(History().front(), "LINE5");
    EXPECT_EQ(History().back(), "line1");

    EXPECT_TRUE(Close());
    EXPECT_EQ(FindValue(std::string(SettingsRoot) + "\\Instance0", "Command0"), "text:LINE5");
    EXPECT_EQ(FindValue(std::string(SettingsRoot) + "\\Instance0", "Command9"), "text:line1");
    Start();
    EXPECT_EQ(History().front(), "LINE5");
    EXPECT_EQ(History().size(), 10U);
    const std::string kept(255, 'k');
    EXPECT_EQ(Enter(kept + std::string(5000, 'x')), OnTheWire(kept));
    EXPECT_EQ(History().front(), kept);
}

TEST_F(WindowTest, EnterInTheOpenListDoesNotSend) {
    StartConnected();
    Enter("ver");
    SendMessageA(CommandBoxOf(*terminal), CB_SHOWDROPDOWN, TRUE, 0);
    SendMessageA(GetDlgItem(CommandBoxOf(*terminal), IDC_COMMAND_EDIT), WM_CHAR, 13, 0);
    PumpMessages();
    EXPECT_EQ(peer->ReceiveRest(), "");
}

TEST_F(WindowTest, DeviceTextReachesPaneLogAndGaugeInOrder) {
    const std::string key = std::string(SettingsRoot) + "\\Instance0";
    PlantText(key, "LogFile", folder.Path("log"));
    PlantNumber(key, "UseLogFile", 1);
    StartConnected();

    std::string sent;
    for (int i = 0; sent.size() < 1000; ++i)
        sent += "row " + std::to_string(i) + std::string("\0\n", 2);
    peer->Send(sent);
    std::string logged;
    std::string shown;
    for (const char c : sent) {
        logged += c == '\n' ? "\r\n" : std::string(1, c);
        shown += c == '\n' ? "\r\n" : std::string(c ? 1 : 0, c);
    }
    EXPECT_TRUE(PaneShows(shown));
    EXPECT_EQ(folder.Read("log"), logged) << "while the terminal has it open";
    EXPECT_TRUE(WaitUntil([&] { return GaugeOf(*terminal) == logged.size(); }));

    Command(CMD_CLEAR);
    EXPECT_EQ(TextOf(OutputOf(*terminal)), "");
    EXPECT_EQ(GaugeOf(*terminal), 0U);
    EXPECT_TRUE(Close());
}

TEST_F(WindowTest, NoticesMayGetLost) {
    StartConnected();
    peer->Send("hello");
    EXPECT_TRUE(LoseNotices(NotifyText));
    EXPECT_TRUE(WaitUntil([&] { return TextOf(OutputOf(*terminal)) == "hello"; }, 2000));
    EXPECT_TRUE(terminal->QueueLine("ver", LineSilent));
    EXPECT_EQ(peer->Receive(OnTheWire("ver").size()), OnTheWire("ver"));
    peer->Send("\x02");
    EXPECT_TRUE(LoseNotices(NotifyAnswer));
    EXPECT_TRUE(WaitUntil([&] { return !terminal->Port->AwaitsResults(); }));
}

TEST_F(WindowTest, FloodLeavesTheWindowAnswering) {
    StartConnected();
    std::atomic<bool> flooding{true};
    std::thread device([&] {
        const std::string block(4000, 'z');
        for (int i = 0; i < 80; ++i)
            peer->Send(block);
        flooding = false;
    });
    {
        const Pinger pinger(terminal->m_hWnd);
        EXPECT_TRUE(WaitUntil([&] { return !flooding; }, 60000));
        EXPECT_LT(pinger.Slowest(), LongestAnswer);
    }
    device.join();
    EXPECT_TRUE(WaitUntil([&] { return GaugeOf(*terminal) > 0; }));
}

TEST_F(WindowTest, ContentsOpensTheGuideThatLiesBesideTheProgram) {
    Start();
    wchar_t program[MAX_PATH];
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::filesystem::path docs = std::filesystem::path(program).parent_path() / "docs";
    std::filesystem::remove_all(docs);
    const StandIn disk(__imp_GetFileAttributesW, &LooksForGuide);
    const StandIn shell(__imp_ShellExecuteExW, &OpensGuide);
    Command(CMD_CONTENTS);
    ASSERT_TRUE(WaitUntil([] { return guideMissedOnce.load(); }));
    std::filesystem::create_directory(docs);
    std::ofstream(docs / "guide.html") << "The guide";
    Command(CMD_CONTENTS);
    EXPECT_TRUE(WaitUntil([] { return guideOpenedBy != 0; }));
    EXPECT_FALSE(guideOpenedUnseen) << "there was none at first";
    EXPECT_EQ(guideOpened, docs / "guide.html");
    EXPECT_NE(guideOpenedBy, GetCurrentThreadId()) << "the shell may take its time";
    std::filesystem::remove_all(docs);
}
