#pragma once

// Move-only owners of Win32 handles, for locals: no path can leak what they hold.

#include <windows.h>

#include <memory>
#include <type_traits>

template <typename Handle, auto Release> struct Releaser {
    using pointer = Handle;
    void operator()(Handle handle) const { Release(handle); }
};

// Holds a handle of the kind that Release ends; null means none. Turn INVALID_HANDLE_VALUE into
// null before it comes in here.
template <typename Handle, auto Release>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, Releaser<Handle, Release>>;

using OwnedHandle = Owned<HANDLE, &CloseHandle>;
