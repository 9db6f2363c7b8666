#include "bench/Peer.h"

#include "bench/Console.h"
#include "bench/Figures.h"
#include "rig/ComPeer.h"
#include "rig/Process.h"
#include "rig/Rig.h"
#include "rig/Wait.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Pace = 921600;

} // namespace

void MeasurePeer(const std::string& label, const std::string& commandLine, const std::string& log) {
    const ComPair pair = ReadComPair();
    const Console program(commandLine);
    if (!program.window) {
        std::printf("%s shows no window: %s\n", label.c_str(), commandLine.c_str());
        return;
    }
    Row(label + ": start to the first window", program.shownAfter, "s", NoBound);
    program.IdlePercent(5); // what a start still has to do
    Row(label + ": CPU while idle (10 s)", program.IdlePercent(10), "%", NoBound);
    Row(label + ": private memory", program.PrivateBytes() / 1e6, "MB", NoBound);

    const std::uint64_t before = DeliveredBytes(pair.program).value_or(0);
    const double cpu = program.CpuSeconds();
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --text " +
                                              std::to_string(StreamSize) + " --pace " +
                                              std::to_string(Pace));
    const auto taken = [&] { return DeliveredBytes(pair.program).value_or(0) - before; };
    WaitUntil([&] { return taken() >= StreamSize; }, 60000);
    WaitUntil([] { return false; }, 2000); // what it still has to draw and to write
    Row(label + ": CPU for each MB of text",
        (program.CpuSeconds() - cpu) / (StreamSize / 1048576.0), "s", NoBound);
    const std::uint64_t kept =
        log.empty() ? taken() : static_cast<std::uint64_t>(ArrivedInLog(Contents(log)));
    Row(label + ": bytes lost of 2 MB at 921600 bit/s",
        static_cast<double>(StreamSize - std::min<std::uint64_t>(kept, StreamSize)), "bytes",
        NoBound);
}
