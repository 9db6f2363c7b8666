#pragma once

// The music-support table of a terminal: one row for each file extension that
// a converter handles.

#include <cstdint>

struct TermSettings;

constexpr std::uint32_t MusicTextRoom = 10000; // bytes of a text of the table, with its NUL

// The number of rows comes from the registry and from an ini file, and may be any there; nobody
// has this many converters.
constexpr std::int32_t MostMusicRows = 1000;

// Frees the table and makes one of `rows` empty rows. False, with an empty table, when memory is
// exhausted.
bool ResizeMusicSupport(TermSettings& settings, std::int32_t rows);

// Adds what the section "Music Support" of an ini file holds: rows of new extensions behind the
// table, rows of known ones over theirs. Without a file that switches music support on or off
// nothing changes. `path` is a full path.
void MergeMusicSupportIni(TermSettings& settings, const char* path);

// Replaces a text of a row by a copy. Without memory it stays as it was.
void SetMusicText(char*& entry, const char* text);

// A text of a row; a missing one is empty.
const char* MusicText(const char* entry);
