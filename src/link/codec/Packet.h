#pragma once

// Packets: type, sub, length, payload, CRC; the numbers big-endian. The CRC-32 covers all before
// it. The device uploads files in data packets; the host steers it with control packets.
// No windows.h.

#include "Crc32.h"

#include <cstddef>
#include <cstdint>

enum PacketType : std::uint32_t { PacketData = 1, PacketControl = 2 };

// What a control packet means: the first of its two 16-bit fields.
enum ControlCode : std::uint16_t {
    CtlReady = 1, // device: data follows
    CtlEnd = 2,   // the transfer is over; host: after so many blocks, 0 when it gives up
    CtlNext = 3,  // host: the block wanted, every block before it has arrived
    CtlStart = 5, // host: begin
};

constexpr std::uint32_t LargestPayload = 512;
constexpr std::size_t ControlPacketSize = 12;

// Stores a number big-endian.
void PutWord(std::uint8_t* out, std::uint16_t value);
void PutLong(std::uint8_t* out, std::uint32_t value);

// Writes the host's control packet to `out`, ControlPacketSize bytes. Returns the CRC register
// after its payload, not complemented.
std::uint32_t EncodeControl(std::uint16_t code, std::uint16_t value, std::uint8_t* out);

// The code of a device's control packet, 0 when the packet has none or is no control packet. Only
// the field's low byte counts.
std::uint8_t ControlCodeOf(std::uint32_t type, std::uint32_t length, const std::uint8_t* payload);

constexpr std::uint32_t PacketTimeout = 1000; // ms for a packet's first byte, and for each other
constexpr std::uint32_t ResyncSilence = 200;  // ms of silence that end a damaged packet

// The packet reader, over a source of bytes with
//     int ReadByte()                the next byte, -1 when none came in time; each byte that it
//                                   returns goes into m_PacketCrc
//     std::uint32_t m_ByteTimeout   ms that ReadByte waits
//     std::uint32_t m_PacketCrc     the CRC register
// A byte that does not come counts as 0xFF in a field, and a field that lacks one as 0.

template <typename Source> std::int32_t ReadWordFrom(Source& source) {
    const std::int32_t high = source.ReadByte();
    const std::int32_t low = source.ReadByte();
    return high < 0 || low < 0 ? -0x10000 : high * 256 + low;
}

template <typename Source> std::uint32_t ReadLongFrom(Source& source) {
    const auto high = static_cast<std::uint32_t>(ReadWordFrom(source)) & 0xFFFF;
    const auto low = static_cast<std::uint32_t>(ReadWordFrom(source)) & 0xFFFF;
    return high << 16 | low;
}

// One attempt, its first byte read. False when the packet is damaged; `missing` says that it is
// because a byte of the payload did not come.
template <typename Source>
bool ReadPacketBody(Source& source, std::uint32_t first, std::uint32_t& type, std::uint8_t& sub,
                    std::uint32_t& length, std::uint8_t* payload, std::uint32_t max,
                    bool& missing) {
    const int second = source.ReadByte();
    const std::int32_t announced = ReadWordFrom(source);
    type = first;
    sub = static_cast<std::uint8_t>(second);
    length = static_cast<std::uint32_t>(announced) & 0xFFFF;
    const bool whole = second >= 0 && announced >= 0 && length <= max;
    length = length < max ? length : max;
    for (std::uint32_t i = 0; i < length; ++i) {
        const int byte = source.ReadByte();
        missing = byte < 0;
        if (missing)
            return false;
        payload[i] = static_cast<std::uint8_t>(byte);
    }
    const std::uint32_t covered = source.m_PacketCrc;
    const std::uint32_t crc = ReadLongFrom(source);
    std::uint8_t field[4];
    PutLong(field, crc);
    // A byte that did not come counts as 0 in the field, but it is not in the register.
    return whole && crc == ~covered && source.m_PacketCrc == AddCrc(covered, field, sizeof(field));
}

// Reads the next good packet. What is damaged is discarded with all that follows it up to
// ResyncSilence, and reading starts over. False when a packet's first byte or a byte of a payload
// does not come within PacketTimeout. `type`, `sub`, `length` and `payload` (`max` bytes) hold
// what the last attempt wrote, even then.
template <typename Source>
bool ReadPacketFrom(Source& source, std::uint32_t& type, std::uint8_t& sub, std::uint32_t& length,
                    std::uint8_t* payload, std::uint32_t max) {
    for (;;) {
        source.m_PacketCrc = CrcPreset;
        source.m_ByteTimeout = PacketTimeout;
        const int first = source.ReadByte();
        if (first < 0)
            return false;
        if (first == PacketData || first == PacketControl) {
            bool missing = false;
            if (ReadPacketBody(source, static_cast<std::uint32_t>(first), type, sub, length,
                               payload, max, missing))
                return true;
            if (missing)
                return false;
        }
        source.m_ByteTimeout = ResyncSilence;
        while (source.ReadByte() >= 0) {
        }
    }
}
