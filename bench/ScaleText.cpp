// Text of the device: to several terminals, and at several rates.

#include "bench/Figures.h"
#include "bench/Scale.h"
#include "resources/resource.h"
#include "rig/Files.h"
#include "rig/Registry.h"
#include "rig/SimDevice.h"
#include "rig/Wait.h"

#include <algorithm>
#include <memory>

namespace {

constexpr DWORD Rate = 115200;             // of each terminal's line
constexpr std::size_t TextSize = 20 << 10; // bytes for each terminal; a pane holds more
constexpr DWORD LongestStart = 20000;      // ms
constexpr DWORD LongestText = 60000;       // ms
constexpr double IdleTime = 4;             // s
constexpr DWORD StreamTime = 5;            // s of text at each rate
constexpr DWORD ClearPeriod = 500;         // ms; the fastest rate fills a pane in 700

sim::DeviceSetup Talking(DWORD rate, std::size_t bytes) {
    sim::DeviceSetup setup;
    setup.pace = rate;
    setup.startText = bytes;
    return setup;
}

bool AllShow(const std::vector<HWND>& terminals, std::size_t bytes) {
    return std::all_of(
        terminals.begin(), terminals.end(),
        [=](HWND terminal) { return TextInPane(terminal) >= bytes; });
}

void MeasureSoMany(const std::vector<ComPair>& pairs) {
    PlantFirst(Rate);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const std::string key = "Software\\Zorbel\\ZoConsole\\Instance" + std::to_string(i);
        PlantNumber(key, "Port", static_cast<DWORD>(pairs[i].number));
        PlantNumber(key, "BaudRate", Rate);
    }
    Console console;
    for (std::size_t i = 1; i < pairs.size(); ++i)
        SendMessageA(console.window, WM_COMMAND, CMD_NEW_WINDOW, 0);
    WaitUntil([&] { return Terminals().size() == pairs.size(); }, LongestStart);
    const std::vector<HWND> terminals = Terminals();
    console.IdlePercent(IdleTime); // what a start still has to do
    const double idle = console.IdlePercent(IdleTime);
    const double memory = console.PrivateBytes();

    const TestFolder folder;
    const Prober prober(terminals);
    const double cpu = console.CpuSeconds();
    std::vector<std::unique_ptr<SimDevice>> devices;
    devices.reserve(pairs.size());
    for (const ComPair& pair : pairs)
        devices.push_back(std::make_unique<SimDevice>(pair.device, folder.Path("device"), "",
                                                      Talking(Rate, TextSize), false));
    const bool shown = WaitUntil(
        [&] {
            Sleep(ClearPeriod / 2); // each look costs the program time
            return AllShow(terminals, TextSize);
        },
        LongestText);
    PrintRow({static_cast<double>(pairs.size()), memory / 1e6, idle,
              shown ? console.CpuSeconds() - cpu : -1, prober.SlowestMs(),
              console.PrivateBytes() / 1e6});
}

void MeasureRate(DWORD rate) {
    const auto bytes = std::size_t{rate} / 10 * StreamTime;
    const std::string log = TemporaryFile("zoconsole_scale.log");
    PlantFirst(rate);
    PlantText(ConsoleKey, "LogFile", log);
    PlantNumber(ConsoleKey, "UseLogFile", 1);
    const TestFolder folder;
    Console console;
    console.IdlePercent(1);
    {
        const Prober prober({console.window});
        const double cpu = console.CpuSeconds();
        const double start = Seconds();
        const SimDevice device(ReadComPair().device, folder.Path("device"), "",
                               Talking(rate, bytes), false);
        WaitUntil(
            [&] {
                Sleep(ClearPeriod);
                PostMessageA(console.window, WM_COMMAND, CMD_CLEAR, 0);
                return ArrivedInLog(Contents(log), bytes) == bytes;
            },
            StreamTime * 2000);
        const double percent = 100 * (console.CpuSeconds() - cpu) / (Seconds() - start);
        const std::size_t arrived = ArrivedInLog(Contents(log), bytes);
        PrintRow({static_cast<double>(rate), percent, prober.SlowestMs(),
                  static_cast<double>(bytes - arrived)});
    }
}

} // namespace

// Terminals; private MB and CPU % while nothing happens; CPU s for 20 KB of text to each at the
// same time, slowest answer in ms meanwhile, and private MB afterwards.
void MeasureTerminals() {
    for (const int count : {1, 2, 5, 10, 20})
        MeasureSoMany(AllComPairs(count));
}

// Bits per second; CPU %, slowest answer in ms, bytes lost.
void MeasureRates() {
    constexpr DWORD rates[] = {9600, 19200, 38400, 57600, 115200, 230400, 460800, 921600};
    for (const DWORD rate : rates)
        MeasureRate(rate);
}
