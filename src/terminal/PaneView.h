#pragma once

// The output pane's text control. Positions and counts are in its characters. GUI thread.

#include "base/WideText.h"

#include <windows.h>

#include <cstdint>

// Where its text ends.
std::uint32_t PaneEnd(HWND pane);

// A copy of its text; null without memory.
WideBuffer PaneText(HWND pane);

// How many of the first of `count` characters to drop so that at least `least` go: whole lines
// where a line ends behind those, and a quarter of a full pane at once, so that this is rare.
std::uint32_t OldestLines(const wchar_t* text, std::uint32_t count, std::uint32_t least);

// The same for the text of a pane, which ends at `count`.
std::uint32_t OldestPaneLines(HWND pane, std::uint32_t count, std::uint32_t least);
