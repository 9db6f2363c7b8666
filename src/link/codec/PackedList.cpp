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
