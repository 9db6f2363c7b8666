#pragma once

// How fast the windows answer: asked in turn, again and again, from a thread of its own.

#include "bench/faults/Pilot.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

class Answers {
public:
    explicit Answers(std::deque<Pilot>& pilots);
    ~Answers();
    Answers(const Answers&) = delete;
    Answers& operator=(const Answers&) = delete;

    // The median, the 99th percentile and the slowest of all answers so far.
    std::string Describe() const;

private:
    void Ask(std::deque<Pilot>& pilots);

    mutable std::mutex m_Lock;
    std::vector<double> m_Times; // ms
    std::atomic<bool> m_Ends{false};
    std::thread m_Thread;
};
