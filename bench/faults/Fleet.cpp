#include "bench/faults/Fleet.h"

#include "base/Owned.h"
#include "bench/faults/Answers.h"
#include "bench/faults/Gui.h"
#include "bench/faults/Run.h"
#include "rig/SystemObjects.h"

#include <tlhelp32.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <deque>
#include <mutex>
#include <thread>

namespace {

constexpr int LongestRound = 10; // runs of each terminal; then all rest, and their use is counted
constexpr int LeastRounds = 3;   // the first one shows what is usual
constexpr DWORD ThreadPlay = 6;  // the system's own come and go
constexpr DWORD HandlePlay = 30;
constexpr DWORD ObjectPlay = 100;

struct Counts {
    DWORD threads = 0;
    SystemObjects objects = {};
};

DWORD CountThreads() {
    const OwnedHandle snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    DWORD count = 0;
    for (BOOL more = Thread32First(snapshot.get(), &entry); more;
         more = Thread32Next(snapshot.get(), &entry))
        count += entry.th32OwnerProcessID == GetCurrentProcessId() ? 1 : 0;
    return count;
}

Counts Count() {
    Counts counts;
    counts.threads = CountThreads();
    OnGui([&] { counts.objects = CountSystemObjects(); });
    return counts;
}

bool Grew(const Counts& before, const Counts& after) {
    return after.threads > before.threads + ThreadPlay ||
           after.objects.handles > before.objects.handles + HandlePlay ||
           after.objects.gdi > before.objects.gdi + ObjectPlay ||
           after.objects.user > before.objects.user + ObjectPlay;
}

int RunsOfARound(int runs, int terminals) {
    return std::clamp((runs + LeastRounds - 1) / LeastRounds, terminals, LongestRound * terminals);
}

class Fleet {
public:
    Fleet(const TestFolder& folder, const std::vector<ComPair>& pairs, int runs, std::uint32_t seed)
        : m_Folder(folder), m_Runs(runs), m_Seed(seed),
          m_RunsOfARound(RunsOfARound(runs, static_cast<int>(pairs.size()))) {
        for (const ComPair& pair : pairs)
            m_Pilots.emplace_back(pair, static_cast<std::uint16_t>(m_Pilots.size()));
    }

    FleetResult Carry() {
        m_Pilots[0].OpenPort();
        for (Pilot& pilot : m_Pilots)
            if (!pilot.Open())
                std::printf("terminal %u does not open\n", unsigned{pilot.Slot()});
        const Answers answers(m_Pilots);
        Counts first;
        while (m_Result.runs < m_Runs) {
            Round();
            const Counts now = Count();
            if (first.threads == 0)
                first = now;
            m_Result.grew = Grew(first, now);
            std::printf(
                "%d of %d runs, %d failed; threads %lu, handles %lu, GDI %lu, USER %lu%s; %s\n",
                m_Result.runs, m_Runs, m_Result.failed, now.threads, now.objects.handles,
                now.objects.gdi, now.objects.user, m_Result.grew ? " (grown)" : "",
                answers.Describe().c_str());
            std::fflush(stdout);
        }
        return m_Result;
    }

private:
    void Round() {
        m_RoundEnd = std::min(m_Runs, m_Next + m_RunsOfARound);
        std::vector<std::thread> threads;
        for (Pilot& pilot : m_Pilots)
            threads.emplace_back([this, &pilot] { Fly(pilot); });
        for (std::thread& thread : threads)
            thread.join();
        m_Result.runs = m_Next = m_RoundEnd;
    }

    void Fly(Pilot& pilot) {
        for (int run = m_Next++; run < m_RoundEnd; run = m_Next++) {
            const Plan plan = DrawPlan(m_Seed + static_cast<std::uint32_t>(run));
            Run flight(pilot, m_Folder, "t" + std::to_string(pilot.Slot()), plan);
            if (flight.Carry())
                continue;
            flight.Recover();
            const std::lock_guard<std::mutex> guard(m_PrintLock);
            ++m_Result.failed;
            std::printf("%s\n", flight.Report().c_str());
            std::fflush(stdout);
        }
    }

    const TestFolder& m_Folder;
    std::deque<Pilot> m_Pilots;
    const int m_Runs;
    const std::uint32_t m_Seed;
    const int m_RunsOfARound;
    std::atomic<int> m_Next{0};
    int m_RoundEnd = 0;
    FleetResult m_Result;
    std::mutex m_PrintLock;
};

} // namespace

FleetResult RunFleet(const TestFolder& folder, const std::vector<ComPair>& pairs, int runs,
                     std::uint32_t seed) {
    return Fleet(folder, pairs, runs, seed).Carry();
}
