// Font, output log and sounds of a terminal.

#include "base/Text.h"
#include "resources/resource.h"
#include "tests/support/ComPeer.h"
#include "tests/support/Files.h"
#include "tests/support/Modal.h"
#include "tests/support/Rig.h"
#include "tests/support/Terminal.h"

#include <dlgs.h>

#include <cmath>
#include <thread>

namespace {

class ComfortTest : public TerminalTest {
protected:
    RECT RectOf(HWND control) const {
        RECT rect = {};
        GetWindowRect(control, &rect);
        return rect;
    }

    // A line that the device answers.
    void Send(const std::string& answer) {
        std::thread device([&] {
            peer.Receive(OnTheWire("ver").size());
            peer.Send(answer);
        });
        terminal->SendCommandAloud("ver");
        device.join();
    }

    TestFolder folder;
    ComPeer peer;
};

// Chooses an entry of one of the font dialog's lists, as the mouse does.
void Pick(HWND dialog, int list, WPARAM entry) {
    SendDlgItemMessageA(dialog, list, CB_SETCURSEL, entry, 0);
    SendMessageA(dialog, WM_COMMAND, MAKEWPARAM(list, CBN_SELCHANGE),
                 reinterpret_cast<LPARAM>(GetDlgItem(dialog, list)));
}

void PickLargest(HWND dialog) {
    const LRESULT sizes = SendDlgItemMessageA(dialog, cmb3, CB_GETCOUNT, 0, 0);
    Pick(dialog, cmb3, static_cast<WPARAM>(sizes - 1));
}

LONG PaneFontHeight(const ZoTerm& terminal) {
    LOGFONTA font = {};
    const LRESULT object = SendMessageA(terminal.m_hOutput, WM_GETFONT, 0, 0);
    GetObjectA(reinterpret_cast<HFONT>(object), sizeof(font), &font);
    return font.lfHeight;
}

// Half a second of a tone: 8-bit mono, 8000 samples a second.
std::string Wave(double hertz) {
    std::string samples;
    for (int i = 0; i < 4000; ++i)
        samples += static_cast<char>(128 + 100 * std::sin(2 * 3.14159265 * hertz * i / 8000));
    const auto number = [](std::uint32_t value, int bytes) {
        return std::string(reinterpret_cast<const char*>(&value), static_cast<std::size_t>(bytes));
    };
    const auto size = static_cast<std::uint32_t>(samples.size());
    return "RIFF" + number(36 + size, 4) + "WAVEfmt " + number(16, 4) + number(1, 2) +
           number(1, 2) + number(8000, 4) + number(8000, 4) + number(1, 2) + number(8, 2) + "data" +
           number(size, 4) + samples;
}

} // namespace

TEST_F(ComfortTest, AppliedFontShowsAtOnceAndStaysWhenCancelled) {
    StartConnected();
    const COLORREF color = terminal->m_TextColor;
    const LONG height = PaneFontHeight(*terminal);
    const LONG box = RectOf(terminal->m_hCommand).bottom - RectOf(terminal->m_hCommand).top;
    const auto apply = [&](HWND dialog) {
        PickLargest(dialog);
        EXPECT_EQ(PaneFontHeight(*terminal), height);
        Pick(dialog, cmb4, 9);
        SendMessageA(dialog, WM_COMMAND, psh3, 0);
        EXPECT_LT(PaneFontHeight(*terminal), 2 * height) << "heights are negative";
        const RECT command = RectOf(terminal->m_hCommand);
        EXPECT_GT(command.bottom - command.top, 2 * box);
        EXPECT_EQ(command.bottom, RectOf(terminal->m_hStatus).top);
        EXPECT_EQ(RectOf(terminal->m_hOutput).bottom, command.top - 2);
        PostMessageA(dialog, WM_COMMAND, IDCANCEL, 0);
    };
    const ModalScript dialogs({{"Font", apply}});
    Command(CMD_FONT);
    EXPECT_LT(terminal->m_Font.lfHeight, 2 * height);
    EXPECT_EQ(PaneFontHeight(*terminal), terminal->m_Font.lfHeight);
    EXPECT_EQ(terminal->m_TextColor, color);
}

TEST_F(ComfortTest, ChosenFontAndColorAreTakenAndStored) {
    StartConnected();
    const auto choose = [&](HWND dialog) {
        Pick(dialog, cmb3, 0);
        Pick(dialog, cmb4, 9); // red
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    };
    const ModalScript dialogs({{"Font", choose}});
    Command(CMD_FONT);
    EXPECT_EQ(PaneFontHeight(*terminal), terminal->m_Font.lfHeight);
    EXPECT_EQ(terminal->m_TextColor, RGB(255, 0, 0));
    const HDC context = GetDC(terminal->m_hOutput);
    SendMessageA(terminal->m_hWnd, WM_CTLCOLOREDIT, reinterpret_cast<WPARAM>(context),
                 reinterpret_cast<LPARAM>(terminal->m_hOutput));
    EXPECT_EQ(GetTextColor(context), RGB(255, 0, 0));
    ReleaseDC(terminal->m_hOutput, context);
    const std::string stored =
        "dword:" + std::to_string(static_cast<DWORD>(terminal->m_Font.lfHeight));
    SendMessageA(terminal->m_hWnd, WM_CLOSE, 0, 0);
    const std::string key = std::string(SettingsRoot) + "\\Instance0";
    EXPECT_EQ(FindValue(key, "FontHeight"), stored);
    EXPECT_EQ(FindValue(key, "TextColor"), "dword:255");
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
        const std::uint32_t count = terminal->m_OutputCount;
        EXPECT_TRUE(WaitUntil([&] { return terminal->m_OutputCount >= count + text.size(); }));
        EXPECT_EQ(folder.Read("out.log"), all) << "others may read it meanwhile";
    };
    Command(CMD_NEW_WINDOW);
    ASSERT_EQ(TerminalWindows().size(), 2U);
    for (const HWND window : TerminalWindows())
        EXPECT_EQ(TerminalOf(window).m_LogHandle != nullptr, window == terminal->m_hWnd);
    logged("one", "before\r\none");
    terminal->m_UseLogFile = 0;
    logged("two", "before\r\none");
    terminal->m_UseLogFile = 1;
    logged("three", "before\r\nonethree");
    CopyText(terminal->m_LogFile, folder.Path("none\\out.log").c_str());
    terminal->OpenLog();
    EXPECT_EQ(terminal->m_LogHandle, nullptr);
    logged("four", "before\r\nonethree");
}

TEST_F(ComfortTest, AcceptedAndRefusedLinesAreHeard) {
    Recording recording;
    if (!recording.Runs())
        GTEST_SKIP() << "nothing records what is played";
    folder.Write("accepted.wav", Wave(1000));
    folder.Write("refused.wav", Wave(1500));
    StartConnected();
    CopyText(terminal->m_CmdWav, folder.Path("accepted.wav").c_str());
    CopyText(terminal->m_CmdErrWav, folder.Path("refused.wav").c_str());
    Send("\x02");
    EXPECT_TRUE(recording.Hears(1000));
    Send("\x01");
    EXPECT_TRUE(recording.Hears(1500));
    while (recording.Hears(1500, 300)) // what of it is still on its way
        continue;
    terminal->m_CmdWav[0] = '\0';
    Send("\x02");
    EXPECT_FALSE(recording.Hears(1000, 500)) << "no sound is chosen";
    Send("\x01");
    EXPECT_TRUE(recording.Hears(1500));
}
