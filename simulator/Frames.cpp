#include "Frames.h"

namespace sim {

namespace {

constexpr std::size_t LengthSize = 2;
constexpr std::size_t CrcSize = 4;

void PutBig(std::string& out, std::uint32_t value, int bytes) {
    while (bytes-- > 0)
        out.push_back(static_cast<char>(value >> (8 * bytes)));
}

std::string Packet(std::uint8_t type, std::uint8_t sub, std::string_view payload) {
    std::string packet;
    PutBig(packet, type, 1);
    PutBig(packet, sub, 1);
    PutBig(packet, static_cast<std::uint32_t>(payload.size()), 2);
    packet.append(payload);
    PutBig(packet, FrameCrc(packet), 4);
    return packet;
}

} // namespace

std::uint32_t FrameCrc(std::string_view bytes) {
    std::uint32_t crc = ~0U;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320 & (0U - (crc & 1)));
    }
    return ~crc;
}

void FrameCollector::Begin(const FrameLayout& layout, std::size_t longest) {
    m_Layout = layout;
    m_Longest = longest;
    m_Bytes.clear();
}

FrameCollector::Result FrameCollector::Add(std::uint8_t byte) {
    m_Bytes.push_back(static_cast<char>(byte));
    if (Field(0, 1) != m_Layout.marker)
        return Result::Damaged;
    const std::size_t header = m_Layout.lengthAt + LengthSize;
    if (m_Bytes.size() < header)
        return Result::More;
    const std::size_t length = Field(m_Layout.lengthAt, LengthSize);
    if (length > m_Longest)
        return Result::Damaged;
    if (m_Bytes.size() < header + length + CrcSize)
        return Result::More;
    const std::string_view covered(m_Bytes.data() + m_Layout.crcFrom,
                                   header + length - m_Layout.crcFrom);
    return FrameCrc(covered) == Field(header + length, CrcSize) ? Result::Complete
                                                                : Result::Damaged;
}

std::uint32_t FrameCollector::Field(std::size_t at, std::size_t bytes) const {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
        const std::size_t place = m_Layout.bigEndian ? at + i : at + bytes - 1 - i;
        value = value << 8 | static_cast<unsigned char>(m_Bytes[place]);
    }
    return value;
}

std::string_view FrameCollector::Data() const {
    const std::size_t header = m_Layout.lengthAt + LengthSize;
    return std::string_view(m_Bytes).substr(header, Field(m_Layout.lengthAt, LengthSize));
}

std::string DataPacket(std::uint8_t block, std::string_view data) {
    return Packet(1, block, data);
}

std::string ControlPacket(std::uint16_t code, std::uint16_t value) {
    std::string payload;
    PutBig(payload, code, 2);
    PutBig(payload, value, 2);
    return Packet(2, 0, payload);
}

} // namespace sim
