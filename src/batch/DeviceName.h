#pragma once

// The names that the device accepts for its files. No windows.h.

// Every character that may be in a name.
inline constexpr char DeviceNameChars[] =
    "qwertyuiopasdfghjklzxcvbnmQWERTYUIOPASDFGHJKLZXCVBNM1234567890-_+.()";

// True when the character is one of the set's. The NUL never is.
bool IsCharIn(char character, const char* set);

// Returns 1 when the base name of `path`, all after its last backslash, is a name for the device:
// 1 to 63 of DeviceNameChars, with no minus, plus or period at either end. Else 0.
int ValidDeviceName(const char* path);
