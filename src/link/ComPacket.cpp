// Packets in raw mode: bytes out of the input buffer, control packets to the device.

#include "link/ComPort.h"

#include "link/InputLock.h"

int ComPort::ReadByte() {
    if (m_InCount == 0 && !m_ReceiveAbort)
        WaitForSingleObject(m_DataEvent, m_ByteTimeout);
    if (m_ReceiveAbort)
        return -1;

    const InputLock lock(*this);
    InputBuffer input = lock.Buffer();
    std::uint8_t byte = 0;
    if (TakeFront(input, &byte, 1) == 0)
        return -1;
    m_InCount = input.count;
    if (input.count == 0)
        ResetEvent(m_DataEvent);
    m_PacketCrc = AddCrc(m_PacketCrc, byte);
    return byte;
}

std::int32_t ComPort::ReadWord() {
    return ReadWordFrom(*this);
}

std::uint32_t ComPort::ReadLong() {
    return ReadLongFrom(*this);
}

bool ComPort::ReadPacket(std::uint32_t& type, std::uint8_t& sub, std::uint32_t& length,
                         std::uint8_t* payload, std::uint32_t max) {
    return ReadPacketFrom(*this, type, sub, length, payload, max);
}

bool ComPort::SendControl(std::uint16_t code, std::uint16_t value) {
    std::uint8_t packet[ControlPacketSize];
    m_PacketCrc = EncodeControl(code, value, packet);
    Write(packet, sizeof(packet));
    return true;
}
