// The terminal window's layout, keyboard, toolbar and status bar.

#include "resources/resource.h"
#include "rig/Terminal.h"

#include <commctrl.h>

#include <algorithm>

namespace {

class LayoutTest : public TerminalTest {
protected:
    void Resize(int clientWidth, int clientHeight) {
        RECT window = {};
        RECT client = {};
        GetWindowRect(terminal->m_hWnd, &window);
        GetClientRect(terminal->m_hWnd, &client);
        SetWindowPos(terminal->m_hWnd, nullptr, 0, 0,
                     clientWidth + (window.right - window.left) - client.right,
                     clientHeight + (window.bottom - window.top) - client.bottom,
                     SWP_NOMOVE | SWP_NOZORDER);
        PumpMessages();
    }

    int ButtonImage(WORD command) {
        TBBUTTONINFOA button = {};
        button.cbSize = sizeof(button);
        button.dwMask = TBIF_IMAGE;
        SendMessageA(ToolbarOf(*terminal), TB_GETBUTTONINFOA, command,
                     reinterpret_cast<LPARAM>(&button));
        return button.iImage;
    }

    void HotItemChange(WORD from, WORD to, DWORD flags) {
        NMTBHOTITEM change = {};
        change.hdr.hwndFrom = ToolbarOf(*terminal);
        change.hdr.code = TBN_HOTITEMCHANGE;
        change.idOld = from;
        change.idNew = to;
        change.dwFlags = flags;
        SendMessageA(terminal->m_hWnd, WM_NOTIFY, 0, reinterpret_cast<LPARAM>(&change));
    }
};

} // namespace

TEST_F(LayoutTest, ControlsAndStatusPartsFollowTheSize) {
    Start();
    const struct {
        int width;
        int height;
        int edges[3];
    } cases[] = {
        {700, 200, {300, 420, 700}}, {500, 500, {300, 370, 500}}, {400, 300, {260, 330, 400}}};
    for (const auto& expected : cases) {
        Resize(expected.width, expected.height);
        int edges[3] = {};
        SendMessageA(StatusBarOf(*terminal), SB_GETPARTS, 3, reinterpret_cast<LPARAM>(edges));
        EXPECT_TRUE(std::equal(edges, edges + 3, expected.edges))
            << expected.width << ": " << edges[0] << ' ' << edges[1] << ' ' << edges[2];
        const auto box = [&](HWND control) {
            RECT rect = {};
            GetWindowRect(control, &rect);
            MapWindowPoints(nullptr, terminal->m_hWnd, reinterpret_cast<POINT*>(&rect), 2);
            return rect;
        };
        const RECT pane = box(OutputOf(*terminal));
        const RECT command = box(CommandBoxOf(*terminal));
        EXPECT_TRUE(pane.left == 0 && pane.right == expected.width);
        EXPECT_EQ(pane.top, box(RebarOf(*terminal)).bottom - 3);
        EXPECT_EQ(pane.bottom, command.top - 2);
        EXPECT_EQ(command.bottom, box(StatusBarOf(*terminal)).top);
    }
}

TEST_F(LayoutTest, ButtonsDoNotDrawOverThePanesEdge) {
    StartConnected();
    Resize(640, 300);
    const COLORREF mark = RGB(1, 2, 253);
    const HDC context = GetWindowDC(OutputOf(*terminal));
    for (int x = 0; x < 300; ++x)
        SetPixel(context, x, 0, mark);
    terminal->EnableCommands(false);
    PumpMessages();
    for (int x = 0; x < 300; ++x)
        ASSERT_EQ(GetPixel(context, x, 0), mark) << x;
    ReleaseDC(OutputOf(*terminal), context);
}

TEST_F(LayoutTest, ResizeLeavesTheSelectionAndStopsAtTheLeastSize) {
    StartConnected();
    const HWND box = CommandBoxOf(*terminal);
    SetWindowTextA(box, "some text");
    SendMessageA(box, CB_SETEDITSEL, 0, MAKELPARAM(2, 5));
    // Selects all when it is resized, as Windows has it.
    static WNDPROC old;
    old = reinterpret_cast<WNDPROC>(SetWindowLongPtrA(
        box, GWLP_WNDPROC,
        reinterpret_cast<LONG_PTR>(WNDPROC{[](HWND window, UINT message, WPARAM w, LPARAM l) {
            const LRESULT result = CallWindowProcA(old, window, message, w, l);
            if (message == WM_SIZE)
                CallWindowProcA(old, window, CB_SETEDITSEL, 0, MAKELPARAM(0, -1));
            return result;
        }})));
    Resize(500, 300);
    EXPECT_EQ(SendMessageA(box, CB_GETEDITSEL, 0, 0), MAKELRESULT(2, 5));
    EXPECT_EQ(TextOf(box), "some text");
    Resize(10, 10);
    RECT window = {};
    GetWindowRect(terminal->m_hWnd, &window);
    EXPECT_EQ(window.right - window.left, 320);
    EXPECT_EQ(window.bottom - window.top, 240);
}

TEST_F(LayoutTest, TabMovesBetweenTheTwoNamedTexts) {
    StartConnected();
    const HWND pane = OutputOf(*terminal);
    const HWND edit = GetDlgItem(CommandBoxOf(*terminal), IDC_COMMAND_EDIT);
    const auto type = [](HWND control, WPARAM key) {
        SendMessageW(control, WM_KEYDOWN, key, 0);
        SendMessageW(control, WM_CHAR, key, 0);
        return GetFocus();
    };
    EXPECT_TRUE(WaitUntil([&] { return GetFocus() == edit; })) << "ready to type";
    EXPECT_EQ(type(edit, VK_TAB), pane);
    EXPECT_EQ(type(pane, VK_TAB), edit);
    type(edit, 'Y');
    EXPECT_EQ(TextOf(pane), "");
    EXPECT_EQ(TextOf(edit), "Y");
    EXPECT_TRUE(IsWindowUnicode(pane) && IsWindowUnicode(edit));
    EXPECT_EQ(TextOf(GetWindow(pane, GW_HWNDPREV)), "Device output");
    EXPECT_EQ(TextOf(GetWindow(CommandBoxOf(*terminal), GW_HWNDPREV)), "Command line");
}

TEST_F(LayoutTest, ChevronOffersTheButtonsWithoutRoom) {
    Start();
    Resize(310, 300);
    SendMessageA(ToolbarOf(*terminal), TB_ENABLEBUTTON, CMD_FONT, FALSE);
    SetWindowTextA(OutputOf(*terminal), "text");
    static std::string items;
    items.clear();
    // Runs in the menu's loop, and chooses the first item.
    const UINT_PTR timer = SetTimer(nullptr, 0, 20, [](HWND, UINT, UINT_PTR, DWORD) {
        constexpr UINT GetMenuOf = 0x01E1;
        const HWND popup = FindWindowA("#32768", nullptr);
        const auto menu = reinterpret_cast<HMENU>(SendMessageA(popup, GetMenuOf, 0, 0));
        if (!menu || !items.empty())
            return;
        for (int i = 0; i < GetMenuItemCount(menu); ++i) {
            char text[32] = {};
            const auto at = static_cast<UINT>(i);
            GetMenuStringA(menu, at, text, sizeof(text), MF_BYPOSITION);
            const bool grayed = (GetMenuState(menu, at, MF_BYPOSITION) & MF_GRAYED) != 0;
            items += std::string(text) + (grayed && text[0] ? " grayed|" : "|");
        }
        for (const int key : {VK_DOWN, VK_RETURN})
            PostMessageA(popup, WM_KEYDOWN, static_cast<WPARAM>(key), 0);
    });
    PostMessageA(RebarOf(*terminal), RB_PUSHCHEVRON, 0, 0);
    EXPECT_TRUE(WaitUntil([&] { return TextOf(OutputOf(*terminal)).empty(); }));
    KillTimer(nullptr, timer);
    EXPECT_EQ(items, "Clear|Font grayed||Macros|Summary|");
}

TEST_F(LayoutTest, HotPictureFollowsTheMouse) {
    StartConnected();
    const struct {
        WORD from;
        WORD to;
        DWORD flags;
        int images[2]; // of "send files" and "send image"
    } moves[] = {
        {0, CMD_SEND_FILES, HICF_ENTERING, {2 + 9, 3}},
        {CMD_SEND_FILES, CMD_SEND_IMAGE, HICF_MOUSE, {2, 3 + 9}},
        {0, CMD_SEND_IMAGE, HICF_ENTERING, {2, 3 + 9}}, // a hot picture has no hotter twin
        {CMD_SEND_IMAGE, 0, HICF_LEAVING, {2, 3}},
    };
    for (const auto& move : moves) {
        HotItemChange(move.from, move.to, move.flags);
        EXPECT_EQ(ButtonImage(CMD_SEND_FILES), move.images[0]);
        EXPECT_EQ(ButtonImage(CMD_SEND_IMAGE), move.images[1]);
    }
    Command(CMD_PORT_NONE);
    HotItemChange(0, CMD_BOOT_FILE, HICF_ENTERING);
    EXPECT_EQ(ButtonImage(CMD_BOOT_FILE), 1) << "a disabled button stays as it is";
}

TEST_F(LayoutTest, GaugeFillsInTwentyStepsAndStaysLegible) {
    Start();
    Resize(700, 300);
    const HWND bar = StatusBarOf(*terminal);
    RECT part = {};
    SendMessageA(bar, SB_GETRECT, 1, reinterpret_cast<LPARAM>(&part));
    InflateRect(&part, -2, -2);
    const HDC context = GetDC(bar);
    const auto has = [&](COLORREF color, int percent, int end) { // between those of the width
        const int width = part.right - part.left;
        for (int x = part.left + width * percent / 100; x < part.left + width * end / 100; ++x)
            for (int y = part.top + 2; y < part.bottom - 2; ++y)
                if (GetPixel(context, x, y) == color)
                    return true;
        return false;
    };
    const COLORREF empty = GetPixel(context, part.left + 8, part.top);
    const auto segments = [&](LPARAM value) {
        SendMessageA(bar, SB_SETTEXTA, 1 | SBT_OWNERDRAW, value);
        UpdateWindow(bar);
        int filled = 0;
        for (int k = 0; k < 20; ++k)
            filled += GetPixel(context, part.left + (part.right - part.left) * (2 * k + 1) / 40,
                               part.top) != empty;
        return filled;
    };
    EXPECT_EQ(segments(0), 0);
    EXPECT_EQ(segments(34000), 10);
    EXPECT_EQ(segments(65535), 20);
    const COLORREF black = RGB(0, 0, 0);
    const COLORREF white = RGB(255, 255, 255);
    EXPECT_TRUE(has(white, 5, 33) && has(black, 38, 95));
    EXPECT_FALSE(has(black, 5, 33) || has(white, 38, 95));
    ReleaseDC(bar, context);
}
