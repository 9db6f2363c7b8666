#include "LogStamp.h"

#include <algorithm>

std::size_t LogStamp::StampedSize(const char* bytes, std::size_t count) const {
    std::size_t size = count;
    bool begun = inLine;
    for (const char* at = bytes; at != bytes + count; ++at) {
        size += begun ? 0 : LogTimeLength;
        begun = *at != '\n';
    }
    return size;
}

void LogStamp::Stamp(const char* bytes, std::size_t count, const char* time, char* out) {
    for (const char* at = bytes; at != bytes + count; ++at) {
        if (!inLine)
            out = std::copy_n(time, LogTimeLength, out);
        *out++ = *at;
        inLine = *at != '\n';
    }
}
