// The packet reader, from any bytes with any silences between them.

#include "FuzzTarget.h"

#include "link/codec/Packet.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace {

// 0xFE is a silence of 16 ms times the byte after it, unless that is 0xFE itself.
class FuzzSource {
public:
    FuzzSource(const std::uint8_t* data, std::size_t size) : m_Next(data), m_End(data + size) {}

    int ReadByte() {
        std::uint32_t left = m_ByteTimeout;
        while (m_Silence == 0 && m_End - m_Next >= 2 && m_Next[0] == 0xFE && m_Next[1] != 0xFE) {
            m_Silence = m_Next[1] * 16U;
            m_Next += 2;
        }
        const std::uint32_t passed = std::min(left, m_Silence);
        m_Silence -= passed;
        left -= passed;
        if (m_Next == m_End || left == 0)
            return -1;
        const std::uint8_t byte = *m_Next++;
        m_PacketCrc = AddCrc(m_PacketCrc, byte);
        return byte;
    }

    bool Done() const { return m_Next == m_End; }

    std::uint32_t m_ByteTimeout = 0;
    std::uint32_t m_PacketCrc = 0;

private:
    const std::uint8_t* m_Next;
    const std::uint8_t* m_End;
    std::uint32_t m_Silence = 0;
};

// A packet that is called good has the CRC of its own bytes.
void DemandIntact(std::uint32_t type, std::uint8_t sub, std::uint32_t length,
                  const std::uint8_t* payload, std::uint32_t crcRegister) {
    std::uint8_t header[4] = {static_cast<std::uint8_t>(type), sub};
    PutWord(header + 2, static_cast<std::uint16_t>(length));
    std::uint8_t crc[4];
    const std::uint32_t own = AddCrc(AddCrc(CrcPreset, header, 4), payload, length);
    PutLong(crc, ~own);
    Demand(crcRegister == AddCrc(own, crc, 4));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzSource source(data, size);
    std::array<std::uint8_t, LargestPayload> payload = {};
    std::uint32_t type = 0;
    std::uint8_t sub = 0;
    std::uint32_t length = 0;
    while (!source.Done()) {
        const bool good = ReadPacketFrom(source, type, sub, length, payload.data(), LargestPayload);
        Demand(length <= LargestPayload);
        if (good)
            DemandIntact(type, sub, length, payload.data(), source.m_PacketCrc);
        ControlCodeOf(type, length, payload.data());
    }
    return 0;
}
