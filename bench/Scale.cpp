// zo_scale NAME: measures how the cost of one thing grows with its amount, and prints a table.

#include "bench/Scale.h"

#include "rig/Registry.h"
#include "rig/Wait.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr char Settings[] = "Software\\Zorbel\\ZoConsole";
constexpr DWORD AskPeriod = 50;       // ms; every question costs the program time, too
constexpr UINT LongestAnswer = 60000; // ms

BOOL CALLBACK CollectTerminal(HWND window, LPARAM parameter) {
    char name[64];
    GetClassNameA(window, name, sizeof(name));
    if (std::strcmp(name, "cs_zoterm") == 0 && IsWindowVisible(window))
        reinterpret_cast<std::vector<HWND>*>(parameter)->push_back(window);
    return TRUE;
}

bool failed = false; // a figure is missing

struct Measure {
    const char* name;
    void (*run)();
};

constexpr Measure Measures[] = {
    {"terminals", &MeasureTerminals}, {"rates", &MeasureRates}, {"files", &MeasureFiles},
    {"pane", &MeasurePane},           {"log", &MeasureLog},     {"list", &MeasureList},
};

} // namespace

void PrintRow(const std::vector<double>& figures) {
    for (const double figure : figures) {
        std::printf("%.6g ", figure);
        failed = failed || figure < 0;
    }
    std::printf("\n");
    std::fflush(stdout);
}

Prober::Prober(std::vector<HWND> windows)
    : m_Windows(std::move(windows)), m_Thread([this] { Ask(); }) {}

Prober::~Prober() {
    m_Ends = true;
    m_Thread.join();
}

void Prober::Ask() {
    for (std::size_t i = 0; !m_Ends; i = (i + 1) % m_Windows.size()) {
        const double asked = Seconds();
        DWORD_PTR answer = 0;
        SendMessageTimeoutA(m_Windows[i], WM_NULL, 0, 0, SMTO_NORMAL, LongestAnswer, &answer);
        m_Slowest = std::max(m_Slowest.load(), (Seconds() - asked) * 1000);
        Sleep(AskPeriod);
    }
}

std::vector<HWND> Terminals() {
    std::vector<HWND> windows;
    EnumWindows(&CollectTerminal, reinterpret_cast<LPARAM>(&windows));
    return windows;
}

HWND PaneOf(HWND terminal) {
    return FindWindowExA(terminal, nullptr, "EDIT", nullptr);
}

std::size_t TextInPane(HWND terminal) {
    return static_cast<std::size_t>(SendMessageA(PaneOf(terminal), WM_GETTEXTLENGTH, 0, 0));
}

void PlantFirst(DWORD baud) {
    RemoveKey(Settings);
    PlantPort(baud);
}

std::string TemporaryFile(const std::string& name) {
    char folder[MAX_PATH];
    GetTempPathA(MAX_PATH, folder);
    std::string path = std::string(folder) + name;
    DeleteFileA(path.c_str());
    return path;
}

int main(int argc, char** argv) {
    for (const Measure& measure : Measures) {
        if (argc == 2 && std::strcmp(argv[1], measure.name) == 0) {
            measure.run();
            RemoveKey(Settings);
            return failed ? 1 : 0;
        }
    }
    std::fputs("usage: zo_scale terminals|rates|files|pane|log|list\n", stderr);
    return 2;
}
