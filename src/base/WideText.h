#pragma once

// Wide texts of any length, and packed lists of them.

#include <cstddef>
#include <cwchar>
#include <memory>
#include <new>

using WideBuffer = std::unique_ptr<wchar_t[]>;

// Zeroed; null without memory.
inline WideBuffer MakeWideBuffer(std::size_t characters) {
    return WideBuffer(new (std::nothrow) wchar_t[characters]());
}

// The entry after `name` in a packed list.
inline const wchar_t* NextWide(const wchar_t* name) {
    return name + std::wcslen(name) + 1;
}
