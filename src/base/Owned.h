#pragma once

// Move-only owners of Win32 handles, for locals: no path leaks a handle.

#include <windows.h>

#include <memory>
#include <type_traits>

template <typename Handle, auto Release> struct Releaser {
    using pointer = Handle;
    void operator()(Handle handle) const { Release(handle); }
};

// Owns a handle that Release frees; null means none. Turn INVALID_HANDLE_VALUE into null first.
template <typename Handle, auto Release>
using Owned = std::unique_ptr<std::remove_pointer_t<Handle>, Releaser<Handle, Release>>;

using OwnedHandle = Owned<HANDLE, &CloseHandle>;
