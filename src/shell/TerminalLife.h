#pragma once

#include <windows.h>

#include <cstdint>

class ZoTerm;

// GUI thread. Makes a terminal with a hidden window, its saved port open when it can be opened.
// `slot` is its place in the dispatcher's table. Null when memory, the link or the window fails.
ZoTerm* CreateTerminal(HWND dispatcher, std::uint16_t slot);

// Shows the terminal's window in its saved state, or hides it.
void ShowTerminal(const ZoTerm& terminal, bool visible);

// Destroys the window, which saves the settings, and frees the terminal.
void DestroyTerminal(ZoTerm* terminal);
