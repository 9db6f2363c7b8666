// Lines that go out several at a time: what the items of the Macros menu send, and what is pasted.

#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Modal.h"
#include "rig/Terminal.h"

#include <cstring>

namespace {

using Lines = std::vector<std::string>;

constexpr WPARAM ByKey = MAKEWPARAM(0, 1); // an accelerator's mark in WM_COMMAND

class MacroTest : public TerminalTest {
protected:
    void Load(const std::string& ini) {
        folder.Write("macros.txt", ini);
        const ModalScript dialog({{"Load Macros", Choose(folder.Path("macros.txt"))}});
        Command(CMD_LOAD_MACROS);
    }

    // The labels from the separator on, which is empty.
    Lines Items() const {
        const HMENU menu = GetSubMenu(GetMenu(terminal->m_hWnd), 4);
        Lines labels;
        for (int i = 1; i < GetMenuItemCount(menu); ++i) {
            char label[300] = {};
            GetMenuStringA(menu, static_cast<UINT>(i), label, sizeof(label), MF_BYPOSITION);
            labels.push_back(label);
        }
        return labels;
    }

    // True when a command sends just these lines, to a device that answers each.
    bool Sends(WPARAM command, const Lines& lines, const std::string& answer = "\x02") {
        std::string wanted;
        std::string got;
        Command(command);
        for (const std::string& line : lines) {
            wanted += OnTheWire(line);
            got += peer.Receive(OnTheWire(line).size());
            peer.Send(answer);
        }
        EXPECT_TRUE(WaitUntil([&] { return !terminal->Port->AwaitsResults(); }));
        return got + peer.ReceiveRest() == wanted;
    }

    ComPeer peer;
};

} // namespace

TEST_F(MacroTest, MenuHoldsTheSectionsOfTheLastFile) {
    Start();
    Load("[dir]\n[ver]\na\n[reset]\n");
    EXPECT_EQ(Items(), (Lines{"", "dir\tAlt+1", "ver\tAlt+2", "reset\tAlt+3"}));
    std::string many;
    for (int i = 0; i < 12; ++i)
        many += "[m" + std::to_string(i) + "]\n";
    Load(many);
    const Lines items = Items();
    ASSERT_EQ(items.size(), 13U);
    EXPECT_EQ(items[9], "m8\tAlt+9");
    EXPECT_EQ(items[10], "m9\tAlt+0");
    EXPECT_EQ(items[11], "m10");
    EXPECT_EQ(GetMenuItemID(GetSubMenu(GetMenu(terminal->m_hWnd), 4), 13), 2011U);

    Load("no section\n");
    EXPECT_EQ(Items(), Lines{});
    const std::string names(300, 'n');
    std::string full;
    for (int i = 0; i < 100; ++i)
        full += "[" + names + std::to_string(i) + "]\n";
    Load(full);
    EXPECT_LT(Items().size(), 20U) << "as many as the list holds";
    folder.Write("other.txt", "[only]\n");
    const ModalScript dialog({{"Load Macros", Choose(folder.Path("other.txt"))}});
    Command(CMD_LOAD_MACROS);
    EXPECT_EQ(Items(), (Lines{"", "only\tAlt+1"}));
    EXPECT_TRUE(Close());
    Start();
    EXPECT_EQ(Items(), (Lines{"", "only\tAlt+1"})) << "the file is remembered";
    EXPECT_TRUE(Close());
    PlantText(std::string(SettingsRoot) + "\\Instance0", "MacrosFile", folder.Path(""));
    Start();
    EXPECT_EQ(Items(), Lines{}) << "a folder is no file";
}

TEST_F(MacroTest, ItemSendsItsLinesOrItsName) {
    StartConnected();
    const std::string longName(300, 'L');
    Load("[both]\ndir\n; a comment\nver\n[ver]\n[A&B\tAlt+9]\necho a=b\n[" + longName +
         "]\necho long\n");
    EXPECT_EQ(Items()[3], "A&&B Alt+9\tAlt+3");
    EXPECT_EQ(Items()[4].substr(Items()[4].size() - 7), "L\tAlt+4");
    EXPECT_LT(Items()[4].size(), 256U);
    EXPECT_TRUE(Sends(2000, {"dir", "ver"}));
    EXPECT_TRUE(Sends(2000 | ByKey, {"dir", "ver"}, "\x01")) << "also after a refused line";
    EXPECT_TRUE(Sends(2001, {"ver"}));
    EXPECT_TRUE(Sends(2002, {"echo a=b"}));
    EXPECT_TRUE(Sends(2003, {"echo long"}));
    EXPECT_TRUE(Sends(2004, {})) << "there is no such item";
    terminal->EnableCommands(false);
    EXPECT_TRUE(Sends(2001, {})) << "a file operation runs";
    terminal->EnableCommands(true);
    EXPECT_TRUE(Sends(CMD_REBOOT, {"reboot"}));
    Load("[0]\n[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\n[8]\n[9]\n[ten]\n[eleven]\nlast\n");
    EXPECT_TRUE(Sends(2009 | ByKey, {"9"}));
    EXPECT_TRUE(Sends(CMD_REBOOT, {"ten"}));
    EXPECT_TRUE(Sends(CMD_REBOOT | ByKey, {"reboot"}));
    EXPECT_TRUE(Sends(2011, {"last"}));
}

TEST_F(MacroTest, MacroIsQueuedWholeAndAnotherPortForgetsIt) {
    StartConnected();
    Load("[three]\none\ntwo\nthree\n[x]\n");
    while (terminal->QueueLine("q", LineSilent))
        continue;
    for (const char* answer : {"\x02", ""}) { // one place is free then
        EXPECT_EQ(peer.Receive(OnTheWire("q").size()), OnTheWire("q"));
        peer.Send(answer);
    }
    Command(2000);
    EXPECT_TRUE(terminal->QueueLine("q", LineSilent)) << "none of the three lines has the place";
    terminal->OpenPort(ReadComPair().number, 57600);
    EXPECT_EQ(peer.ReceiveRest(), "");
    Command(2000);
    EXPECT_EQ(peer.Receive(OnTheWire("one").size()), OnTheWire("one"));
    terminal->OpenPort(ReadComPair().number, 57600);
    EXPECT_TRUE(Sends(2001, {"x"})) << "and neither of the other lines";
}

TEST_F(MacroTest, PastedLinesAreSentAndTheRestStays) {
    StartConnected();
    const HWND edit = GetDlgItem(CommandBoxOf(*terminal), IDC_COMMAND_EDIT);
    const auto paste = [&](const std::string& text) {
        const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, text.size() + 1);
        std::memcpy(GlobalLock(memory), text.c_str(), text.size() + 1);
        GlobalUnlock(memory);
        EXPECT_TRUE(OpenClipboard(terminal->m_hWnd) && EmptyClipboard() &&
                    SetClipboardData(CF_TEXT, memory) && CloseClipboard());
        SendMessageA(edit, WM_PASTE, 0, 0);
    };
    const auto send = [&](const Lines& lines) {
        return Sends(CMD_FOCUS, lines); // which sends nothing itself
    };
    paste("one line");
    EXPECT_EQ(TextOf(edit), "one line");
    SendMessageA(edit, EM_SETSEL, 4, 8);
    paste("first\r\n\r\nsecond\nthe rest");
    EXPECT_TRUE(send({"one first", "second"}));
    EXPECT_EQ(TextOf(edit), "the rest");
    SendMessageA(edit, EM_SETSEL, 0, 4);
    paste("a\n");
    EXPECT_TRUE(send({"a"}));
    EXPECT_EQ(TextOf(edit), "rest");
    SendMessageA(terminal->m_hWnd, WM_COMMAND, MAKEWPARAM(IDC_COMMAND, ZoTerm::EnterPressed), 0);
    EXPECT_TRUE(Sends(CMD_FOCUS, {"rest"}, "\x01"));
    EXPECT_EQ(StatusTextOf(*terminal), "Refused: rest");
    EXPECT_EQ(SendMessageA(CommandBoxOf(*terminal), CB_GETCOUNT, 0, 0), 4) << "all are remembered";
    EXPECT_TRUE(terminal->QueueLine("silence", LineAloud));
    EXPECT_EQ(StatusTextOf(*terminal), "") << "until the next line";
    EXPECT_EQ(peer.Receive(OnTheWire("silence").size()), OnTheWire("silence"));
    EXPECT_TRUE(WaitUntil([&] { return StatusTextOf(*terminal) == "No answer: silence"; }));
}
