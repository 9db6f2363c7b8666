#include "Packet.h"

namespace {

constexpr std::size_t CoveredSize = ControlPacketSize - 4;

} // namespace

void PutWord(std::uint8_t* out, std::uint16_t value) {
    out[0] = static_cast<std::uint8_t>(value >> 8);
    out[1] = static_cast<std::uint8_t>(value);
}

void PutLong(std::uint8_t* out, std::uint32_t value) {
    PutWord(out, static_cast<std::uint16_t>(value >> 16));
    PutWord(out + 2, static_cast<std::uint16_t>(value));
}

std::uint32_t EncodeControl(std::uint16_t code, std::uint16_t value, std::uint8_t* out) {
    out[0] = PacketControl;
    out[1] = 0;
    PutWord(out + 2, 4);
    PutWord(out + 4, code);
    PutWord(out + 6, value);
    const std::uint32_t crcRegister = AddCrc(CrcPreset, out, CoveredSize);
    PutLong(out + CoveredSize, ~crcRegister);
    return crcRegister;
}

std::uint8_t ControlCodeOf(std::uint32_t type, std::uint32_t length, const std::uint8_t* payload) {
    return type == PacketControl && length >= 1 ? payload[1] : std::uint8_t{0};
}
