// Text that comes to what there is already: in the pane, in the log.

#include "base/Text.h"
#include "bench/Scale.h"
#include "resources/resource.h"
#include "rig/Registry.h"
#include "rig/Terminal.h"
#include "rig/Wait.h"
#include "shell/Dispatcher.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr DWORD Rate = 115200;
constexpr std::size_t LineSize = 64; // characters on the screen, CR and LF included
constexpr std::size_t PaneLimit = 65535;
constexpr DWORD LongestFill = 30000; // ms
constexpr int PaneLines = 40;        // at each level
constexpr int LogLines = 300;        // of each size

std::string Line() {
    return std::string(LineSize - 2, 'x') + '\n';
}

// Brings the pane to so many characters. Of what does not fit nothing is shown.
void Fill(HWND terminal, ComPeer& peer, std::size_t characters) {
    const std::size_t shown = TextInPane(terminal);
    for (std::size_t at = shown; at < characters; at += LineSize)
        peer.Send(Line());
    const std::size_t full = std::min(characters, PaneLimit);
    WaitUntil(
        [&] {
            Sleep(50);
            return TextInPane(terminal) >= full;
        },
        LongestFill);
    Sleep(500); // the gauge and whatever else follows
}

// CPU ms of the program for each of some lines that come one by one.
double LineMs(const Console& console, ComPeer& peer, int lines, DWORD period) {
    const double cpu = console.CpuSeconds();
    for (int i = 0; i < lines; ++i) {
        peer.Send(Line());
        Sleep(period);
    }
    Sleep(300);
    return 1000 * (console.CpuSeconds() - cpu) / lines;
}

LONGLONG SizeOf(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data);
    return static_cast<LONGLONG>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

// A file of that size that takes no room.
void MakeSparse(const std::string& path, LONGLONG size) {
    const OwnedHandle file(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER end = {};
    end.QuadPart = size;
    SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN);
    SetEndOfFile(file.get());
}

// us that a terminal of this process takes to open a log, which it then closes again.
double OpenUs(ZoTerm& terminal, const std::string& log) {
    constexpr int Rounds = 200;
    CopyText(terminal.Settings.m_LogFile, log.c_str());
    const double start = Seconds();
    for (int i = 0; i < Rounds; ++i)
        terminal.OpenLog();
    const double us = 1e6 * (Seconds() - start) / Rounds;
    CopyText(terminal.Settings.m_LogFile, "");
    terminal.OpenLog();
    return us;
}

// us of CPU for a line in the log, in a full pane; -1 when the log has not grown by just that.
double AppendUs(const std::string& log) {
    PlantFirst(Rate);
    PlantText(ConsoleKey, "LogFile", log);
    PlantNumber(ConsoleKey, "UseLogFile", 1);
    const Console console;
    ComPeer peer;
    Fill(console.window, peer, PaneLimit + LineSize);
    const LONGLONG before = SizeOf(log);
    const double ms = LineMs(console, peer, LogLines, 10);
    return SizeOf(log) - before == static_cast<LONGLONG>(LogLines * LineSize) ? 1000 * ms : -1;
}

} // namespace

// Characters in the pane; CPU ms for a further line; the same in a full pane that drops its oldest
// text, a row of its own.
void MeasurePane() {
    PlantFirst(Rate);
    const Console console;
    ComPeer peer;
    constexpr std::size_t Levels = 8;
    constexpr std::size_t Step = PaneLimit / Levels;
    for (std::size_t level = 0; level < Levels; ++level) {
        Fill(console.window, peer, level * Step);
        const auto filled = static_cast<double>(TextInPane(console.window));
        PrintRow({filled, LineMs(console, peer, PaneLines, 60), std::nan("")});
    }
    Fill(console.window, peer, PaneLimit + LineSize);
    SendMessageA(console.window, WM_COMMAND, CMD_DROP_OLDEST, 0);
    PrintRow({static_cast<double>(TextInPane(console.window)), std::nan(""),
              LineMs(console, peer, PaneLines, 300)});
}

// MB in the log; us to open it, CPU us for a further line.
void MeasureLog() {
    const std::string log = TemporaryFile("zoconsole_scale.log");
    constexpr LONGLONG Sizes[] = {0, 1 << 20, 16 << 20, 256 << 20, 1LL << 30, 5LL << 30};
    std::vector<double> appends;
    for (const LONGLONG size : Sizes) {
        MakeSparse(log, size);
        appends.push_back(AppendUs(log));
    }
    PlantFirst(Rate);
    CreateDispatcher(GetModuleHandleA(nullptr));
    const HWND terminal = TerminalWindows().at(0);
    for (std::size_t i = 0; i < appends.size(); ++i) {
        MakeSparse(log, Sizes[i]);
        PrintRow(
            {static_cast<double>(Sizes[i] >> 20), OpenUs(TerminalOf(terminal), log), appends[i]});
    }
    SendMessageA(terminal, WM_CLOSE, 0, 0);
    WaitUntil([&] { return !IsWindow(terminal); });
    DeleteFileA(log.c_str());
}
