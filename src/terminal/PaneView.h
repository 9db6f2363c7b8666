#pragma once

// The output pane's text control. Positions and counts are in its characters. GUI thread.

#include <windows.h>

#include <cstdint>
#include <memory>

// Where its text ends.
std::uint32_t PaneEnd(HWND pane);

// A copy of its text; null without memory.
std::unique_ptr<wchar_t[]> PaneText(HWND pane);

// How many of `count` characters go when at least `least` have to: lines, as far as lines end
// behind those, and a quarter of a full pane at once, so that they seldom go.
std::uint32_t OldestLines(const wchar_t* text, std::uint32_t count, std::uint32_t least);

// The same for the text of a pane, which ends at `count`.
std::uint32_t OldestPaneLines(HWND pane, std::uint32_t count, std::uint32_t least);
