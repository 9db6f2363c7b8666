// Measures the built program from outside, and the link from inside. Prints one row for each
// figure: what it is, the figure, its bound. The argument says whether the system draws with
// themes, "on" or "off".

#include "bench/Console.h"
#include "bench/Figures.h"
#include "bench/Many.h"
#include "bench/Peer.h"
#include "bench/Shown.h"
#include "link/ComPort.h"
#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/Process.h"
#include "rig/Registry.h"
#include "rig/Rig.h"
#include "rig/Wait.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr DWORD ProbePeriod = 500; // ms; every question costs the program time, too

std::string TemporaryFile(const char* name) {
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    return std::string(folder) + name;
}

void MeasureStart() {
    PlantPort(115200);
    double starts[5];
    for (double& start : starts)
        start = Console().shownAfter;
    std::sort(std::begin(starts), std::end(starts));
    Row("start to the first painted window (median of 5)", starts[2], "s", 0.3);
}

void MeasureIdle() {
    const ComPair pair = ReadComPair();
    PlantPort(115200);
    Console console;
    console.IdlePercent(5); // what a start still has to do
    Row("CPU while idle, port open (10 s)", console.IdlePercent(10), "%", 0.5);
    Row("private memory", console.PrivateBytes() / 1e6, "MB", NoBound);
    if (CutCable(pair.device)) {
        Row("CPU while idle, other end gone (10 s)", console.IdlePercent(10), "%", 0.5);
        RestoreCable(pair.device);
    }
    if (CutCable(pair.program)) {
        console.IdlePercent(1);
        Row("CPU while idle, port gone (10 s)", console.IdlePercent(10), "%", 0.5);
        RestoreCable(pair.program);
    }
}

void MeasureRoundTrip() {
    const ComPair pair = ReadComPair();
    ComPeer peer;
    const std::unique_ptr<ComPort, void (*)(ComPort*)> port(CreateComPort(), &DestroyComPort);
    port->Open(pair.ProgramPath().c_str(), 115200, 4096);
    const std::string wire = OnTheWire("ver");
    constexpr int Rounds = 50;
    std::thread device([&] {
        for (int i = 0; i < Rounds; ++i) {
            peer.Receive(wire.size());
            peer.Send("\x02");
        }
    });
    std::vector<double> times;
    for (int i = 0; i < Rounds; ++i) {
        const double start = Seconds();
        if (port->SendCommand("ver"))
            times.push_back((Seconds() - start) * 1000);
    }
    device.join();
    std::sort(times.begin(), times.end());
    if (times.empty())
        times.push_back(9999);
    Row("command round trip (median of 50)", times[times.size() / 2], "ms", 20);
    Row("command round trip (slowest)", times.back(), "ms", NoBound);
}

std::size_t FileSize(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    return error ? 0 : static_cast<std::size_t>(size);
}

// Streams generated text through the program into its log, and proves what arrived.
void MeasureStream(int pace, double cpuBound) {
    const ComPair pair = ReadComPair();
    const std::string log = TemporaryFile("zoconsole_bench.log");
    DeleteFileA(log.c_str());
    PlantText(ConsoleKey, "LogFile", log);
    PlantNumber(ConsoleKey, "UseLogFile", 1);
    PlantPort(static_cast<DWORD>(pace));
    const std::string name = "2 MB of text at " + std::to_string(pace) + " bit/s: ";

    const double fullRate = StreamSize * BitsOfAByte / pace; // seconds
    double cpu = 0;
    double slowest = 0;
    double done = 0;
    {
        Console console;
        cpu = console.CpuSeconds();
        const Process device("ZorbelSim.exe", "--port " + pair.device + " --text " +
                                                  std::to_string(StreamSize) + " --pace " +
                                                  std::to_string(pace));
        const double start = Seconds();
        while (Seconds() - start < 1.2 * fullRate + 5 && FileSize(log) < StreamSize) {
            const double asked = Seconds();
            SendMessageA(console.window, WM_NULL, 0, 0);
            slowest = std::max(slowest, Seconds() - asked);
            done = Seconds() - start;
            Sleep(ProbePeriod);
        }
        WaitUntil([&] { return ArrivedInLog(Contents(log)) == StreamSize; }, 2000);
        cpu = console.CpuSeconds() - cpu;
    }
    Row(name + "bytes lost", static_cast<double>(StreamSize - ArrivedInLog(Contents(log))), "bytes",
        0);
    Row(name + "time", done, "s", 1.02 * fullRate + 1);
    Row(name + "CPU for each MB", cpu / (StreamSize / 1048576.0), "s", cpuBound);
    Row(name + "slowest answer to a message", slowest * 1000, "ms", 100);
    PlantNumber(ConsoleKey, "UseLogFile", 0);
    DeleteFileA(log.c_str());
}

void MeasureShown() {
    for (const bool clears : {true, false}) {
        PlantNumber(ConsoleKey, "DropOldestText", clears ? 0 : 1);
        const std::string how = clears ? "" : ", the oldest dropped";
        for (const int pace : {115200, 921600}) {
            PlantPort(static_cast<DWORD>(pace));
            const std::string name = "text shown at " + std::to_string(pace) + " bit/s" + how;
            const Console console;
            ShowingPercent(console, pace, clears, clears ? 2 : 8);
            Row(name + ": CPU", ShowingPercent(console, pace, clears, 10), "%",
                pace == 115200 ? 10 : 20);
            if (!clears)
                Row(name + ": longest lag", SlowestLag(console, pace, 4), "ms", 250);
        }
    }
    {
        const Console console;
        Row("single lines of text: longest lag", SlowestLag(console, 0, 5), "ms", 30);
    }
    PlantNumber(ConsoleKey, "DropOldestText", 0);
}

// Calls an operation that starts a transfer, and waits for its end. Seconds; -1 when it failed.
template <typename Start> double TransferSeconds(ComPort& port, Start start) {
    const double began = Seconds();
    TransferInfo info = {};
    if (!start())
        return -1;
    do
        Sleep(20);
    while (port.GetTransferInfo(&info) && info.Status == ERROR_IO_PENDING);
    return info.Status == 0 ? Seconds() - began : -1;
}

// Transfers of 100 KB against the protocol's own floor: its pauses, the device's delays, and the
// bytes at the line's pace where that is longer than a pause. The null modem itself is not paced.
void MeasureTransfers() {
    constexpr double Pace = 115200 / BitsOfAByte; // bytes per second
    constexpr double Delay = 0.02;                // of the device's replies, in seconds
    constexpr double Blocks = 200;
    constexpr double AckTime = 5 / Pace;
    constexpr double SendFloor = 2 * Delay + AckTime + Blocks * (0.07 + Delay + AckTime);
    constexpr double ReceiveFloor = Delay + 0.2 + Delay + 16 / Pace + (Blocks + 1) * 0.2;

    const ComPair pair = ReadComPair();
    const TestFolder folder;
    folder.Write("x", RandomBytes(100 << 10, 1));
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --pace 115200 --files \"" +
                                              folder.Path("device") + "\"");
    const std::unique_ptr<ComPort, void (*)(ComPort*)> port(CreateComPort(), &DestroyComPort);
    port->Open(pair.ProgramPath().c_str(), 115200, 4096);
    WaitUntil([&] { return port->SendCommand("ver"); });

    const Usage self(GetCurrentProcess(), "zo_bench.exe");
    double cpu = self.CpuSeconds();
    const double sent = TransferSeconds(*port, [&] {
        return port->StartSend("a", folder.Path("x").c_str(), nullptr, SendModeFile, 0);
    });
    Row("send of 100 KB: time against the floor", sent / SendFloor, "times", 1.05);
    Row("send of 100 KB: CPU", 100 * (self.CpuSeconds() - cpu) / sent, "%", 2);
    cpu = self.CpuSeconds();
    const double received = TransferSeconds(
        *port, [&] { return port->StartReceive(folder.Path("y").c_str(), "/a/x"); });
    Row("receive of 100 KB: time against the floor", received / ReceiveFloor, "times", 1.05);
    Row("receive of 100 KB: CPU", 100 * (self.CpuSeconds() - cpu) / received, "%", 2);
    Row("bytes that came back wrong", folder.Read("y") == folder.Read("x") ? 0 : 1, "files", 0);
}

// At this rate it is the pauses that take the time, not the line.
void MeasureFastReceive() {
    const ComPair pair = ReadComPair();
    const TestFolder folder;
    folder.Write("device\\a\\x", RandomBytes(100 << 10, 1));
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --pace 921600 --files \"" +
                                              folder.Path("device") + "\"");
    const std::unique_ptr<ComPort, void (*)(ComPort*)> port(CreateComPort(), &DestroyComPort);
    port->Open(pair.ProgramPath().c_str(), 921600, 4096);
    WaitUntil([&] { return port->SendCommand("ver"); });
    double took[2] = {};
    for (const bool fast : {false, true}) {
        port->SetFast(fast);
        took[fast] = TransferSeconds(
            *port, [&] { return port->StartReceive(folder.Path("y").c_str(), "/a/x"); });
    }
    Row("receive of 100 KB at 921600 bit/s", took[false], "s", NoBound);
    Row("the same with FastTransfers: time against without", took[true] / took[false], "times",
        0.25);
}

void MeasureCrc() {
    const std::string bytes = RandomBytes(16 << 20, 1);
    const double start = Seconds();
    volatile std::uint32_t crc =
        AddCrc(CrcPreset, reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    static_cast<void>(crc);
    Row("CRC-32", 16 / (Seconds() - start), "MB/s", NoBound);
}

void MeasureExecutable() {
    Row("executable", static_cast<double>(FileSize(BuildFile("ZoConsole.exe"))) / 1000, "kB", 600);
}

struct Measure {
    const char* name;
    bool themed; // also with the themes on, which change it
    void (*run)();
};

constexpr Measure Measures[] = {
    {"executable", false, &MeasureExecutable},
    {"command", false, &MeasureRoundTrip},
    {"crc", false, &MeasureCrc},
    {"transfer", false, &MeasureTransfers},
    {"fastreceive", false, &MeasureFastReceive},
    {"start", true, &MeasureStart},
    {"idle", true, &MeasureIdle},
    {"answers", true, &MeasureAnswers},
    {"four", true, &MeasureFourStreams},
    {"shown", true, &MeasureShown},
    {"fast", true, [] { MeasureStream(921600, 0.5); }},
    {"stream", true, [] { MeasureStream(115200, 3); }},
};

} // namespace

// zo_bench on|off [NAME...]: with Wine's themes on or off, all that is measured or what is named.
// zo_bench peer COMMANDLINE [COUNT]: another terminal program beside this one, the first figures.
int main(int argc, char** argv) {
    if (argc > 2 && std::strcmp(argv[1], "peer") == 0) {
        MeasureBeside(argv[2], argc > 3 ? static_cast<std::size_t>(std::atoi(argv[3])) : 99);
        return 0;
    }
    const bool themes = argc > 1 && std::strcmp(argv[1], "on") == 0;
    for (const Measure& measure : Measures) {
        bool wanted = argc < 3;
        for (int i = 2; i < argc; ++i)
            wanted = wanted || std::strcmp(argv[i], measure.name) == 0;
        if (wanted && (measure.themed || !themes))
            measure.run();
    }
    return 0;
}
