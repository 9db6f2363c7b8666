#pragma once

// The music-support table of a terminal: one row for each file extension that a converter
// handles, in five parallel columns.

#include <cstdint>

class ZoTerm;

// Frees the table and makes one of `rows` empty rows. False, with an empty table, when memory is
// exhausted.
bool ResizeMusicSupport(ZoTerm& terminal, std::int32_t rows);

// Replaces an entry of a text column by a copy. Without memory the entry stays as it was.
void SetMusicText(char*& entry, const char* text);

// The text of an entry; a missing one is empty.
const char* MusicText(const char* entry);
