#include "bench/faults/Answers.h"

#include "bench/Usage.h"

#include <algorithm>

namespace {

constexpr DWORD Period = 20;       // ms between two questions
constexpr DWORD LookPeriod = 5000; // ms after which the windows are looked for again

} // namespace

Answers::Answers(std::deque<Pilot>& pilots) : m_Thread([this, &pilots] { Ask(pilots); }) {}

Answers::~Answers() {
    m_Ends = true;
    m_Thread.join();
}

// A window that is gone answers nothing and does not count.
void Answers::Ask(std::deque<Pilot>& pilots) {
    std::vector<HWND> windows;
    ULONGLONG looked = 0;
    for (std::size_t turn = 0; !m_Ends; ++turn) {
        if (GetTickCount64() >= looked + LookPeriod) {
            windows.clear();
            for (Pilot& pilot : pilots) {
                View view;
                pilot.Look(view);
                windows.push_back(view.window);
            }
            looked = GetTickCount64();
        }
        const double start = Seconds();
        DWORD_PTR answer = 0;
        const HWND window = windows[turn % windows.size()];
        if (SendMessageTimeoutA(window, WM_NULL, 0, 0, SMTO_NORMAL, 30000, &answer)) {
            const std::lock_guard<std::mutex> guard(m_Lock);
            m_Times.push_back((Seconds() - start) * 1000);
        }
        Sleep(Period);
    }
}

std::string Answers::Describe() const {
    std::vector<double> times;
    {
        const std::lock_guard<std::mutex> guard(m_Lock);
        times = m_Times;
    }
    if (times.empty())
        return "no answers";
    std::sort(times.begin(), times.end());
    const auto at = [&](double share) {
        return times[static_cast<std::size_t>(share * static_cast<double>(times.size() - 1))];
    };
    char text[100];
    std::snprintf(text, sizeof(text), "answers: median %.1f ms, p99 %.1f ms, slowest %.0f ms",
                  at(0.5), at(0.99), at(1));
    return text;
}
