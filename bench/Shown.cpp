#include "bench/Shown.h"

#include "bench/Console.h"
#include "bench/Figures.h"
#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Wait.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <string>
#include <thread>
#include <utility>

namespace {

constexpr double PaneShare = 40000; // bytes that show before the pane is cleared
constexpr DWORD Step = 10;          // ms between portions of a flood
constexpr DWORD Trickle = 500;      // ms between single lines
constexpr DWORD Settling = 1000;    // ms for text of an earlier measure to show
constexpr int LineSize = 20;        // bytes of a numbered line

std::string NumberedLine(int number) {
    char line[LineSize + 1];
    std::snprintf(line, sizeof(line), "%08d %.*s\n", number, LineSize - 10, "abcdefghij");
    return line;
}

// Clears the pane as often as text at this speed would fill it.
class Clearing {
public:
    Clearing(HWND window, int pace, bool clears)
        : m_Window(window), m_Period(clears && pace ? PaneShare * BitsOfAByte / pace : 1e9) {
        if (clears)
            Clear();
    }

    void Look() {
        if (Seconds() - m_Cleared >= m_Period)
            Clear();
    }

private:
    void Clear() {
        PostMessageA(m_Window, WM_COMMAND, CMD_CLEAR, 0);
        m_Cleared = Seconds();
    }

    HWND m_Window;
    double m_Period;
    double m_Cleared = Seconds();
};

// The number of the last whole line in a pane; -1 when it has none.
int LastNumber(HWND pane) {
    const LRESULT lines = SendMessageA(pane, EM_GETLINECOUNT, 0, 0);
    char text[256] = {static_cast<char>(static_cast<unsigned char>(sizeof(text) - 2)), 0};
    SendMessageA(pane, EM_GETLINE, static_cast<WPARAM>(std::max<LRESULT>(lines - 2, 0)),
                 reinterpret_cast<LPARAM>(text));
    return text[0] >= '0' && text[0] <= '9' ? std::atoi(text) : -1;
}

} // namespace

double ShowingPercent(const Console& console, int pace, bool clears, double seconds) {
    const ComPair pair = ReadComPair();
    const auto size = static_cast<long>(seconds * pace / BitsOfAByte);
    const double cpu = console.CpuSeconds();
    const double start = Seconds();
    const Process device("ZorbelSim.exe", "--port " + pair.device + " --text " +
                                              std::to_string(size) + " --pace " +
                                              std::to_string(pace));
    Clearing clearing(console.window, pace, clears);
    while (Seconds() - start < seconds) {
        clearing.Look();
        Sleep(Step);
    }
    return 100 * (console.CpuSeconds() - cpu) / (Seconds() - start);
}

double SlowestLag(const Console& console, int pace, double seconds) {
    const HWND pane = FindWindowExA(console.window, nullptr, "EDIT", nullptr);
    ComPeer device;
    device.ReceiveRest();
    WaitUntil([] { return false; }, Settling);
    std::deque<std::pair<int, double>> sent; // the last line of each portion, and when it had gone
    const double start = Seconds();
    double slowest = 0;
    double due = 0;
    int number = 0;
    while (Seconds() - start < seconds) {
        const double now = Seconds();
        if (now - start >= due) {
            std::string portion;
            const double line = pace ? LineSize * BitsOfAByte / pace : Trickle / 1000.0;
            for (; due <= now - start; due += line)
                portion += NumberedLine(++number);
            device.Send(portion);
            sent.emplace_back(number, Seconds());
        }
        const int shown = LastNumber(pane);
        while (!sent.empty() && sent.front().first <= shown) {
            slowest = std::max(slowest, Seconds() - sent.front().second);
            sent.pop_front();
        }
        Sleep(Step / 2);
    }
    if (!sent.empty())
        slowest = std::max(slowest, Seconds() - sent.front().second);
    return slowest * 1000;
}
