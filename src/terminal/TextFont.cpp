// The font and the color of the text in output pane and command box.

#include "terminal/Dialogs.h"
#include "terminal/ModalScope.h"
#include "terminal/ZoTerm.h"

#include <commdlg.h>
#include <dlgs.h>

#include <initializer_list>

namespace {

constexpr WORD ApplyButton = psh3; // of the system's font dialog

} // namespace

// Apply takes the font for good: it stays when the dialog is then canceled.
UINT_PTR CALLBACK ZoTerm::FontApplyHook(HWND dialog, UINT message, WPARAM wParam, LPARAM) {
    if (message != WM_COMMAND || LOWORD(wParam) != ApplyButton)
        return 0;
    ZoTerm& terminal = TerminalOfDialog(dialog);
    SendMessageA(dialog, WM_CHOOSEFONT_GETLOGFONT, 0,
                 reinterpret_cast<LPARAM>(&terminal.Settings.m_Font));
    terminal.TakeTextFont(terminal.Settings.m_TextColor);
    return 1;
}

void ZoTerm::ChooseTextFont(HWND owner) {
    CHOOSEFONTA dialog = {};
    dialog.lStructSize = sizeof(dialog);
    dialog.hwndOwner = owner;
    dialog.lpLogFont = &Settings.m_Font;
    dialog.rgbColors = Settings.m_TextColor;
    dialog.Flags = CF_SCREENFONTS | CF_INITTOLOGFONTSTRUCT | CF_EFFECTS | CF_APPLY |
                   CF_FORCEFONTEXIST | CF_ENABLEHOOK;
    dialog.lpfnHook = &FontApplyHook;
    const ModalScope scope(*this);
    if (ChooseFontA(&dialog))
        TakeTextFont(dialog.rgbColors);
}

// Gives the controls the font that m_Font describes, and lays out the window again: the command box
// is as high as its font. Font and color stay when the font cannot be made.
void ZoTerm::TakeTextFont(COLORREF color) {
    const HFONT before = m_hFont;
    const HFONT made = CreateFontIndirectA(&Settings.m_Font);
    if (!made)
        return;
    m_hFont = made;
    Settings.m_TextColor = color;
    for (const HWND control : {m_hOutput, m_hCommand})
        SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(m_hFont), TRUE);
    if (before)
        DeleteObject(before);
    RECT client = {};
    GetClientRect(m_hWnd, &client);
    SendMessageA(m_hWnd, WM_SIZE, IsZoomed(m_hWnd) ? SIZE_MAXIMIZED : SIZE_RESTORED,
                 MAKELPARAM(client.right, client.bottom));
    InvalidateRect(m_hStatus, nullptr, TRUE); // a command box that grew stood over it for a moment
}
