#pragma once

// How many GDI and USER objects this process has.

#include <windows.h>

#include <algorithm>
#include <vector>

struct GuiObjects {
    DWORD gdi;
    DWORD user;
};

// Where the system does not tell, objects are made until every hole in its table is filled; the
// highest place in it then tells how many others there are.
template <typename Make, typename Free> DWORD ProbeObjects(Make make, Free free) {
    std::vector<decltype(make())> probes(1500);
    DWORD highest = 0;
    for (auto& probe : probes) {
        probe = make();
        highest = std::max<DWORD>(highest, LOWORD(reinterpret_cast<ULONG_PTR>(probe)));
    }
    for (const auto& probe : probes)
        free(probe);
    return highest;
}

inline GuiObjects CountGuiObjects() {
    const DWORD gdi = GetGuiResources(GetCurrentProcess(), GR_GDIOBJECTS);
    if (gdi != 0)
        return {gdi, GetGuiResources(GetCurrentProcess(), GR_USEROBJECTS)};
    return {ProbeObjects([] { return CreatePen(PS_SOLID, 1, 0); }, &DeleteObject),
            ProbeObjects([] { return CreateMenu(); }, &DestroyMenu)};
}
