// The rebar and its toolbar: buttons, pictures, tooltips and hot pictures.

#include "base/Text.h"
#include "resources/resource.h"
#include "terminal/MessageLoop.h"
#include "terminal/ModalScope.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <cstring>
#include <iterator>

namespace {

struct ToolbarButton {
    int image;    // index in the image list; the hot picture is ButtonCount further
    WORD command; // 0: a separator
    const char* label;
};

constexpr ToolbarButton ToolbarButtons[] = {
    {0, CMD_NEW_WINDOW, "New"},
    {1, CMD_BOOT_FILE, "Boot"},
    {2, CMD_SEND_FILES, "Send"},
    {3, CMD_SEND_IMAGE, "Image"},
    {4, CMD_RECEIVE_FILE, "Receive"},
    {0, 0, nullptr},
    {5, CMD_CLEAR, "Clear"},
    {6, CMD_FONT, "Font"},
    {0, 0, nullptr},
    {7, CMD_LOAD_MACROS, "Macros"},
    {8, CMD_SUMMARY, "Summary"},
};

constexpr int ButtonCount = 9; // without the separators
constexpr int ImageCount = 2 * ButtonCount;
constexpr int ImageSize = 20; // pixels
constexpr COLORREF TransparentColor = RGB(255, 0, 255);
constexpr int ButtonWidth = 50;
constexpr int ButtonHeight = 40;
constexpr int LabelMargins = 10; // pixels of a button beside its label
constexpr UINT BandWidth = 200;

TBBUTTON ButtonRecord(const ToolbarButton& entry) {
    TBBUTTON button = {};
    button.fsState = TBSTATE_ENABLED;
    button.fsStyle = entry.command ? TBSTYLE_BUTTON : TBSTYLE_SEP;
    if (!entry.command)
        return button;
    button.iBitmap = entry.image;
    button.idCommand = entry.command;
    button.iString = entry.image; // pictures and texts are numbered alike
    return button;
}

// The toolbar takes a list of texts that an empty one ends.
void AddLabel(HWND toolbar, const char* label) {
    char list[16] = {};
    CopyText(list, label);
    SendMessageA(toolbar, TB_ADDSTRINGA, 0, reinterpret_cast<LPARAM>(list));
}

HIMAGELIST LoadToolbarImages() {
    const HIMAGELIST images =
        ImageList_Create(ImageSize, ImageSize, ILC_COLOR4 | ILC_MASK, ImageCount, 0);
    const auto bitmap = static_cast<HBITMAP>(
        LoadImageA(ProgramModule, MAKEINTRESOURCEA(IDB_TOOLBAR), IMAGE_BITMAP, 0, 0, 0));
    if (!bitmap)
        return images;
    ImageList_AddMasked(images, bitmap, TransparentColor);
    DeleteObject(bitmap);
    return images;
}

// Widens a button whose label the common width would cut, whatever the system's font is.
void FitLabel(HWND toolbar, HDC context, const ToolbarButton& entry) {
    SIZE label = {};
    GetTextExtentPoint32A(context, entry.label, static_cast<int>(std::strlen(entry.label)), &label);
    if (label.cx + LabelMargins <= ButtonWidth)
        return;
    TBBUTTONINFOA button = {};
    button.cbSize = sizeof(button);
    button.dwMask = TBIF_SIZE;
    button.cx = static_cast<WORD>(label.cx + LabelMargins);
    SendMessageA(toolbar, TB_SETBUTTONINFOA, entry.command, reinterpret_cast<LPARAM>(&button));
}

void FitLabels(HWND toolbar) {
    const HDC context = GetDC(toolbar);
    const auto font = reinterpret_cast<HFONT>(SendMessageA(toolbar, WM_GETFONT, 0, 0));
    const HGDIOBJ old = SelectObject(context, font);
    for (const ToolbarButton& entry : ToolbarButtons)
        if (entry.label)
            FitLabel(toolbar, context, entry);
    SelectObject(context, old);
    ReleaseDC(toolbar, context);
}

// Gives a button its hot or its normal picture, if it is enabled and has the other one now.
void ShowHot(HWND toolbar, int command, bool hot) {
    TBBUTTONINFOA button = {};
    button.cbSize = sizeof(button);
    button.dwMask = TBIF_IMAGE | TBIF_STATE;
    const auto id = static_cast<WPARAM>(command);
    if (SendMessageA(toolbar, TB_GETBUTTONINFOA, id, reinterpret_cast<LPARAM>(&button)) < 0)
        return;
    const bool isHot = button.iImage >= ButtonCount;
    if (!(button.fsState & TBSTATE_ENABLED) || isHot == hot)
        return;
    button.dwMask = TBIF_IMAGE;
    button.iImage += hot ? ButtonCount : -ButtonCount;
    SendMessageA(toolbar, TB_SETBUTTONINFOA, id, reinterpret_cast<LPARAM>(&button));
}

void ChangeHotItem(HWND toolbar, const NMTBHOTITEM& change) {
    if (!(change.dwFlags & HICF_LEAVING))
        ShowHot(toolbar, change.idNew, true);
    if (!(change.dwFlags & HICF_ENTERING))
        ShowHot(toolbar, change.idOld, false);
}

// The label of the button under the mouse cursor; null when there is none.
const char* LabelUnderCursor(HWND toolbar) {
    POINT cursor = {};
    GetCursorPos(&cursor);
    ScreenToClient(toolbar, &cursor);
    const LRESULT index = SendMessageA(toolbar, TB_HITTEST, 0, reinterpret_cast<LPARAM>(&cursor));
    if (index < 0 || index >= static_cast<LRESULT>(std::size(ToolbarButtons)))
        return nullptr;
    return ToolbarButtons[index].label;
}

// The tooltip asks in ANSI or in Unicode, depending on the system.
void SetTooltip(HWND toolbar, NMHDR* request) {
    const char* label = LabelUnderCursor(toolbar);
    if (!label)
        return;
    if (request->code == TTN_NEEDTEXTA) {
        auto* ansi = reinterpret_cast<NMTTDISPINFOA*>(request);
        ansi->lpszText = const_cast<char*>(label);
        ansi->hinst = nullptr;
        return;
    }
    auto* wide = reinterpret_cast<NMTTDISPINFOW*>(request);
    MultiByteToWideChar(CP_ACP, 0, label, -1, wide->szText,
                        static_cast<int>(std::size(wide->szText)));
    wide->lpszText = wide->szText;
    wide->hinst = nullptr;
}

RECT ButtonRect(HWND toolbar, WPARAM index) {
    RECT rect = {};
    SendMessageA(toolbar, TB_GETITEMRECT, index, reinterpret_cast<LPARAM>(&rect));
    return rect;
}

// Appends the buttons that the window hides, whole or in part.
void AppendHiddenButtons(HMENU menu, HWND toolbar) {
    RECT room = {};
    GetClientRect(toolbar, &room);
    for (std::size_t i = 0; i < std::size(ToolbarButtons); ++i) {
        const ToolbarButton& entry = ToolbarButtons[i];
        if (ButtonRect(toolbar, i).right <= room.right)
            continue;
        if (entry.command) {
            const bool enabled = SendMessageA(toolbar, TB_ISBUTTONENABLED, entry.command, 0) != 0;
            AppendMenuA(menu, enabled ? MF_ENABLED : MF_GRAYED, entry.command, entry.label);
        } else if (GetMenuItemCount(menu) > 0)
            AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
    }
}

} // namespace

void ZoTerm::CreateRebar() {
    m_hRebar = CreateWindowExA(WS_EX_TOOLWINDOW, REBARCLASSNAMEA, "",
                               WS_CHILD | WS_VISIBLE | WS_CLIPCHILDREN | WS_CLIPSIBLINGS |
                                   RBS_VARHEIGHT | RBS_BANDBORDERS | CCS_NODIVIDER,
                               0, 0, 0, 0, m_hWnd, nullptr, ProgramModule, nullptr);
}

void ZoTerm::CreateToolbar() {
    m_hToolbar = CreateWindowExA(0, TOOLBARCLASSNAMEA, "",
                                 WS_CHILD | WS_VISIBLE | TBSTYLE_FLAT | TBSTYLE_TOOLTIPS |
                                     CCS_NOPARENTALIGN | CCS_NORESIZE | CCS_NOMOVEY,
                                 0, 0, 0, 0, m_hWnd, nullptr, ProgramModule, nullptr);
}

void ZoTerm::FillToolbar() {
    m_ToolbarImages = LoadToolbarImages();
    SendMessageA(m_hToolbar, TB_SETIMAGELIST, 0, reinterpret_cast<LPARAM>(m_ToolbarImages));
    SendMessageA(m_hToolbar, TB_BUTTONSTRUCTSIZE, sizeof(TBBUTTON), 0);
    for (const ToolbarButton& entry : ToolbarButtons) {
        TBBUTTON button = ButtonRecord(entry);
        SendMessageA(m_hToolbar, TB_ADDBUTTONSA, 1, reinterpret_cast<LPARAM>(&button));
    }
    SendMessageA(m_hToolbar, TB_SETEXTENDEDSTYLE, 0, TBSTYLE_EX_DRAWDDARROWS);
    for (const ToolbarButton& entry : ToolbarButtons)
        if (entry.label)
            AddLabel(m_hToolbar, entry.label);
    SendMessageA(m_hToolbar, TB_SETBUTTONSIZE, 0, MAKELPARAM(ButtonWidth, ButtonHeight));
    FitLabels(m_hToolbar);
}

void ZoTerm::InsertToolbarBand() {
    REBARINFO bar = {};
    bar.cbSize = sizeof(bar);
    SendMessageA(m_hRebar, RB_SETBARINFO, 0, reinterpret_cast<LPARAM>(&bar));

    const auto buttonSize = static_cast<DWORD>(SendMessageA(m_hToolbar, TB_GETBUTTONSIZE, 0, 0));
    m_BandBitmap = static_cast<HBITMAP>(
        LoadImageA(ProgramModule, MAKEINTRESOURCEA(IDB_BAND), IMAGE_BITMAP, 0, 0, 0));
    REBARBANDINFOA band = {};
    band.cbSize = sizeof(band);
    band.fMask = RBBIM_STYLE | RBBIM_BACKGROUND | RBBIM_CHILD | RBBIM_CHILDSIZE | RBBIM_SIZE |
                 RBBIM_IDEALSIZE;
    band.fStyle = RBBS_CHILDEDGE | RBBS_FIXEDBMP | RBBS_USECHEVRON;
    band.hbmBack = BandPicture();
    band.hwndChild = m_hToolbar;
    band.cxMinChild = 0;
    band.cyMinChild = HIWORD(buttonSize) + 2U;
    band.cx = BandWidth;
    band.cxIdeal = static_cast<UINT>(ButtonRect(m_hToolbar, std::size(ToolbarButtons) - 1).right);
    SendMessageA(m_hRebar, RB_INSERTBANDA, static_cast<WPARAM>(-1),
                 reinterpret_cast<LPARAM>(&band));
}

// No picture behind the buttons under high contrast.
HBITMAP ZoTerm::BandPicture() const {
    return m_HighContrast ? nullptr : m_BandBitmap;
}

void ZoTerm::ShowBandPicture() {
    REBARBANDINFOA band = {};
    band.cbSize = sizeof(band);
    band.fMask = RBBIM_BACKGROUND;
    band.hbmBack = BandPicture();
    SendMessageA(m_hRebar, RB_SETBANDINFOA, 0, reinterpret_cast<LPARAM>(&band));
}

// A menu of the hidden buttons; a choice comes as the button's command. The menu runs a message
// loop, so it is put off while a sender waits, such as a program that pushes the chevron.
void ZoTerm::OpenChevronMenu(const NMREBARCHEVRON& chevron) {
    if (SenderWaits()) {
        PostMessageA(m_hRebar, RB_PUSHCHEVRON, chevron.uBand, chevron.lParamNM);
        return;
    }
    const HMENU menu = CreatePopupMenu();
    AppendHiddenButtons(menu, m_hToolbar);
    TPMPARAMS keepFree = {};
    keepFree.cbSize = sizeof(keepFree);
    keepFree.rcExclude = chevron.rc;
    MapWindowPoints(m_hRebar, nullptr, reinterpret_cast<POINT*>(&keepFree.rcExclude), 2);
    const ModalScope scope(*this, ModalScope::Wait); // a close waits for the menu's end
    TrackPopupMenuEx(menu, TPM_VERTICAL, keepFree.rcExclude.left, keepFree.rcExclude.bottom, m_hWnd,
                     &keepFree);
    DestroyMenu(menu);
}

LRESULT ZoTerm::OnNotify(NMHDR* notification) {
    switch (notification->code) {
    case TTN_NEEDTEXTA:
    case TTN_NEEDTEXTW: SetTooltip(m_hToolbar, notification); break;
    case TBN_HOTITEMCHANGE:
        ChangeHotItem(m_hToolbar, *reinterpret_cast<NMTBHOTITEM*>(notification));
        break;
    case RBN_CHEVRONPUSHED:
        OpenChevronMenu(*reinterpret_cast<NMREBARCHEVRON*>(notification));
        break;
    }
    return 0;
}
