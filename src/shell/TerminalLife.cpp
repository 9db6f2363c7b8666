#include "shell/TerminalLife.h"

#include "base/Text.h"
#include "resources/resource.h"
#include "terminal/Module.h"
#include "terminal/Placement.h"
#include "terminal/TerminalWindow.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>

namespace {

constexpr int TitleRoom = 256;

// Counts terminal windows of all processes, as far as a registry key's number goes.
BOOL CALLBACK CountInstanceWindows(HWND window, LPARAM counter) {
    auto* count = reinterpret_cast<signed char*>(counter);
    char title[TitleRoom];
    if (GetWindowTextA(window, title, TitleRoom) && std::strstr(title, ProductTitle) &&
        *count < SCHAR_MAX)
        ++*count;
    return TRUE;
}

int CountTerminals() {
    signed char count = 0;
    EnumWindows(&CountInstanceWindows, reinterpret_cast<LPARAM>(&count));
    return count;
}

void InitializeControls() {
    INITCOMMONCONTROLSEX controls = {};
    controls.dwSize = sizeof(controls);
    controls.dwICC =
        ICC_LISTVIEW_CLASSES | ICC_BAR_CLASSES | ICC_COOL_CLASSES | ICC_INTERNET_CLASSES;
    InitCommonControlsEx(&controls);
}

// Only the first registration succeeds.
void RegisterTerminalClass() {
    WNDCLASSA terminal = {};
    terminal.lpfnWndProc = &TerminalClassProc;
    terminal.hInstance = ProgramModule;
    terminal.hIcon = LoadIconA(ProgramModule, MAKEINTRESOURCEA(IDI_ZOCONSOLE));
    terminal.hCursor = LoadCursorA(nullptr, IDC_ARROW);
    terminal.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_BTNFACE + 1);
    terminal.lpszMenuName = MAKEINTRESOURCEA(IDR_MENU);
    terminal.lpszClassName = TerminalClassName;
    RegisterClassA(&terminal);
}

bool IsDefault(std::int32_t value) {
    return static_cast<std::uint32_t>(value) == static_cast<std::uint32_t>(CW_USEDEFAULT);
}

LONG Sum(std::int32_t start, std::int32_t extent) {
    return static_cast<LONG>(
        std::clamp<std::int64_t>(std::int64_t{start} + extent, LONG_MIN, LONG_MAX));
}

// Moves the saved place into sight: monitors come and go.
void PlaceInSight(TermSettings& settings) {
    if (IsDefault(settings.m_WindowX) || IsDefault(settings.m_WindowWidth) ||
        IsDefault(settings.m_WindowHeight))
        return;
    const RECT saved = {settings.m_WindowX, settings.m_WindowY,
                        Sum(settings.m_WindowX, settings.m_WindowWidth),
                        Sum(settings.m_WindowY, settings.m_WindowHeight)};
    const RECT rect = FitIfLarger(saved);
    settings.m_WindowX = rect.left;
    settings.m_WindowY = rect.top;
    settings.m_WindowWidth = rect.right - rect.left;
    settings.m_WindowHeight = rect.bottom - rect.top;
    if (!IsInSight(saved))
        settings.m_WindowX = settings.m_WindowY = CW_USEDEFAULT;
}

bool CreateTerminalWindow(ZoTerm& terminal) {
    RegisterTerminalClass();
    PlaceInSight(terminal.Settings);
    return CreateWindowExA(0, TerminalClassName, ProductTitle,
                           WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, terminal.Settings.m_WindowX,
                           terminal.Settings.m_WindowY, terminal.Settings.m_WindowWidth,
                           terminal.Settings.m_WindowHeight, nullptr, nullptr, ProgramModule,
                           &terminal) != nullptr;
}

} // namespace

ZoTerm* CreateTerminal(HWND dispatcher, std::uint16_t slot) {
    const int instance = CountTerminals();
    auto* terminal = new (std::nothrow) ZoTerm();
    if (!terminal)
        return nullptr;
    terminal->m_Slot = slot;
    FormatText(terminal->m_RegKeyPath, "Software\\Zorbel\\ZoConsole\\Instance%d", instance);
    ProgramModule = GetModuleHandleA(nullptr);
    InitializeControls();
    if (!terminal->MakeParts()) {
        delete terminal;
        return nullptr;
    }
    terminal->LoadSettings();
    terminal->m_Dispatcher = dispatcher;
    if (!CreateTerminalWindow(*terminal)) {
        delete terminal;
        return nullptr;
    }
    terminal->ApplySettings();
    return terminal;
}

void ShowTerminal(const ZoTerm& terminal, bool visible) {
    ShowWindow(terminal.m_hWnd, visible ? terminal.Settings.m_ShowCmd : SW_HIDE);
    if (visible)
        UpdateWindow(terminal.m_hWnd);
}

void DestroyTerminal(ZoTerm* terminal) {
    if (terminal->m_hWnd)
        DestroyWindow(terminal->m_hWnd);
    delete terminal;
}
