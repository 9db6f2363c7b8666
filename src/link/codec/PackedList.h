#pragma once

// Packed file lists: paths, each ended by a NUL, the whole ended by an empty string.
// No windows.h.

#include <cstddef>

// Bytes that the names take as a packed list, its final empty string included. Empty names are
// left out, since one would end the list. 1 when no name is left.
std::size_t PackedListSize(int count, const char* const* names);

// Writes the names as a packed list. False, with nothing written, when they do not fit whole.
bool PackList(int count, const char* const* names, char* out, std::size_t capacity);
