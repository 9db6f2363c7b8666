#pragma once

// How the bytes of the system's 8-bit texts make characters: alone, two of them, or as UTF-8.
// No windows.h.

#include <cstddef>

// Sets the code page of the whole process; until then each byte is a character. `leadBytes` are the
// ranges of bytes that begin a character of two bytes: pairs, first and last, ended by two zeros.
void UseCodePage(const unsigned char* leadBytes, bool utf8);

// True when the byte begins a character of two bytes.
bool IsLeadByte(char byte);

// The number of bytes, of a text that begins with a character, that are whole characters: all but
// the beginning of one at the end.
std::size_t WholeCharacters(const char* text, std::size_t count);
