#include "PackedList.h"

#include "CodePage.h"

#include <cstring>

const char* NextName(const char* name) {
    return name + std::strlen(name) + 1;
}

std::size_t CountNames(const char* list) {
    std::size_t count = 0;
    for (; *list; list = NextName(list))
        ++count;
    return count;
}

std::size_t CheckedListSize(const char* list, std::size_t room) {
    std::size_t at = 0;
    while (at < room && list[at])
        at += strnlen(list + at, room - at) + 1; // beyond the room when a name has no end there
    return at < room ? at + 1 : 0;
}

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
