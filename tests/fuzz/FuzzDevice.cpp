// The simulated device: any bytes at any time, with any fault script.

#include "FuzzTarget.h"

#include "simulator/ZorbelDevice.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr sim::Millis LongestOwnTime = 100000; // ms that the device may talk to itself
constexpr std::string_view Mark = "\n=\n";     // between the script and the bytes

// Takes what is due until `end`; a device that is woken again and again for nothing is stuck.
void Run(sim::ZorbelDevice& device, sim::Millis& now, sim::Millis end) {
    int idle = 0;
    while (device.NextDue() <= end && idle < 1000) {
        now = std::max(now, device.NextDue());
        std::uint8_t buffer[512];
        idle = device.Take(now, buffer, sizeof(buffer)) == 0 ? idle + 1 : 0;
    }
    Demand(idle < 1000);
    now = end;
}

} // namespace

// A script, the mark, then bytes; 0xFE is 50 ms times the byte after it, and the word
// "@@" for the checksum that belongs to the line, so that command lines can be found.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    sim::FaultScript script;
    if (const std::size_t mark = input.find(Mark); mark != std::string_view::npos) {
        script.Parse(input.substr(0, mark));
        input.remove_prefix(mark + Mark.size());
    }
    sim::DeviceSetup setup;
    setup.pace = 115200;
    sim::ZorbelDevice device(setup, std::move(script), {});
    sim::Millis now = 1;
    device.SwitchOn(now);
    Run(device, now, now + 10);
    std::string line;
    for (std::size_t i = 0; i < input.size(); ++i) {
        std::string bytes(1, input[i]);
        if (bytes[0] == '\xFE' && i + 1 < input.size()) {
            Run(device, now, now + sim::Millis{50} * static_cast<std::uint8_t>(input[++i]));
            continue;
        }
        if (input.substr(i, 2) == "@@") {
            const std::uint16_t sum = sim::LineSum(line);
            bytes = {'\n', static_cast<char>(sum), static_cast<char>(sum >> 8)};
            ++i;
        }
        if (bytes.size() == 3 || bytes == "\n")
            line.clear();
        else
            line += bytes;
        device.Receive(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), now);
    }
    Run(device, now, now + LongestOwnTime);
    return 0;
}
