#include "bench/Peer.h"

#include "bench/Console.h"
#include "bench/Figures.h"
#include "bench/Shown.h"
#include "rig/ComPeer.h"
#include "rig/Process.h"
#include "rig/Registry.h"
#include "rig/Rig.h"
#include "rig/Wait.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <vector>

namespace {

constexpr int Pace = 921600;
constexpr int SlowPace = 115200;
constexpr int Rounds = 5;
constexpr double Megabyte = 1048576;

struct Program {
    const char* label;
    std::string commandLine;
};

void Pause(DWORD time) {
    WaitUntil([] { return false; }, time);
}

// One figure of a running program.
struct Figure {
    const char* name;
    const char* unit;
    double (*take)(const Console& console);
};

double Start(const Console& console) {
    return console.shownAfter;
}

double StartCpu(const Console& console) {
    return console.CpuSeconds();
}

double Idle(const Console& console) {
    Pause(2000); // what a start still has to do
    return console.IdlePercent(5);
}

double Memory(const Console& console) {
    return console.PrivateBytes() / 1e6;
}

double Showing(const Console& console) {
    return ShowingPercent(console, SlowPace, false, 10);
}

std::uint64_t FloodBegan = 0; // the bytes that had been taken off the line by then

std::uint64_t TakenOfFlood() {
    return DeliveredBytes(ReadComPair().program).value_or(0) - FloodBegan;
}

// Until all has been taken and drawn.
double Flood(const Console& console) {
    const ComPair pair = ReadComPair();
    FloodBegan = DeliveredBytes(pair.program).value_or(0);
    const double cpu = console.CpuSeconds();
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --text " +
                                              std::to_string(StreamSize) + " --pace " +
                                              std::to_string(Pace));
    WaitUntil([] { return TakenOfFlood() >= StreamSize; }, 30000);
    Pause(2000);
    return (console.CpuSeconds() - cpu) / (StreamSize / Megabyte);
}

// Behind Flood; the flood has ended.
double Lost(const Console&) {
    return static_cast<double>(StreamSize - std::min<std::uint64_t>(TakenOfFlood(), StreamSize));
}

constexpr Figure Figures[] = {
    {"start to the first window", "s", &Start},
    {"CPU until then", "s", &StartCpu},
    {"CPU while idle", "%", &Idle},
    {"private memory", "MB", &Memory},
    {"CPU while text shows at 115200 bit/s", "%", &Showing},
    {"CPU for each MB at 921600 bit/s", "s", &Flood},
    {"bytes lost of these", "bytes", &Lost},
};

double Median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values.empty() ? -1 : values[values.size() / 2];
}

} // namespace

void MeasureBeside(const std::string& peer, std::size_t figures) {
    const Program programs[] = {{"this program", ConsoleCommand()}, {"peer", peer}};
    std::vector<double> taken[std::size(programs)][std::size(Figures)];
    PlantPort(Pace);
    PlantNumber(ConsoleKey, "DropOldestText", 1);
    const std::size_t count = std::min(figures, std::size(Figures));
    for (int round = 0; round < Rounds; ++round)
        for (std::size_t i = 0; i < std::size(programs); ++i) {
            const Console console(programs[i].commandLine);
            for (std::size_t k = 0; k < count && console.window; ++k)
                taken[i][k].push_back(Figures[k].take(console));
        }
    PlantNumber(ConsoleKey, "DropOldestText", 0);
    for (std::size_t k = 0; k < count; ++k)
        for (std::size_t i = 0; i < std::size(programs); ++i)
            Row(std::string(Figures[k].name) + ", " + programs[i].label, Median(taken[i][k]),
                Figures[k].unit, NoBound);
}
