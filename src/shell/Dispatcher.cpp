// The hidden dispatcher window: it owns the terminals, opens and closes them on request, and passes
// accelerator commands to the active one.

#include "shell/Dispatcher.h"

#include "base/FileNames.h"
#include "shell/TerminalLife.h"
#include "terminal/DispatcherRequest.h"
#include "terminal/Sounds.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace {

constexpr char DispatcherClassName[] = "cs_console";
constexpr std::uint16_t MostTerminals = 20;
constexpr int TitleRoom = 256;

// A terminal keeps its slot for life; a free slot is used again.
ZoTerm* TerminalTable[MostTerminals];
std::uint32_t TerminalCount;

LRESULT OnCreate(HWND dispatcher, const CREATESTRUCTA& creation) {
    TerminalTable[0] = CreateTerminal(dispatcher, 0);
    TerminalCount = 1;
    if (!TerminalTable[0])
        return -1;
    ShowTerminal(*TerminalTable[0], true);
    const auto* const files = static_cast<const PathList*>(creation.lpCreateParams);
    if (files && files->Count() > 0)
        TerminalTable[0]->StartSendList(files->List(), files->Size());
    return 0;
}

// The system's thread that plays a sound may crash when its process ends under it.
LRESULT OnDestroy() {
    StopSounds();
    PostQuitMessage(0);
    return 0;
}

// Only accelerators come here (1 in the high word); a menu's command goes to its own window.
LRESULT OnCommand(WPARAM wParam, LPARAM lParam) {
    if (HIWORD(wParam) == 0)
        return 0;
    const HWND active = GetActiveWindow();
    char title[TitleRoom];
    if (active && GetWindowTextA(active, title, TitleRoom) && std::strstr(title, ProductTitle))
        SendMessageA(active, WM_COMMAND, wParam, lParam);
    return 0;
}

void OpenTerminal(HWND dispatcher) {
    for (std::uint16_t slot = 0; slot < MostTerminals; ++slot) {
        if (TerminalTable[slot])
            continue;
        TerminalTable[slot] = CreateTerminal(dispatcher, slot);
        if (!TerminalTable[slot])
            return;
        ShowTerminal(*TerminalTable[slot], true);
        ++TerminalCount;
        return;
    }
}

void CloseTerminal(HWND dispatcher, WORD slot) {
    if (slot >= MostTerminals || !TerminalTable[slot])
        return;
    DestroyTerminal(TerminalTable[slot]);
    TerminalTable[slot] = nullptr;
    --TerminalCount;
    if (TerminalCount == 0)
        DestroyWindow(dispatcher);
}

LRESULT OnRequest(HWND dispatcher, WPARAM wParam) {
    switch (LOWORD(wParam)) {
    case RequestNewTerminal: OpenTerminal(dispatcher); break;
    case RequestCloseTerminal: CloseTerminal(dispatcher, HIWORD(wParam)); break;
    }
    return 0;
}

LRESULT CALLBACK DispatcherWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_CREATE: return OnCreate(window, *reinterpret_cast<CREATESTRUCTA*>(lParam));
    case WM_DESTROY: return OnDestroy();
    case WM_COMMAND: return OnCommand(wParam, lParam);
    case DispatcherRequest: return OnRequest(window, wParam);
    }
    return DefWindowProcA(window, message, wParam, lParam);
}

} // namespace

HWND CreateDispatcher(HINSTANCE instance, const PathList* files) {
    std::fill(std::begin(TerminalTable), std::end(TerminalTable), nullptr);
    WNDCLASSA dispatcher = {};
    dispatcher.lpfnWndProc = &DispatcherWindowProc;
    dispatcher.hInstance = instance;
    dispatcher.lpszClassName = DispatcherClassName;
    RegisterClassA(&dispatcher);
    return CreateWindowExA(0, DispatcherClassName, "", WS_POPUP, 0, 0, 0, 0, nullptr, nullptr,
                           instance, const_cast<PathList*>(files)); // only read
}
