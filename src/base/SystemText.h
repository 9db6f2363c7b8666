#pragma once

// The system's own words for its error numbers.

#include "base/Text.h"

#include <windows.h>

#include <cctype>
#include <cstring>

// Writes what a Win32 error number means, as part of a sentence: no period, no line end, in lower
// case unless its first word is an abbreviation.
template <std::size_t Size> void FormatSystemError(char (&text)[Size], DWORD error) {
    DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS |
                                      FORMAT_MESSAGE_MAX_WIDTH_MASK,
                                  nullptr, error, 0, text, Size, nullptr);
    while (length > 0 && std::strchr(" .\r\n", text[length - 1]))
        --length;
    text[length] = '\0';
    if (length == 0)
        FormatText(text, "error %lu", error);
    else if (length > 1 && std::islower(static_cast<unsigned char>(text[1])))
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
}
