#include "bench/Many.h"

#include "bench/Console.h"
#include "bench/Figures.h"
#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/Registry.h"
#include "rig/SimDevice.h"
#include "rig/Wait.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr DWORD AskPeriod = 10;       // ms
constexpr DWORD Situation = 10000;    // ms that each is looked at
constexpr double BoundOfAnswers = 50; // ms
constexpr int MostTerminals = 20;
constexpr DWORD LongestOpening = 20000; // ms

std::string KeyOf(std::size_t terminal) {
    return "Software\\Zorbel\\ZoConsole\\Instance" + std::to_string(terminal);
}

// Asks a window again and again, on a thread of its own.
class Asking {
public:
    explicit Asking(HWND window)
        : m_Thread([this, window] {
              while (!m_Ends) {
                  const double asked = Seconds();
                  SendMessageA(window, WM_NULL, 0, 0);
                  m_Times.push_back((Seconds() - asked) * 1000);
                  Sleep(AskPeriod);
              }
          }) {}
    Asking(const Asking&) = delete;
    Asking& operator=(const Asking&) = delete;

    // Ends it: 99 of 100 answers took no longer than so many ms.
    double Percentile99() {
        m_Ends = true;
        m_Thread.join();
        std::sort(m_Times.begin(), m_Times.end());
        return m_Times.empty() ? 0 : m_Times[m_Times.size() * 99 / 100];
    }

private:
    std::atomic<bool> m_Ends{false};
    std::vector<double> m_Times;
    std::thread m_Thread;
};

std::vector<HWND> Terminals() {
    std::vector<HWND> windows;
    HWND window = nullptr;
    while ((window = FindWindowExA(nullptr, window, TerminalClassName, nullptr)) != nullptr)
        windows.push_back(window);
    return windows;
}

void HandOver(HWND window, const std::string& path) {
    std::string list = path + std::string(2, '\0');
    COPYDATASTRUCT data = {0, static_cast<DWORD>(list.size()), list.data()};
    SendMessageA(window, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data));
}

// Calls `act` once a second while a terminal is asked, and prints how it answered.
void Watch(const char* situation, HWND window, const std::function<void()>& act) {
    Asking asking(window);
    const ULONGLONG end = GetTickCount64() + Situation;
    while (GetTickCount64() < end) {
        act();
        WaitUntil([] { return false; }, 1000);
    }
    Row(std::string("answers of a window, 99 of 100: ") + situation, asking.Percentile99(), "ms",
        BoundOfAnswers);
}

// Terminals of one process, each on a null modem of its own.
class Crowded {
public:
    Crowded(std::size_t count, DWORD baud, const std::function<void(std::size_t)>& plant)
        : m_Pairs(AllComPairs(static_cast<int>(count))) {
        for (std::size_t i = 0; i < m_Pairs.size(); ++i) {
            PlantNumber(KeyOf(i), "Port", static_cast<DWORD>(m_Pairs[i].number));
            PlantNumber(KeyOf(i), "BaudRate", baud);
            plant(i);
        }
        m_Console = std::make_unique<Console>();
        for (std::size_t i = 1; i < m_Pairs.size(); ++i)
            SendMessageA(m_Console->window, WM_COMMAND, CMD_NEW_WINDOW, 0);
        WaitUntil([&] { return Terminals().size() == m_Pairs.size(); }, LongestOpening);
        WaitUntil([] { return false; }, 2000); // the ports open on threads of their own
    }
    ~Crowded() {
        for (const HWND window : Terminals())
            PostMessageA(window, WM_CLOSE, 0, 0);
        m_Console.reset();
        for (std::size_t i = 0; i < m_Pairs.size(); ++i)
            RemoveKey(KeyOf(i));
    }
    Crowded(const Crowded&) = delete;
    Crowded& operator=(const Crowded&) = delete;

    HWND Window() const { return m_Console->window; }
    const std::vector<ComPair>& Pairs() const { return m_Pairs; }

private:
    std::vector<ComPair> m_Pairs;
    std::unique_ptr<Console> m_Console;
};

void WatchTransfers(const TestFolder& folder) {
    Crowded crowd(MostTerminals, 115200, [](std::size_t i) {
        PlantNumber(KeyOf(i), "ShowProgress", 0);
        PlantNumber(KeyOf(i), "DisplaySummary", 0);
    });
    std::vector<std::unique_ptr<SimDevice>> devices;
    for (const ComPair& pair : crowd.Pairs())
        devices.push_back(std::make_unique<SimDevice>(pair.device, folder.Path(pair.device),
                                                      std::string(), sim::DeviceSetup(), false));
    Watch("20 transfers", crowd.Window(), [&] {
        for (const HWND window : Terminals())
            HandOver(window, folder.Path("file")); // refused while the last one runs
    });
}

void PlantConverter(const std::string& script) {
    PlantNumber(ConsoleKey, "MusicSupport", 1);
    PlantNumber(ConsoleKey, "MusicSupportExt", 1);
    PlantText(ConsoleKey, "MusicSupportExt0", "slow");
    PlantText(ConsoleKey, "MusicSupportConverter0", "cmd.exe /c " + script);
    PlantText(ConsoleKey, "MusicSupportNewExt0", "out");
    PlantText(ConsoleKey, "MusicSupportCommand0", "");
}

} // namespace

void MeasureAnswers() {
    const TestFolder folder;
    const ComPair pair = ReadComPair();
    folder.Write("file", RandomBytes(100 << 10, 1));
    folder.Write("song.slow", "music");
    folder.Write("slow.cmd", "@ping -n 20 127.0.0.1 > nul\r\n");
    PlantPort(921600);
    PlantNumber(ConsoleKey, "DropOldestText", 1);
    PlantNumber(ConsoleKey, "DisplaySummary", 0);
    PlantConverter(folder.Path("slow.cmd"));
    const std::string device =
        "--port " + pair.device + " --files \"" + folder.Path("device") + '"';
    {
        const Console console;
        const Process text("ZorbelSim.exe", device + " --text 2000000 --pace 921600");
        Watch("flood", console.window, [] {});
    }
    {
        const Console console;
        Watch("silent device", console.window,
              [&] { HandOver(console.window, folder.Path("file")); });
    }
    {
        const Console console;
        const Process hostile("ZorbelSim.exe", device + " --hostile 7");
        Watch("hostile device", console.window,
              [&] { HandOver(console.window, folder.Path("file")); });
    }
    {
        const Console console;
        const Process idle("ZorbelSim.exe", device);
        Watch("converter", console.window,
              [&] { HandOver(console.window, folder.Path("song.slow")); });
    }
    RemoveKey(ConsoleKey);
    WatchTransfers(folder);
}

void MeasureFourStreams() {
    const TestFolder folder;
    const auto log = [&](std::size_t i) { return folder.Path("log" + std::to_string(i)); };
    std::size_t lost = 0;
    {
        const Crowded crowd(4, 921600, [&](std::size_t i) {
            PlantText(KeyOf(i), "LogFile", log(i));
            PlantNumber(KeyOf(i), "UseLogFile", 1);
            PlantNumber(KeyOf(i), "DropOldestText", 1);
        });
        std::vector<std::unique_ptr<Process>> devices;
        for (const ComPair& pair : crowd.Pairs())
            devices.push_back(std::make_unique<Process>(
                "ZorbelSim.exe", "--port " + pair.device + " --text " + std::to_string(StreamSize) +
                                     " --pace 921600"));
        for (std::size_t i = 0; i < crowd.Pairs().size(); ++i) {
            WaitUntil([&] { return Contents(log(i)).size() >= StreamSize; }, 60000);
            WaitUntil([&] { return ArrivedInLog(Contents(log(i))) == StreamSize; }, 2000);
            lost += StreamSize - ArrivedInLog(Contents(log(i)));
        }
    }
    Row("bytes lost of 2 MB at 921600 bit/s in each of 4 windows", static_cast<double>(lost),
        "bytes", 0);
}
