#include "shell/TerminalLife.h"

#include "base/Text.h"
#include "resources/resource.h"
#include "settings/MusicSupport.h"
#include "terminal/Module.h"
#include "terminal/TerminalWindow.h"
#include "terminal/ZoTerm.h"

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

char* ZeroedBuffer(std::size_t size) {
    return static_cast<char*>(std::calloc(size, 1));
}

bool AllocateBuffers(ZoTerm& terminal) {
    terminal.m_FileList = ZeroedBuffer(BatchBufferSize);
    terminal.m_Results = ZeroedBuffer(BatchBufferSize);
    terminal.m_DeviceNames = ZeroedBuffer(BatchBufferSize);
    terminal.m_PaneText = ZeroedBuffer(ZoTerm::PaneLimit + 1);
    terminal.m_FileListSize = BatchBufferSize;
    terminal.m_ResultsSize = BatchBufferSize;
    terminal.m_DeviceNamesSize = BatchBufferSize;
    return terminal.m_FileList && terminal.m_Results && terminal.m_DeviceNames &&
           terminal.m_PaneText;
}

// A repeated registration fails, and that is fine.
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

bool CreateTerminalWindow(ZoTerm& terminal) {
    RegisterTerminalClass();
    return CreateWindowExA(0, TerminalClassName, ProductTitle,
                           WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, terminal.m_WindowX,
                           terminal.m_WindowY, terminal.m_WindowWidth, terminal.m_WindowHeight,
                           nullptr, nullptr, ProgramModule, &terminal) != nullptr;
}

// Frees a terminal without a window. A window that was destroyed has freed its share already.
void Discard(ZoTerm* terminal) {
    DestroyComPort(terminal->Port);
    for (char* buffer :
         {terminal->m_FileList, terminal->m_Results, terminal->m_DeviceNames, terminal->m_PaneText})
        std::free(buffer);
    ResizeMusicSupport(*terminal, 0);
    terminal->CloseLog();
    delete terminal;
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
    terminal->Port = CreateComPort();
    if (!terminal->Port || !AllocateBuffers(*terminal)) {
        Discard(terminal);
        return nullptr;
    }
    terminal->LoadSettings();
    terminal->m_Dispatcher = dispatcher;
    if (!CreateTerminalWindow(*terminal)) {
        Discard(terminal);
        return nullptr;
    }
    terminal->SelectDevice(terminal->m_DeviceName);
    terminal->OpenPort(terminal->m_PortNumber, terminal->m_BaudRate);
    terminal->BuildMacrosMenu();
    terminal->OpenLog();
    return terminal;
}

void ShowTerminal(const ZoTerm& terminal, bool visible) {
    ShowWindow(terminal.m_hWnd, visible ? terminal.m_ShowCmd : SW_HIDE);
    if (visible)
        UpdateWindow(terminal.m_hWnd);
}

void DestroyTerminal(ZoTerm* terminal) {
    if (terminal->m_hWnd)
        DestroyWindow(terminal->m_hWnd);
    Discard(terminal);
}
