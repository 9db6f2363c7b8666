#pragma once

// Bounded writes into fixed arrays of characters, for all text that the program writes.

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>

#if defined(__GNUC__)
#define ZO_PRINTF_LIKE(formatIndex, firstArgument)                                                 \
    __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define ZO_PRINTF_LIKE(formatIndex, firstArgument)
#endif

// Copies a text into an array, cut at the array's end and always terminated. The source may lie
// in the array itself. False when it was cut.
template <std::size_t Size> bool CopyText(char (&dest)[Size], const char* source) {
    const std::size_t length = strnlen(source, Size);
    const bool fits = length < Size;
    const std::size_t kept = fits ? length : Size - 1;
    std::memmove(dest, source, kept);
    dest[kept] = '\0';
    return fits;
}

// snprintf into an array, cut at the array's end and always terminated. False when it was cut or
// the format failed.
template <std::size_t Size>
ZO_PRINTF_LIKE(2, 3)
bool FormatText(char (&dest)[Size], const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(dest, Size, format, arguments);
    va_end(arguments);
    if (length < 0)
        dest[0] = '\0';
    return length >= 0 && static_cast<std::size_t>(length) < Size;
}

// Makes a text a packed list of one name: adds a second NUL, and cuts the text if it has to.
template <std::size_t Size> void EndAsList(char (&text)[Size]) {
    const std::size_t length = strnlen(text, Size - 2);
    text[length] = text[length + 1] = '\0';
}

// True when the text holds a control character: a line end in it would end a command line early.
inline bool HasControlCharacter(const char* text) {
    for (; *text; ++text)
        if (static_cast<unsigned char>(*text) < 0x20 || *text == 0x7F)
            return true;
    return false;
}
