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

// The status bar's part as the terminal draws it, on a bitmap of its own.
class PartCanvas {
public:
    static constexpr int Height = 20;

    explicit PartCanvas(int width) : m_Width(width), m_Context(CreateCompatibleDC(nullptr)) {
        const HDC screen = GetDC(nullptr);
        m_Bitmap = CreateCompatibleBitmap(screen, width, Height);
        ReleaseDC(nullptr, screen);
        SelectObject(m_Context, m_Bitmap);
    }
    ~PartCanvas() {
        DeleteDC(m_Context);
        DeleteObject(m_Bitmap);
    }
    PartCanvas(const PartCanvas&) = delete;
    PartCanvas& operator=(const PartCanvas&) = delete;

    void Draw(HWND terminal, UINT part, ULONG_PTR value) {
        RECT all = {0, 0, m_Width, Height};
        FillRect(m_Context, &all, GetSysColorBrush(COLOR_WINDOW));
        DRAWITEMSTRUCT item = {};
        item.CtlID = IDC_STATUS_BAR;
        item.itemID = part;
        item.hDC = m_Context;
        item.rcItem = all;
        item.itemData = value;
        SendMessageA(terminal, WM_DRAWITEM, IDC_STATUS_BAR, reinterpret_cast<LPARAM>(&item));
    }

    COLORREF At(int x) const { return GetPixel(m_Context, x, 1); } // above the text

    bool TextHas(COLORREF color, int from, int to) const {
        for (int x = from; x < to; ++x)
            for (int y = 3; y < Height - 3; ++y)
                if (GetPixel(m_Context, x, y) == color)
                    return true;
        return false;
    }

private:
    int m_Width;
    HDC m_Context;
    HBITMAP m_Bitmap;
};

} // namespace

TEST_F(LayoutTest, StatusPartsFollowTheWidth) {
    Start();
    const struct {
        int width;
        int edges[3];
    } cases[] = {
        {700, {300, 420, 700}},
        {600, {300, 400, 600}},
        {500, {300, 370, 500}},
        {400, {260, 330, 400}},
    };
    for (const auto& expected : cases) {
        Resize(expected.width, 300);
        int edges[3] = {};
        SendMessageA(StatusBarOf(*terminal), SB_GETPARTS, 3, reinterpret_cast<LPARAM>(edges));
        EXPECT_TRUE(std::equal(edges, edges + 3, expected.edges))
            << expected.width << ": " << edges[0] << ' ' << edges[1] << ' ' << edges[2];
    }
}

TEST_F(LayoutTest, PaneFillsWhatTheOtherControlsLeave) {
    Start();
    for (const int height : {200, 500}) {
        Resize(640, height);
        const auto box = [&](HWND control) {
            RECT rect = {};
            GetWindowRect(control, &rect);
            MapWindowPoints(nullptr, terminal->m_hWnd, reinterpret_cast<POINT*>(&rect), 2);
            return rect;
        };
        const RECT pane = box(OutputOf(*terminal));
        const RECT command = box(CommandBoxOf(*terminal));
        EXPECT_EQ(pane.left, 0);
        EXPECT_EQ(pane.right, 640);
        EXPECT_EQ(pane.top, box(RebarOf(*terminal)).bottom - 3);
        EXPECT_EQ(pane.bottom, command.top - 2);
        EXPECT_EQ(command.bottom, box(StatusBarOf(*terminal)).top);
        RECT window = {};
        GetWindowRect(terminal->m_hWnd, &window);
        EXPECT_EQ(terminal->Settings.m_WindowX, window.left);
        EXPECT_EQ(terminal->Settings.m_WindowHeight, window.bottom - window.top);
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
    SetFocus(edit);
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
    HotItemChange(0, CMD_SEND_FILES, HICF_ENTERING);
    EXPECT_EQ(ButtonImage(CMD_SEND_FILES), 2 + 9);
    HotItemChange(CMD_SEND_FILES, CMD_SEND_IMAGE, HICF_MOUSE);
    EXPECT_EQ(ButtonImage(CMD_SEND_FILES), 2);
    EXPECT_EQ(ButtonImage(CMD_SEND_IMAGE), 3 + 9);
    HotItemChange(CMD_SEND_IMAGE, 0, HICF_LEAVING);
    EXPECT_EQ(ButtonImage(CMD_SEND_IMAGE), 3);
    HotItemChange(0, CMD_SEND_IMAGE, HICF_ENTERING);
    HotItemChange(0, CMD_SEND_IMAGE, HICF_ENTERING);
    EXPECT_EQ(ButtonImage(CMD_SEND_IMAGE), 3 + 9) << "a hot picture has no hotter twin";

    Command(CMD_PORT_NONE);
    HotItemChange(0, CMD_BOOT_FILE, HICF_ENTERING);
    EXPECT_EQ(ButtonImage(CMD_BOOT_FILE), 1) << "a disabled button stays as it is";
}

TEST_F(LayoutTest, GaugeFillsInTwentyStepsAndStaysLegible) {
    Start();
    PartCanvas canvas(120);
    const COLORREF empty = GetSysColor(COLOR_WINDOW);
    const auto segments = [&](ULONG_PTR value) {
        canvas.Draw(terminal->m_hWnd, 1, value);
        int filled = 0;
        for (int k = 0; k < 20; ++k)
            filled += canvas.At(k * 6 + 3) != empty ? 1 : 0;
        return filled;
    };
    EXPECT_EQ(segments(0), 0);
    EXPECT_EQ(segments(32768), 10);
    EXPECT_EQ(segments(65535), 20);
    EXPECT_EQ(canvas.At(3), RGB(55, 55, 55));
    EXPECT_EQ(canvas.At(60), RGB(155, 155, 155));
    const COLORREF black = RGB(0, 0, 0);
    const COLORREF white = RGB(255, 255, 255);
    EXPECT_TRUE(canvas.TextHas(white, 0, 42) && canvas.TextHas(black, 42, 120));
    EXPECT_FALSE(canvas.TextHas(black, 0, 42) || canvas.TextHas(white, 42, 120));
    PartCanvas narrow(19);
    narrow.Draw(terminal->m_hWnd, 1, 65535);
    EXPECT_EQ(narrow.At(1), empty);
}
