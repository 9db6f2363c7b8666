#pragma once

#include <windows.h>

// The terminal window's timers.
constexpr UINT_PTR GaugeTimerId = 1;
constexpr UINT_PTR PaneTimerId = 2;
constexpr UINT_PTR WatchTimerId = 3;
constexpr UINT_PTR SettleTimerId = 4;
constexpr UINT_PTR PortTimerId = 5;
