#pragma once

// Functions of libraries that are loaded when they are needed: the program starts without them.

#include <windows.h>

// A function of one of the system's libraries, from the system's folder; null when there is none.
// The library stays loaded. `Pointer` is the function's type: decltype(&CoInitializeEx).
template <typename Pointer> Pointer SystemFunction(const char* library, const char* name) {
    const HMODULE module = LoadLibraryExA(library, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const FARPROC function = module ? GetProcAddress(module, name) : nullptr;
    return reinterpret_cast<Pointer>(reinterpret_cast<void*>(function));
}
