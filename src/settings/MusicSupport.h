#pragma once

// The music-support table of a terminal: one row for each file extension that
// a converter handles.

#include <cstdint>

struct TermSettings;

constexpr std::uint32_t MusicTextRoom = 10000; // bytes of a text of the table, with its NUL

// Upper limit of the rows, whatever number the registry or an ini file claims.
constexpr std::int32_t MostMusicRows = 1000;

// Frees the table and makes one of `rows` empty rows. False, with an empty table, when memory is
// exhausted.
bool ResizeMusicSupport(TermSettings& settings, std::int32_t rows);

// Merges the section "Music Support" of an ini file: appends rows of new extensions, replaces rows
// of known ones. Changes nothing unless the file switches music support on or off. `path` is a full
// path.
void MergeMusicSupportIni(TermSettings& settings, const char* path);

// Replaces a text of a row by a copy. Leaves it unchanged without memory.
void SetMusicText(char*& entry, const char* text);

// A text of a row; a missing one is empty.
const char* MusicText(const char* entry);
