#include "PackedList.h"

#include <cstring>

std::size_t PackedListSize(int count, const char* const* names) {
    std::size_t size = 1;
    for (int i = 0; i < count; ++i) {
        const std::size_t length = std::strlen(names[i]);
        if (length > 0)
            size += length + 1;
    }
    return size;
}

bool PackList(int count, const char* const* names, char* out, std::size_t capacity) {
    if (PackedListSize(count, names) > capacity)
        return false;
    for (int i = 0; i < count; ++i) {
        const std::size_t length = std::strlen(names[i]);
        if (length == 0)
            continue;
        std::memcpy(out, names[i], length + 1);
        out += length + 1;
    }
    *out = '\0';
    return true;
}

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

const char* BaseName(const char* path) {
    const char* const backslash = std::strrchr(path, '\\');
    return backslash ? backslash + 1 : path;
}
