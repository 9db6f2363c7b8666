#pragma once

// Packed file lists: paths, each ended by a NUL, the whole ended by an empty string.
// No windows.h.

#include <cstddef>

// The name after `name` in the list.
const char* NextName(const char* name);

// The number of names in a list.
std::size_t CountNames(const char* list);

// The size in bytes of a list from elsewhere; 0 when it does not end within `room` bytes.
std::size_t CheckedListSize(const char* list, std::size_t room);
