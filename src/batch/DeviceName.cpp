#include "DeviceName.h"

#include "link/codec/PathName.h"

#include <cstring>

namespace {

constexpr std::size_t LongestName = 63;
constexpr char NotAtTheEnds[] = "-+.";

} // namespace

bool IsCharIn(char character, const char* set) {
    return character != '\0' && std::strchr(set, character);
}

int ValidDeviceName(const char* path) {
    const char* const name = BaseName(path);
    const std::size_t length = std::strlen(name);
    if (length == 0 || length > LongestName)
        return 0;
    if (IsCharIn(name[0], NotAtTheEnds) || IsCharIn(name[length - 1], NotAtTheEnds))
        return 0;
    return std::strspn(name, DeviceNameChars) == length ? 1 : 0;
}
