#pragma once

// The device's own framing: block frames that it takes, packets that it takes and gives. Written
// without a look at the host's, so that a mistake there cannot hide here.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace sim {

// The CRC-32 of IEEE 802.3: reflected, preset and complemented with ones.
std::uint32_t FrameCrc(std::string_view bytes);

// Where a frame's parts are. All begin with a marker byte and have a 16-bit length, then the
// data, then four CRC bytes.
struct FrameLayout {
    std::uint8_t marker;
    bool bigEndian;
    std::size_t crcFrom;  // the first byte that the CRC covers
    std::size_t lengthAt; // the length field; the data follows it
};

constexpr FrameLayout BlockLayout = {0x43, false, 1, 3};
constexpr FrameLayout ControlLayout = {0x02, true, 0, 2};

// Collects one frame, marker included.
class FrameCollector {
public:
    enum class Result { More, Complete, Damaged };

    // Waits for a frame with at most `longest` bytes of data.
    void Begin(const FrameLayout& layout, std::size_t longest);

    Result Add(std::uint8_t byte);

    bool Empty() const { return m_Bytes.empty(); }
    std::uint32_t Field(std::size_t at, std::size_t bytes) const;
    std::string_view Data() const; // of a complete frame

private:
    FrameLayout m_Layout = BlockLayout;
    std::size_t m_Longest = 0;
    std::string m_Bytes;
};

// Codes of control packets.
constexpr std::uint16_t ControlReady = 1;
constexpr std::uint16_t ControlEnd = 2;
constexpr std::uint16_t ControlNext = 3;
constexpr std::uint16_t ControlStart = 5;

std::string DataPacket(std::uint8_t block, std::string_view data);
std::string ControlPacket(std::uint16_t code, std::uint16_t value);

} // namespace sim
