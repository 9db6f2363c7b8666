// The output pane: how it fills and drops, what stays in view, its keyboard, Find and Save.

#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Modal.h"
#include "rig/Terminal.h"

#include <commdlg.h>
#include <dlgs.h>

#include <algorithm>
#include <atomic>
#include <thread>
#include <utility>

namespace {

constexpr char Full[] = "The output is full: Clear (F5), or View > Drop Oldest Text";

class PaneTest : public TerminalTest {
protected:
    PaneTest() {
        PlantText(std::string(SettingsRoot) + "\\Instance0", "LogFile", folder.Path("log"));
        PlantNumber(std::string(SettingsRoot) + "\\Instance0", "UseLogFile", 1);
    }

    HWND Pane() const { return OutputOf(*terminal); }
    HWND Edit() const { return GetDlgItem(CommandBoxOf(*terminal), IDC_COMMAND_EDIT); }

    LRESULT Ask(UINT message, WPARAM wParam = 0, LPARAM lParam = 0) const {
        return SendMessageW(Pane(), message, wParam, lParam);
    }

    std::pair<DWORD, DWORD> Selection() const {
        std::pair<DWORD, DWORD> selection;
        Ask(EM_GETSEL, reinterpret_cast<WPARAM>(&selection.first),
            reinterpret_cast<LPARAM>(&selection.second));
        return selection;
    }

    std::string Selected() const {
        const auto [from, to] = Selection();
        return TextOf(Pane()).substr(from, to - from);
    }

    // Numbered lines of 20 characters in the pane.
    static std::string Line(int number) {
        return "line " + std::to_string(1000000 + number) + "......\r\n";
    }

    // As fast as the terminal takes it: what it has taken is in its log, and a device that sends
    // more than the input buffer holds loses text when the machine is busy.
    void Feed(const std::string& shown) {
        const std::uintmax_t before = Logged();
        std::atomic<bool> waits{true};
        std::thread device([&] {
            for (std::size_t sent = 0; sent < shown.size() && waits; sent += 200) {
                std::string wire = shown.substr(sent, 200);
                wire.erase(std::remove(wire.begin(), wire.end(), '\r'), wire.end());
                peer.Send(wire);
                WaitUntil([&] { return !waits || sent < Logged() - before + 2000; });
            }
        });
        EXPECT_TRUE(WaitUntil([&] { return Logged() >= before + shown.size(); }, 60000));
        waits = false;
        device.join();
    }

    void Send(int from, int count) {
        std::string text;
        for (int i = 0; i < count; ++i)
            text += Line(from + i);
        Feed(text);
        const std::string last = Line(from + count - 1);
        EXPECT_TRUE(WaitUntil([&] { return Ends(TextOf(Pane()), last); }, 20000));
    }

    static bool Ends(const std::string& text, const std::string& end) {
        return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
    }

    std::uintmax_t Logged() const {
        std::error_code none;
        const auto size = std::filesystem::file_size(folder.Path("log"), none);
        return none ? 0 : size;
    }

    // The text from the beginning of the first line in view.
    std::string InView(std::size_t length) const {
        const auto line = static_cast<WPARAM>(Ask(EM_GETFIRSTVISIBLELINE));
        return TextOf(Pane()).substr(static_cast<std::size_t>(Ask(EM_LINEINDEX, line)), length);
    }

    ComPeer peer;
};

} // namespace

TEST_F(PaneTest, FullPaneSaysSoOnceAndCountsOn) {
    StartConnected();
    const std::string filler(65530, 'f');
    Feed(filler);
    EXPECT_TRUE(WaitUntil([&] { return GaugeOf(*terminal) == 65530; }));
    EXPECT_NE(StatusTextOf(*terminal), Full);
    const auto showsFive = [&] { return TextOf(Pane()) == filler + "01234"; };
    peer.Send("0123456789");
    EXPECT_TRUE(WaitUntil(showsFive));
    EXPECT_TRUE(WaitUntil([&] { return GaugeOf(*terminal) == 65535; })) << "it stops at the limit";
    EXPECT_EQ(StatusTextOf(*terminal), Full);
    terminal->SetStatusText("other");
    EXPECT_TRUE(terminal->QueueLine("ver", LineSilent));
    EXPECT_EQ(peer.Receive(OnTheWire("ver").size()), OnTheWire("ver"));
    peer.Send("more\x02");
    EXPECT_TRUE(WaitUntil([&] { return !terminal->Port->AwaitsResults(); }));
    EXPECT_TRUE(showsFive());
    EXPECT_EQ(GaugeOf(*terminal), 65535U);
    Command(CMD_CLEAR);
    EXPECT_EQ(StatusTextOf(*terminal), "other") << "said once, and only its own text goes";
    terminal->SetStatusText(Full);
    Command(CMD_CLEAR);
    EXPECT_EQ(StatusTextOf(*terminal), "");
}

TEST_F(PaneTest, DroppingKeepsTheNewestWholeLines) {
    StartConnected();
    EXPECT_FALSE(ItemIsChecked(1, 7));
    SetWindowTextA(Pane(), std::string(65535, 'o').c_str());
    peer.Send("lost");
    EXPECT_TRUE(WaitUntil([&] { return StatusTextOf(*terminal) == Full; }));
    Command(CMD_DROP_OLDEST);
    EXPECT_TRUE(ItemIsChecked(1, 7));
    EXPECT_EQ(StatusTextOf(*terminal), "");
    Send(0, 6000);
    const std::string text = TextOf(Pane());
    EXPECT_EQ(text.find('o'), std::string::npos);
    EXPECT_GT(text.size(), 40000U);
    std::string expected;
    for (int i = 6000 - static_cast<int>(text.size() / 20); i < 6000; ++i)
        expected += Line(i);
    EXPECT_EQ(text, expected) << "the newest lines, each whole and in order";
    EXPECT_TRUE(WaitUntil([&] { return GaugeOf(*terminal) == text.size(); }));
    EXPECT_TRUE(Close());
    Start();
    EXPECT_TRUE(ItemIsChecked(1, 7)) << "it is remembered";
}

TEST_F(PaneTest, TextThatComesLeavesAReaderAlone) {
    StartConnected();
    Send(0, 1500);
    EXPECT_EQ(InView(20), Line(1500 - static_cast<int>(Ask(EM_GETLINECOUNT) - 1) +
                               static_cast<int>(Ask(EM_GETFIRSTVISIBLELINE))));
    EXPECT_GT(Ask(EM_GETFIRSTVISIBLELINE), 1400) << "it follows";

    SetFocus(Pane());
    Ask(EM_LINESCROLL, 0, -300);
    const std::string view = InView(200);
    Send(1500, 20);
    EXPECT_EQ(InView(200), view);
    Ask(EM_SETSEL, 1200 * 20 + 17, 1200 * 20 + 3); // the caret is first
    Ask(EM_LINESCROLL, 0, 1000);
    const std::string selected = Selected();
    const std::string end = InView(200);
    Send(1520, 20);
    EXPECT_EQ(Selection(), std::make_pair(DWORD{1200 * 20 + 3}, DWORD{1200 * 20 + 17}));
    EXPECT_EQ(InView(200), end) << "also at the end";
    Ask(EM_SCROLLCARET); // draws the caret again
    POINT caret = {};
    GetCaretPos(&caret);
    EXPECT_EQ(MAKELRESULT(caret.x, caret.y), Ask(EM_POSFROMCHAR, Selection().first));

    Command(CMD_DROP_OLDEST);
    Ask(EM_LINESCROLL, 0, 1210 - Ask(EM_GETFIRSTVISIBLELINE));
    const std::string kept = InView(200);
    SetFocus(CommandBoxOf(*terminal));
    Send(1540, 2000);
    EXPECT_NE(TextOf(Pane()).rfind(Line(0), 0), 0U) << "lines were dropped";
    EXPECT_EQ(Selected(), selected);
    EXPECT_EQ(InView(200), kept);
    Send(3540, 4000);
    EXPECT_EQ(Selection(), std::make_pair(DWORD{0}, DWORD{0}));
    EXPECT_EQ(Ask(EM_GETFIRSTVISIBLELINE), 0) << "what was read has gone, the oldest is in view";
    Ask(EM_LINESCROLL, 0, 10000);
    Send(7540, 20);
    EXPECT_GT(InView(20), Line(7500)) << "it follows again";
}

TEST_F(PaneTest, FollowsWhenLessOfItsTextFits) {
    StartConnected();
    Send(0, 100);
    const HFONT font = CreateFontA(60, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, "Courier New");
    Ask(WM_SETFONT, reinterpret_cast<WPARAM>(font), TRUE);
    Send(100, 100);
    EXPECT_GT(InView(20), Line(170));
    EXPECT_TRUE(Close());
    DeleteObject(font);
}

TEST_F(PaneTest, TypingGoesToTheCommandBoxAndChangesNothingHere) {
    StartConnected();
    SetWindowTextA(Pane(), "device");
    SetWindowTextA(Edit(), "v");
    SendMessageW(Edit(), EM_SETSEL, 1, 1);
    for (const int key : {int{'e'}, int{'x'}, VK_BACK, int{'r'}, VK_RETURN}) {
        SetFocus(Pane());
        Ask(WM_CHAR, static_cast<WPARAM>(key));
        EXPECT_EQ(GetFocus(), Edit());
    }
    PumpMessages();
    EXPECT_EQ(peer.Receive(OnTheWire("ver").size()), OnTheWire("ver"));

    SetFocus(Pane());
    Ask(WM_CHAR, 1);
    EXPECT_EQ(Selected(), "device") << "Ctrl+A";
    Ask(WM_CHAR, 3);
    EXPECT_EQ(GetFocus(), Pane());
    for (const UINT message : {UINT{WM_CUT}, UINT{WM_CLEAR}, UINT{WM_UNDO}, UINT{EM_UNDO}})
        Ask(message);
    for (const WPARAM character : {24U, 26U, 127U})
        Ask(WM_CHAR, character);
    Ask(WM_KEYDOWN, VK_DELETE);
    Ask(WM_SYSKEYDOWN, VK_BACK);
    EXPECT_EQ(TextOf(Pane()), "device");
    EXPECT_EQ(GetFocus(), Pane());
    SetWindowTextA(Edit(), "");
    Ask(WM_PASTE);
    EXPECT_EQ(TextOf(Edit()), "device") << "what Ctrl+C has copied";
    EXPECT_EQ(TextOf(Pane()), "device");
    EXPECT_EQ(GetWindowLongPtrA(Pane(), GWL_STYLE) & ES_READONLY, 0);
}

TEST_F(PaneTest, FindWrapsSelectsAndReports) {
    Start();
    std::string text(3000, '\n');
    for (std::size_t at = 0; at < text.size(); at += 2)
        text[at] = '\r';
    SetWindowTextA(Pane(), ("Alpha alphabet" + text + "alpha").c_str());
    const DWORD last = 14 + 3000;
    Command(CMD_FIND_NEXT);
    const HWND dialog = FindWindowA("#32770", "Find");
    ASSERT_NE(dialog, nullptr) << "F3 without a text asks for one";
    Command(CMD_FIND);
    EXPECT_EQ(FindWindowExA(nullptr, dialog, "#32770", "Find"), nullptr) << "there is one";
    const auto find = [&](const char* wanted, DWORD at, const std::string& status = "") {
        SetDlgItemTextA(dialog, edt1, wanted);
        SendMessageA(dialog, WM_COMMAND, IDOK, 0);
        EXPECT_EQ(Selection().first, at) << wanted;
        EXPECT_EQ(StatusTextOf(*terminal), status);
    };
    const auto press = [&](int button) { SendDlgItemMessageA(dialog, button, BM_CLICK, 0, 0); };
    terminal->SetStatusText("");
    find("ALPHA", 0);
    find("alpha", 6);
    find("alpha", last);
    EXPECT_GT(Ask(EM_GETFIRSTVISIBLELINE), 1000) << "it is in view";
    EXPECT_EQ(Selected(), "alpha");
    find("alpha", 0);
    press(chx1); // whole words
    find("alpha", last);
    press(chx2); // letter case
    find("alpha", last);
    find("Alphabet", last, "Not found: Alphabet");
    press(chx1);
    find("alpha", 6);
    press(rad1); // up
    find("alpha", last);
    find("alpha", 6);
    SendMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    Command(CMD_FIND_NEXT);
    EXPECT_EQ(Selection().first, last);
    Command(CMD_FIND_NEXT);
    EXPECT_EQ(Selection().first, 6U) << "letter case still counts";
    Command(CMD_FIND_PREVIOUS);
    EXPECT_EQ(Selection().first, last);
    Command(CMD_FIND);
    const HWND again = FindWindowA("#32770", "Find");
    ASSERT_NE(again, nullptr);
    EXPECT_TRUE(Close()) << "the dialog does not keep it";
    EXPECT_FALSE(IsWindow(again));
}

TEST_F(PaneTest, SavedFileHoldsTheTextOrStaysAsItWas) {
    Start();
    const std::string text = "one\r\ntwo \xE9\r\n";
    SetWindowTextA(Pane(), text.c_str());
    const auto save = [&] {
        const ModalScript dialog({{"Save Output As", Choose(folder.Path("out.txt"))}});
        Command(CMD_SAVE_OUTPUT);
    };
    save();
    EXPECT_EQ(folder.Read("out.txt"), text);
    SetFileAttributesA(folder.Path("out.txt").c_str(), FILE_ATTRIBUTE_READONLY);
    SetWindowTextA(Pane(), "other");
    {
        const ModalScript dialogs(
            {{"Save Output As", Choose(folder.Path("out.txt"))}, {"Save Output As", Press(IDYES)}});
        Command(CMD_SAVE_OUTPUT);
    }
    EXPECT_EQ(StatusTextOf(*terminal).rfind("Save failed: ", 0), 0U) << StatusTextOf(*terminal);
    EXPECT_EQ(folder.Read("out.txt"), text);
    EXPECT_EQ(folder.Names(), "device,log,out.txt,");
    SetFileAttributesA(folder.Path("out.txt").c_str(), FILE_ATTRIBUTE_NORMAL);
}
