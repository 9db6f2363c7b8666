// zo_soak MINUTES: twenty terminals send and receive until their lines have been busy for that
// many minutes in all, while their adapters are pulled and plugged in, one after the other. Prints
// what the process uses after the first five minutes, at times, and at the end, and ends with 1
// when that has grown or a file arrived wrong.

#include "bench/Crowd.h"
#include "bench/Usage.h"
#include "rig/SystemObjects.h"
#include "rig/Terminal.h"
#include "shell/Dispatcher.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int MostTerminals = 20;
constexpr int RoundOperations = 2;         // of each terminal
constexpr double WarmUp = 5 * 60;          // seconds of line time
constexpr double PrintPeriod = 5 * 60;     // seconds of line time
constexpr DWORD BeforeThePull = 700;       // ms; then each terminal is at work
constexpr std::size_t FileSize = 10 << 10; // bytes
constexpr DWORD LongestRound = 120000;     // ms
constexpr double MemoryPlay = 2 << 20;     // bytes that a heap may come and go
constexpr double LabelLoss = 3 * 56;       // bytes that Wine loses with the labels of a dialog
constexpr DWORD HandlePlay = 10;
constexpr DWORD ObjectPlay = 100;

struct Figures {
    double memory;
    SystemObjects objects;
};

Figures Take() {
    const SystemObjects objects = CountSystemObjects(); // itself takes memory, the first time
    return {Usage(GetCurrentProcess(), "zo_soak.exe").PrivateBytes(), objects};
}

void Print(const char* when, const Figures& figures) {
    std::printf("%-6s private memory %.2f MB, handles %lu, GDI objects %lu, USER objects %lu\n",
                when, figures.memory / 1e6, figures.objects.handles, figures.objects.gdi,
                figures.objects.user);
    std::fflush(stdout);
}

bool Grew(const Figures& before, const Figures& after, double operations) {
    return after.memory > before.memory + MemoryPlay + LabelLoss * operations ||
           after.objects.handles > before.objects.handles + HandlePlay ||
           after.objects.gdi > before.objects.gdi + ObjectPlay ||
           after.objects.user > before.objects.user + ObjectPlay;
}

// A round of work, in which one terminal loses its port. False when it did not end, or a file
// arrived wrong.
bool Round(Crowd& crowd, std::size_t pulled) {
    crowd.Assign(RoundOperations, FileSize);
    const auto done = [&] { return crowd.AllDone(); };
    WaitUntil(done, BeforeThePull);
    crowd.Replug(pulled, RoundOperations);
    return WaitUntil(done, LongestRound) && crowd.WrongFiles() == 0;
}

} // namespace

int main(int argc, char** argv) {
    const double minutes = argc > 1 ? std::atof(argv[1]) : 0;
    if (minutes <= 0) {
        std::fputs("usage: zo_soak MINUTES\n", stderr);
        return 2;
    }
    RemoveKey(SettingsRoot);
    const TestFolder folder;
    if (!CreateDispatcher(GetModuleHandleA(nullptr)))
        return 1;
    const std::vector<ComPair> pairs = AllComPairs(MostTerminals);
    Crowd crowd(folder, pairs);
    const auto lines = static_cast<double>(pairs.size());
    const double start = Seconds();
    const auto lineTime = [&] { return (Seconds() - start) * lines; };
    bool good = true;
    std::size_t round = 0;
    Figures before = {};
    double printed = 0;
    while (good && (lineTime() < minutes * 60 || before.memory == 0)) {
        good = Round(crowd, round++ % pairs.size());
        if (lineTime() < WarmUp || lineTime() < printed + PrintPeriod)
            continue;
        printed = lineTime();
        const Figures now = Take();
        Print(before.memory == 0 ? "start" : "then", now);
        if (before.memory == 0)
            before = now;
    }
    const Figures after = Take();
    const bool grew = Grew(before, after, lines * RoundOperations * static_cast<double>(round));
    Print("end", after);
    std::printf("%.1f minutes of line time, %zu times unplugged, %s\n", lineTime() / 60, round,
                !good  ? "a file did not arrive as it was"
                : grew ? "but something has grown"
                       : "every byte right, nothing has grown");
    crowd.Close();
    RemoveKey(SettingsRoot);
    return good && !grew ? 0 : 1;
}
