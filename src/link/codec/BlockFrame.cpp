#include "BlockFrame.h"

#include "Crc32.h"

#include <cstring>

namespace {

constexpr std::uint8_t Marker = 'C';
constexpr std::size_t HeaderSize = 5;

void PutLittle(std::uint8_t* out, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i)
        out[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

} // namespace

std::size_t EncodeBlockFrame(std::uint32_t block, const std::uint8_t* data, std::uint16_t length,
                             std::uint8_t* out) {
    out[0] = Marker;
    PutLittle(out + 1, block, 2);
    PutLittle(out + 3, length, 2);
    if (length > 0)
        std::memcpy(out + HeaderSize, data, length);
    const std::uint32_t crc = ~AddCrc(CrcPreset, out + 1, HeaderSize - 1 + length);
    PutLittle(out + HeaderSize + length, crc, 4);
    return length + BlockFrameOverhead;
}
