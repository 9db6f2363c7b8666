#pragma once

// Packed file lists: paths, each ended by a NUL, the whole ended by an empty string.
// No windows.h.

#include <cstddef>

// The name after a name of the list.
const char* NextName(const char* name);

// The number of names in a list.
std::size_t CountNames(const char* list);

// The size in bytes of a list from elsewhere; 0 when it does not end within `room` bytes.
std::size_t CheckedListSize(const char* list, std::size_t room);

// The part of a path after its last backslash; all of it when there is none.
const char* BaseName(const char* path);

// True for a path that no file can have: it holds a wildcard, which may also replace a character
// that the code page cannot spell.
bool NamesNoFile(const char* path);
