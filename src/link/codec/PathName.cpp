#include "PathName.h"

#include "CodePage.h"

#include <cstring>

// A backslash may also be the second byte of a character.
const char* BaseName(const char* path) {
    const char* name = path;
    for (const char* at = path; *at; ++at)
        if (*at == '\\')
            name = at + 1;
        else if (IsLeadByte(*at) && at[1])
            ++at;
    return name;
}

bool NamesNoFile(const char* path) {
    constexpr char VerbatimPrefix[] = "\\\\?\\";
    constexpr std::size_t length = sizeof(VerbatimPrefix) - 1;
    const bool verbatim = std::strncmp(path, VerbatimPrefix, length) == 0;
    return std::strpbrk(verbatim ? path + length : path, "*?") != nullptr;
}
