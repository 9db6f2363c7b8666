#pragma once

// The parts of a path that the code page's bytes spell. No windows.h.

// The part of a path after its last backslash; all of it when there is none.
const char* BaseName(const char* path);

// True for a path that no file can have: it holds a wildcard, which may also replace a character
// that the code page cannot spell.
bool NamesNoFile(const char* path);
