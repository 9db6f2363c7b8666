#pragma once

// Packed file lists: paths, each ended by a NUL, the whole ended by an empty string.
// No windows.h.

#include <cstddef>

// Bytes that the names take as a packed list, its final empty string included. Empty names are
// left out, since one would end the list. 1 when no name is left.
std::size_t PackedListSize(int count, const char* const* names);

// Writes the names as a packed list. False, with nothing written, when they do not fit whole.
bool PackList(int count, const char* const* names, char* out, std::size_t capacity);

// The name behind a name of the list.
const char* NextName(const char* name);

// The number of names in a list.
std::size_t CountNames(const char* list);

// Bytes that a list takes which comes from elsewhere; 0 when it does not end within `room` bytes.
std::size_t CheckedListSize(const char* list, std::size_t room);

// The part of a path behind its last backslash; the whole of it when there is none.
const char* BaseName(const char* path);
