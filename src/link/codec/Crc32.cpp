#include "Crc32.h"

std::uint32_t AddCrc(std::uint32_t crcRegister, const std::uint8_t* bytes, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        crcRegister = AddCrc(crcRegister, bytes[i]);
    return crcRegister;
}
