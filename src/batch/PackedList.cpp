#include "PackedList.h"

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
