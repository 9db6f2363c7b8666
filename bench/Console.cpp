#include "bench/Console.h"

#include "rig/ComPeer.h"
#include "rig/Registry.h"
#include "rig/Wait.h"

namespace {

constexpr DWORD LongestStart = 20000; // ms
constexpr DWORD LongestEnd = 10000;   // ms

// The file name in a command line, whose path may be in quotes.
std::string FileName(const std::string& commandLine) {
    const bool quoted = !commandLine.empty() && commandLine[0] == '"';
    const std::string path = quoted ? commandLine.substr(1, commandLine.find('"', 1) - 1)
                                    : commandLine.substr(0, commandLine.find(' '));
    return path.substr(path.find_last_of("\\/") + 1);
}

} // namespace

std::string ConsoleCommand() {
    return '"' + BuildFile("ZoConsole.exe") + '"';
}

void PlantPort(DWORD baud) {
    PlantNumber(ConsoleKey, "Port", static_cast<DWORD>(ReadComPair().number));
    PlantNumber(ConsoleKey, "BaudRate", baud);
}

// A window is painted before its thread answers messages.
Console::Console(const std::string& commandLine) {
    const double started = Seconds();
    m_Program = std::make_unique<Process>(commandLine);
    if (!WaitUntil([&] { return !WindowsOf(*m_Program).empty(); }, LongestStart))
        return;
    window = WindowsOf(*m_Program)[0];
    SendMessageA(window, WM_NULL, 0, 0);
    shownAfter = Seconds() - started;
    m_Usage = Usage(m_Program->Handle(), FileName(commandLine));
}

Console::~Console() {
    PostMessageA(window, WM_CLOSE, 0, 0);
    m_Program->Ended(LongestEnd);
}

double Console::IdlePercent(double seconds) const {
    const double cpu = CpuSeconds();
    const double start = Seconds();
    WaitUntil([&] { return Seconds() - start >= seconds; }, INFINITE);
    return 100 * (CpuSeconds() - cpu) / (Seconds() - start);
}
