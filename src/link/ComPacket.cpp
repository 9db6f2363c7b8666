// Packets in raw mode: bytes out of the input buffer, control packets to the device.

#include "link/ComPort.h"

#include "link/InputLock.h"

// The next byte; -1 when none came in time or the receive is to end.
int ComPort::ReadByte(PacketSource& source) {
    if (m_InCount == 0 && !m_ReceiveAbort)
        WaitForSingleObject(m_DataEvent, source.m_ByteTimeout);
    if (m_ReceiveAbort)
        return -1;

    const InputLock lock(*this);
    InputBuffer input = lock.Buffer();
    std::uint8_t byte = 0;
    if (TakeFront(input, &byte, 1) == 0)
        return -1;
    m_InCount = input.count;
    if (input.count == 0 && !m_ReceiveAbort)
        ResetEvent(m_DataEvent);
    source.m_PacketCrc = AddCrc(source.m_PacketCrc, byte);
    return byte;
}

// See ReadPacketFrom in codec/Packet.h.
bool ComPort::ReadPacket(std::uint32_t& type, std::uint8_t& sub, std::uint32_t& length,
                         std::uint8_t* payload, std::uint32_t max) {
    PacketSource source{*this};
    return ReadPacketFrom(source, type, sub, length, payload, max);
}

// Always true: a control packet that is lost is asked for again.
bool ComPort::SendControl(std::uint16_t code, std::uint16_t value) {
    std::uint8_t packet[ControlPacketSize];
    EncodeControl(code, value, packet);
    Write(packet, sizeof(packet));
    return true;
}
