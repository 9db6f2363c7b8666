#include "Hostile.h"

#include <iterator>
#include <string_view>

#include "Frames.h"

namespace sim {

namespace {

constexpr const char* Replies[] = {
    "ack\n",  "nack\n", "send4294967295\n", "send0\n",      "send1\n",
    "send\n", "done\n", "cancel\n",         "ack\r\r\n",    "send-1\n",
    "can\n",  "ack",    "\nack\n\n",        "nack nack\n ", "Preparing to load ZoOS\n",
};

constexpr const char* LineEnds[] = {"\n", "\r", "\r\n", "\n\r", "\r\r\n"};

// What a packet's length field says. A host takes up to 512 bytes.
constexpr std::uint16_t Lengths[] = {0, 1, 2, 511, 512, 513, 600, 0x7FFF, 0x8000, 0xFFFF};

constexpr std::uint32_t MostCharacters = 8192;
constexpr std::uint32_t MostRepeats = 4096;
constexpr std::uint32_t MostDigits = 1024;
constexpr std::uint32_t MostPayload = 1024;
constexpr std::uint32_t MostCode = 6; // of a control packet; a host knows 1 and 2

} // namespace

std::uint32_t Hostile::Below(std::uint32_t limit) {
    return static_cast<std::uint32_t>(m_Random() % limit);
}

// From 1 to `most`, which is a power of two; short bursts are as frequent as long ones.
std::uint32_t Hostile::Size(std::uint32_t most) {
    std::uint32_t limit = 1;
    while (limit < most && Below(12) != 0)
        limit *= 2;
    return 1 + Below(limit);
}

template <std::size_t Count> const char* Hostile::OneOf(const char* const (&texts)[Count]) {
    return texts[Below(Count)];
}

// Now and then a silence lets the host take a damaged packet for ended and look for the next.
Burst Hostile::Next(HostExpects expects) {
    Burst burst;
    burst.kind = ChooseKind(expects);
    burst.silence = Below(8) == 0 ? Below(LongestSilence + 1) : 0;
    burst.bytes = Make(burst.kind);
    return burst;
}

BurstKind Hostile::ChooseKind(HostExpects expects) {
    const bool aimed = Below(2) == 0;
    if (aimed && expects == HostExpects::Packets)
        return BurstKind::Packets;
    if (aimed && expects == HostExpects::Replies)
        return Below(4) == 0 ? BurstKind::Numbers : BurstKind::Replies;
    return static_cast<BurstKind>(Below(Kinds));
}

std::string Hostile::Make(BurstKind kind) {
    std::string unit;
    switch (kind) {
    case BurstKind::Noise: return Characters(0x00, 0xFF);
    case BurstKind::Nuls: return Characters(0x00, 0x00);
    case BurstKind::EndlessLine: return Characters(0x20, 0xFF);
    case BurstKind::Answers: return Characters(0x01, 0x02);
    case BurstKind::LineEnds: unit = OneOf(LineEnds); break;
    case BurstKind::Replies: unit = OneOf(Replies); break;
    case BurstKind::Numbers: return NumberLine();
    case BurstKind::Packets: return Packet();
    }
    std::string flood;
    for (std::uint32_t left = Size(MostRepeats); left > 0; --left)
        flood += unit;
    return flood;
}

std::string Hostile::Characters(std::uint32_t low, std::uint32_t high) {
    std::string characters(Size(MostCharacters), '\0');
    for (char& character : characters)
        character = static_cast<char>(low + Below(high - low + 1));
    return characters;
}

// A block number of any length, digits or not.
std::string Hostile::NumberLine() {
    const bool digits = Below(4) != 0;
    std::string line = "send";
    for (std::uint32_t left = Size(MostDigits); left > 0; --left)
        line.push_back(static_cast<char>(digits ? '0' + Below(10) : 0x20 + Below(0xE0)));
    return line + '\n';
}

// A good one, or one whose length field lies.
std::string Hostile::Packet() {
    if (Below(3) == 0)
        return ControlPacket(static_cast<std::uint16_t>(Below(MostCode)), 0);
    std::string payload(Below(MostPayload + 1), 'p');
    const auto block = static_cast<std::uint8_t>(Below(4));
    if (Below(3) == 0)
        return DataPacket(block, std::string_view(payload).substr(0, std::size_t{256} * Below(3)));
    std::string packet = DataPacket(block, payload);
    const std::uint16_t length = Lengths[Below(std::size(Lengths))];
    packet[2] = static_cast<char>(length >> 8);
    packet[3] = static_cast<char>(length & 0xFF);
    return packet;
}

} // namespace sim
