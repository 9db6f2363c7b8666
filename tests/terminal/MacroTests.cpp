// The Macros menu and what its items send.

#include "base/Text.h"
#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/Modal.h"
#include "rig/Terminal.h"

#include <atomic>
#include <functional>
#include <thread>

namespace {

using Lines = std::vector<std::string>;

constexpr WPARAM ByKey = MAKEWPARAM(0, 1); // an accelerator's mark in WM_COMMAND

class MacroTest : public TerminalTest {
protected:
    bool Load(const std::string& ini) {
        folder.Write("macros.txt", ini);
        CopyText(terminal->m_MacrosFile, folder.Path("macros.txt").c_str());
        return terminal->BuildMacrosMenu();
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
        return Sends([&] { SendMessageA(terminal->m_hWnd, WM_COMMAND, command, 0); }, lines,
                     answer);
    }
    bool Sends(const std::function<void()>& act, const Lines& lines,
               const std::string& answer = "\x02") {
        std::string wanted;
        std::string got;
        std::atomic<bool> done{false};
        for (const std::string& line : lines)
            wanted += OnTheWire(line);
        std::thread device([&] {
            for (const std::string& line : lines) {
                got += peer.Receive(OnTheWire(line).size());
                peer.Send(answer);
            }
            done = true;
        });
        act();
        WaitUntil([&] { return done.load(); }, 20000);
        device.join();
        EXPECT_TRUE(WaitUntil([&] { return terminal->m_MacroQueue[0] == '\0'; }));
        return got + peer.ReceiveRest() == wanted;
    }

    TestFolder folder;
    ComPeer peer;
};

} // namespace

TEST_F(MacroTest, MenuHoldsTheSectionsOfTheLastFile) {
    Start();
    ASSERT_TRUE(Load("[dir]\n[ver]\na\n[reset]\n"));
    EXPECT_EQ(Items(), (Lines{"", "dir\tAlt+1", "ver\tAlt+2", "reset\tAlt+3"}));
    std::string many;
    for (int i = 0; i < 12; ++i)
        many += "[m" + std::to_string(i) + "]\n";
    ASSERT_TRUE(Load(many));
    const Lines items = Items();
    ASSERT_EQ(items.size(), 13U);
    EXPECT_EQ(items[9], "m8\tAlt+9");
    EXPECT_EQ(items[10], "m9\tAlt+0");
    EXPECT_EQ(items[11], "m10");
    EXPECT_EQ(GetMenuItemID(GetSubMenu(GetMenu(terminal->m_hWnd), 4), 13), 2011U);

    EXPECT_TRUE(Load("no section\n"));
    EXPECT_EQ(Items(), Lines{});
    Load("[dir]\n");
    CopyText(terminal->m_MacrosFile, folder.Path("").c_str());
    EXPECT_FALSE(terminal->BuildMacrosMenu()) << "a folder is no file";
    EXPECT_EQ(Items(), Lines{});

    const std::string names(300, 'n');
    std::string full;
    for (int i = 0; i < 100; ++i)
        full += "[" + names + std::to_string(i) + "]\n";
    EXPECT_TRUE(Load(full));
    EXPECT_LT(Items().size(), 20U) << "as many as the list holds";
    folder.Write("other.txt", "[only]\n");
    const ModalScript dialog({{"Load Macros", Choose(folder.Path("other.txt"))}});
    Command(CMD_LOAD_MACROS);
    EXPECT_EQ(Items(), (Lines{"", "only\tAlt+1"}));
    SendMessageA(terminal->m_hWnd, WM_CLOSE, 0, 0);
    Start();
    EXPECT_EQ(Items(), (Lines{"", "only\tAlt+1"})) << "the file is remembered";
}

TEST_F(MacroTest, ItemSendsItsLinesOrItsName) {
    StartConnected();
    const std::string longName(300, 'L');
    ASSERT_TRUE(Load("[both]\ndir\n; a comment\nver\n[ver]\n[A&B\tAlt+9]\necho a=b\n[" + longName +
                     "]\necho long\n"));
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
    const auto smuggle = [&] { terminal->QueueMacroLines("echo\nreboot\0echo\rreboot\0ver\0"); };
    EXPECT_TRUE(Sends(smuggle, {"ver"})) << "a line is one line";

    EXPECT_TRUE(Sends(CMD_REBOOT, {"reboot"}));
    ASSERT_TRUE(Load("[0]\n[1]\n[2]\n[3]\n[4]\n[5]\n[6]\n[7]\n[8]\n[9]\n[ten]\n[eleven]\nlast\n"));
    EXPECT_TRUE(Sends(2009 | ByKey, {"9"}));
    EXPECT_TRUE(Sends(CMD_REBOOT, {"ten"}));
    EXPECT_TRUE(Sends(CMD_REBOOT | ByKey, {"reboot"}));
    EXPECT_TRUE(Sends(2011, {"last"}));
}

TEST_F(MacroTest, WindowLivesOnBetweenLinesAndAnotherPortEndsTheMacro) {
    StartConnected();
    ASSERT_TRUE(Load("[three]\none\ntwo\nthree\n[x]\n"));
    const auto takeLine = [&](const std::string& line) {
        std::thread device([&, line] {
            EXPECT_EQ(peer.Receive(OnTheWire(line).size()), OnTheWire(line));
            peer.Send("\x02"
                      "said " +
                      line);
        });
        return device;
    };
    std::thread device = takeLine("one");
    Command(2000);
    device.join();
    Command(2001);
    terminal->EnableCommands(false);
    EXPECT_TRUE(WaitUntil([&] { return TextOf(terminal->m_hOutput) == "said one"; }));
    EXPECT_EQ(peer.ReceiveRest(), "") << "an operation has the line for itself";
    device = takeLine("two");
    terminal->EnableCommands(true);
    EXPECT_TRUE(WaitUntil([&] { return TextOf(terminal->m_hOutput) == "said onesaid two"; }));
    device.join();

    terminal->OpenPort(ReadComPair().number, 57600);
    EXPECT_EQ(terminal->m_MacroQueue[0], '\0');
    WaitUntil([] { return false; }, 50); // longer than the pause between two lines
    EXPECT_EQ(peer.ReceiveRest(), "");
    terminal->EnableCommands(false);
    const std::string line(3000, 'q');
    for (int i = 0; i < 3; ++i)
        terminal->QueueMacroLines((line + '\0').c_str());
    EXPECT_EQ(std::string(terminal->m_MacroQueue, 6003), line + '\0' + line + std::string(2, '\0'))
        << "what finds no room is refused whole";
}
