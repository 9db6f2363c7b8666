#include "terminal/Placement.h"

#include <algorithm>

namespace {

LONG Width(const RECT& rect) {
    return rect.right - rect.left;
}

LONG Height(const RECT& rect) {
    return rect.bottom - rect.top;
}

MONITORINFO NearestMonitor(const RECT& rect) {
    MONITORINFO info = {};
    info.cbSize = sizeof(info);
    GetMonitorInfoA(MonitorFromRect(&rect, MONITOR_DEFAULTTONEAREST), &info);
    return info;
}

} // namespace

bool IsInSight(const RECT& rect) {
    RECT title = rect;
    title.bottom = std::min<LONG>(rect.bottom, rect.top + GetSystemMetrics(SM_CYCAPTION));
    return MonitorFromRect(&title, MONITOR_DEFAULTTONULL) != nullptr;
}

RECT FitToWorkArea(const RECT& rect) {
    const RECT area = NearestMonitor(rect).rcWork;
    const LONG width = std::min(Width(rect), Width(area));
    const LONG height = std::min(Height(rect), Height(area));
    const LONG left = std::clamp(rect.left, area.left, area.right - width);
    const LONG top = std::clamp(rect.top, area.top, area.bottom - height);
    return {left, top, left + width, top + height};
}

RECT FitIfLarger(const RECT& rect) {
    const RECT area = NearestMonitor(rect).rcWork;
    const bool larger = Width(rect) > Width(area) || Height(rect) > Height(area);
    return larger ? FitToWorkArea(rect) : rect;
}

// The system keeps the place of a minimized window relative to the work area.
RECT RestoredRect(HWND window) {
    WINDOWPLACEMENT placement = {};
    placement.length = sizeof(placement);
    RECT rect = {};
    GetWindowRect(window, &rect);
    if (!IsIconic(window) || !GetWindowPlacement(window, &placement))
        return rect;
    rect = placement.rcNormalPosition;
    const MONITORINFO monitor = NearestMonitor(rect);
    if (placement.flags & WPF_RESTORETOMAXIMIZED)
        return monitor.rcWork;
    OffsetRect(&rect, monitor.rcWork.left - monitor.rcMonitor.left,
               monitor.rcWork.top - monitor.rcMonitor.top);
    return rect;
}
