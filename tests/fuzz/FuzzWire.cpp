// What the program writes for any line and any file is what the device's own framing reads.

#include "FuzzTarget.h"

#include "link/codec/BlockFrame.h"
#include "link/codec/CommandSum.h"
#include "link/codec/Packet.h"
#include "simulator/Frames.h"
#include "simulator/LineReceiver.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

void DemandLine(std::string text, bool ended) {
    std::vector<std::uint8_t> wire(CommandLineRoom(text.size() + (ended ? 1 : 0)));
    std::uint32_t sum = 0;
    wire.resize(EncodeCommandLine((ended ? text + '\n' : text).c_str(), sum, wire.data()));
    sim::LineReceiver receiver;
    sim::CommandLine line;
    for (std::size_t i = 0; i < wire.size(); ++i)
        Demand(receiver.Add(wire[i], 0, line) == (i + 1 == wire.size()));
    text.erase(text.find_last_not_of('\r') + 1);
    Demand(line.valid && line.text == text);
}

sim::FrameCollector Collected(const sim::FrameLayout& layout, std::size_t longest,
                              const std::vector<std::uint8_t>& wire) {
    sim::FrameCollector collector;
    collector.Begin(layout, longest);
    for (std::size_t i = 0; i < wire.size(); ++i)
        Demand(collector.Add(wire[i]) == (i + 1 < wire.size()
                                              ? sim::FrameCollector::Result::More
                                              : sim::FrameCollector::Result::Complete));
    return collector;
}

} // namespace

// A number, then text and data in one.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const auto number = static_cast<std::uint16_t>(data[0] | data[1] << 8);
    const std::string_view content(reinterpret_cast<const char*>(data + 2), size - 2);
    constexpr std::string_view Ends("\n\0", 2);
    const std::string_view text = content.substr(0, content.find_first_of(Ends));
    DemandLine(std::string(text.substr(0, sim::LineReceiver::Longest)), number % 2 != 0);

    std::vector<std::uint8_t> wire(content.size() + BlockFrameOverhead);
    Demand(EncodeBlockFrame(0x10000U + number, data + 2, static_cast<std::uint16_t>(content.size()),
                            wire.data()) == wire.size());
    const sim::FrameCollector block = Collected(sim::BlockLayout, content.size(), wire);
    Demand(block.Field(1, 2) == number && block.Data() == content);

    const std::uint16_t value = data[size - 1];
    wire.resize(ControlPacketSize);
    EncodeControl(number, value, wire.data());
    Demand(sim::ControlPacket(number, value) == std::string(wire.begin(), wire.end()));
    return 0;
}
