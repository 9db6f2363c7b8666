#include "bench/Peer.h"

#include "bench/Figures.h"
#include "bench/Usage.h"
#include "rig/ComPeer.h"
#include "rig/Process.h"
#include "rig/Rig.h"
#include "rig/Wait.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr int Pace = 921600;
constexpr DWORD LongestStart = 20000; // ms

// The file name in a command line, whose path may stand in quotes.
std::string FileName(const std::string& commandLine) {
    const bool quoted = !commandLine.empty() && commandLine[0] == '"';
    const std::string path = quoted ? commandLine.substr(1, commandLine.find('"', 1) - 1)
                                    : commandLine.substr(0, commandLine.find(' '));
    return path.substr(path.find_last_of("\\/") + 1);
}

double IdlePercent(const Usage& usage, double seconds) {
    const double cpu = usage.CpuSeconds();
    const double start = Seconds();
    WaitUntil([&] { return Seconds() - start >= seconds; }, INFINITE);
    return 100 * (usage.CpuSeconds() - cpu) / (Seconds() - start);
}

} // namespace

void MeasurePeer(const std::string& label, const std::string& commandLine, const std::string& log) {
    const ComPair pair = ReadComPair();
    const double started = Seconds();
    const Process program(commandLine);
    if (!WaitUntil([&] { return !WindowsOf(program).empty(); }, LongestStart)) {
        std::printf("%s shows no window: %s\n", label.c_str(), commandLine.c_str());
        return;
    }
    const HWND window = WindowsOf(program)[0];
    SendMessageA(window, WM_NULL, 0, 0);
    Row(label + ": start to the first window", Seconds() - started, "s", NoBound);
    const Usage usage(program.Handle(), FileName(commandLine));
    IdlePercent(usage, 5); // what a start still has to do
    Row(label + ": CPU while idle (10 s)", IdlePercent(usage, 10), "%", NoBound);
    Row(label + ": private memory", usage.PrivateBytes() / 1e6, "MB", NoBound);

    const std::uint64_t before = DeliveredBytes(pair.program).value_or(0);
    const double cpu = usage.CpuSeconds();
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --text " +
                                              std::to_string(StreamSize) + " --pace " +
                                              std::to_string(Pace));
    const auto taken = [&] { return DeliveredBytes(pair.program).value_or(0) - before; };
    WaitUntil([&] { return taken() >= StreamSize; }, 60000);
    WaitUntil([] { return false; }, 2000); // what it still has to draw and to write
    Row(label + ": CPU for each MB of text", (usage.CpuSeconds() - cpu) / (StreamSize / 1048576.0),
        "s", NoBound);
    const std::uint64_t kept =
        log.empty() ? taken() : static_cast<std::uint64_t>(ArrivedInLog(Contents(log)));
    Row(label + ": bytes lost of 2 MB at 921600 bit/s",
        static_cast<double>(StreamSize - std::min<std::uint64_t>(kept, StreamSize)), "bytes",
        NoBound);
    PostMessageA(window, WM_CLOSE, 0, 0);
    WaitUntil([&] { return !IsWindow(window); }, 3000);
}
