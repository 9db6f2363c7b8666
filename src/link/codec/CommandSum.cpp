#include "CommandSum.h"

#include <algorithm>
#include <cstring>

void ResetCommandSum(std::uint32_t& sum) {
    sum = 0;
}

void AddCommandSum(std::uint32_t& sum, char character) {
    const auto widened = static_cast<std::uint32_t>(static_cast<std::int8_t>(character));
    sum = ((widened ^ sum) << 1) | ((sum >> 16) & 1U);
}

std::size_t EncodeCommandLine(const char* line, std::uint32_t& sum, std::uint8_t* out) {
    std::size_t length = std::strlen(line);
    std::copy_n(line, length, out);
    if (length == 0 || out[length - 1] != '\n')
        out[length++] = '\n';

    std::size_t covered = length;
    while (covered > 0 && (out[covered - 1] == '\r' || out[covered - 1] == '\n'))
        --covered;

    ResetCommandSum(sum);
    for (std::size_t i = 0; i < covered; ++i)
        AddCommandSum(sum, static_cast<char>(out[i]));

    out[length++] = static_cast<std::uint8_t>(sum);
    out[length++] = static_cast<std::uint8_t>(sum >> 8);
    return length;
}
