// The controls of a terminal window: their creation, layout and colors.

#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <initializer_list>
#include <utility>

namespace {

int WindowHeight(HWND window) {
    RECT rect = {};
    GetWindowRect(window, &rect);
    return rect.bottom - rect.top;
}

void DestroyControl(HWND& control) {
    if (control)
        DestroyWindow(control);
    control = nullptr;
}

bool IsHighContrast() {
    HIGHCONTRASTA contrast = {};
    contrast.cbSize = sizeof(contrast);
    return SystemParametersInfoA(SPI_GETHIGHCONTRAST, sizeof(contrast), &contrast, 0) &&
           (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

template <typename Object> void DeleteAndClear(Object& object) {
    if (object)
        DeleteObject(object);
    object = nullptr;
}

} // namespace

bool ZoTerm::CreateControls(HWND window) {
    m_hWnd = window;
    m_HighContrast = IsHighContrast();
    CreateRebar();
    CreateToolbar();
    if (!CreateOutputPane())
        return false;
    if (!CreateCommandBox())
        return false;
    FillToolbar();
    InsertToolbarBand();
    if (!CreateStatusBar())
        return false;
    m_OutputCount = 0;
    SetStatusFill(0);

    m_hFont = CreateFontIndirectA(&Settings.m_Font);
    if (m_hFont) {
        SendMessageA(m_hOutput, WM_SETFONT, reinterpret_cast<WPARAM>(m_hFont), FALSE);
        SendMessageA(m_hCommand, WM_SETFONT, reinterpret_cast<WPARAM>(m_hFont), FALSE);
    }
    SubclassCommandEdit();
    SubclassOutput();
    // The pane reaches over the rebar's lower edge, which must not be drawn over the pane's.
    SetWindowPos(m_hRebar, HWND_BOTTOM, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE | SWP_NOACTIVATE);
    return true;
}

// Names the control that is created next, for screen readers; it is never seen.
HWND ZoTerm::CreateLabel(const char* text) {
    return CreateWindowExA(0, "STATIC", text, WS_CHILD, 0, 0, 0, 0, m_hWnd, nullptr, ProgramModule,
                           nullptr);
}

void ZoTerm::DestroyControls() {
    for (HWND* control : {&m_hToolbar, &m_hRebar, &m_hStatus, &m_hCommand, &m_hOutput,
                          &m_CommandLabel, &m_OutputLabel})
        DestroyControl(*control);
    if (m_ToolbarImages)
        ImageList_Destroy(m_ToolbarImages);
    m_ToolbarImages = nullptr;
    DeleteAndClear(m_hFont);
    DeleteAndClear(m_BandBitmap);
}

// Each control is drawn once, and in its place, when the window then shows.
void ZoTerm::LayOutHidden() {
    RECT client = {};
    GetClientRect(m_hWnd, &client);
    m_HiddenSize = MAKELPARAM(client.right, client.bottom);
    LayOut(SIZE_RESTORED, m_HiddenSize);
}

// The size comes when the window shows for the first time, too.
LRESULT ZoTerm::OnSize(WPARAM wParam, LPARAM lParam) {
    if (std::exchange(m_HiddenSize, -1) != lParam)
        LayOut(wParam, lParam);
    RememberWindow();
    return 0;
}

// The parameters are those of WM_SIZE. Restores the selection, since a combo box selects all of its
// text when it is resized.
void ZoTerm::LayOut(WPARAM wParam, LPARAM lParam) {
    const LRESULT selection = SendMessageA(m_hCommand, CB_GETEDITSEL, 0, 0);
    SendMessageA(m_hStatus, WM_SIZE, wParam, lParam);
    LayOutStatusBar(LOWORD(lParam));
    SendMessageA(m_hRebar, WM_SIZE, wParam, lParam);
    SendMessageA(m_hCommand, WM_SETFONT, reinterpret_cast<WPARAM>(m_hFont), TRUE);
    SendMessageA(m_hCommand, WM_SIZE, wParam, lParam);
    LayOutPane(LOWORD(lParam), HIWORD(lParam));
    SendMessageA(m_hCommand, CB_SETEDITSEL, 0, selection);
}

void ZoTerm::LayOutPane(int width, int height) {
    const int status = WindowHeight(m_hStatus);
    const int rebar = WindowHeight(m_hRebar);
    const int command = WindowHeight(m_hCommand);
    MoveWindow(m_hOutput, 0, rebar - 3, width, height + 1 - status - rebar - command, TRUE);
    // The height of a drop-down combo box includes its list.
    MoveWindow(m_hCommand, 0, height - status - command, width, height - status, TRUE);
}

void ZoTerm::RememberWindow() {
    if (!IsIconic(m_hWnd)) {
        RECT rect = {};
        GetWindowRect(m_hWnd, &rect);
        Settings.m_WindowX = rect.left;
        Settings.m_WindowY = rect.top;
        Settings.m_WindowWidth = rect.right - rect.left;
        Settings.m_WindowHeight = rect.bottom - rect.top;
    }
    if (IsWindowVisible(m_hWnd)) {
        WINDOWPLACEMENT placement = {};
        placement.length = sizeof(placement);
        GetWindowPlacement(m_hWnd, &placement);
        Settings.m_ShowCmd = static_cast<std::int32_t>(placement.showCmd);
    }
}

// The command box's edit field sends the message itself, so its parent counts, too.
LRESULT ZoTerm::OnControlColor(HDC context, HWND control) {
    const int background = IsWindowEnabled(m_hCommand) ? COLOR_WINDOW : COLOR_BTNFACE;
    if (control == m_hOutput || control == m_hCommand || GetParent(control) == m_hCommand)
        SetTextColor(context,
                     m_HighContrast ? GetSysColor(COLOR_WINDOWTEXT) : Settings.m_TextColor);
    SetBkColor(context, GetSysColor(background));
    return reinterpret_cast<LRESULT>(GetSysColorBrush(background));
}

// The system's colors, contrast or theme may have changed. The common controls get a change of
// colors from their parent.
LRESULT ZoTerm::OnLookChange(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_SYSCOLORCHANGE)
        for (const HWND control : {m_hRebar, m_hToolbar, m_hStatus})
            SendMessageA(control, message, wParam, lParam);
    m_HighContrast = IsHighContrast();
    ShowBandPicture();
    RedrawWindow(m_hWnd, nullptr, nullptr,
                 RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN);
    return DefWindowProcA(m_hWnd, message, wParam, lParam);
}

// Tab moves the focus between the two text controls; neither gets its character.
bool ZoTerm::TakeTab(UINT message, WPARAM key, HWND next) {
    if (key != VK_TAB || (message != WM_KEYDOWN && message != WM_CHAR))
        return false;
    if (message == WM_KEYDOWN)
        SetFocus(next);
    return true;
}
