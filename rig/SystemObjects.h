#pragma once

// How many objects of the system this process has.

#include <windows.h>

#include <algorithm>
#include <vector>

struct SystemObjects {
    DWORD gdi;
    DWORD user;
    DWORD handles;
};

// Where the system does not report it, objects are made until every hole in their table is filled;
// the highest place in it then shows how many others there are. Places of neighbors differ by
// `step`.
template <typename Make, typename Free> DWORD ProbeObjects(Make make, Free free, DWORD step) {
    std::vector<decltype(make())> probes(1500);
    DWORD highest = 0;
    for (auto& probe : probes) {
        probe = make();
        highest = std::max<DWORD>(highest, LOWORD(reinterpret_cast<ULONG_PTR>(probe)));
    }
    for (const auto& probe : probes)
        free(probe);
    return highest / step - static_cast<DWORD>(probes.size());
}

inline SystemObjects CountSystemObjects() {
    const HANDLE self = GetCurrentProcess();
    const DWORD gdi = GetGuiResources(self, GR_GDIOBJECTS);
    DWORD handles = 0;
    if (gdi != 0 && GetProcessHandleCount(self, &handles))
        return {gdi, GetGuiResources(self, GR_USEROBJECTS), handles};
    return {
        ProbeObjects([] { return CreatePen(PS_SOLID, 1, 0); }, &DeleteObject, 1),
        ProbeObjects([] { return CreateMenu(); }, &DestroyMenu, 2),
        ProbeObjects([] { return CreateEventA(nullptr, TRUE, FALSE, nullptr); }, &CloseHandle, 4)};
}
