#pragma once

// Asks a window, from a thread of its own, whether it still answers messages.

#include "rig/Wait.h"

#include <algorithm>
#include <atomic>
#include <thread>

// ms. A busy machine may let a window wait this long; one that waited for a device's answer, 2 s,
// would take longer.
inline constexpr DWORD LongestAnswer = 1500;

class Pinger {
public:
    explicit Pinger(HWND window)
        : m_Thread([this, window] {
              while (!m_Ends) {
                  const ULONGLONG start = GetTickCount64();
                  DWORD_PTR answer = 0;
                  SendMessageTimeoutA(window, WM_NULL, 0, 0, SMTO_NORMAL, 10000, &answer);
                  m_Slowest = std::max<DWORD>(m_Slowest, Since(start));
                  Sleep(20);
              }
              m_Ended = true;
          }) {}
    // On the window's thread, which has to let the last question in.
    ~Pinger() {
        m_Ends = true;
        WaitUntil([this] { return m_Ended.load(); });
        m_Thread.join();
    }
    Pinger(const Pinger&) = delete;
    Pinger& operator=(const Pinger&) = delete;

    // The longest wait for an answer so far, in ms.
    DWORD Slowest() const { return m_Slowest; }

private:
    static DWORD Since(ULONGLONG start) { return static_cast<DWORD>(GetTickCount64() - start); }

    std::atomic<bool> m_Ends{false};
    std::atomic<bool> m_Ended{false};
    std::atomic<DWORD> m_Slowest{0};
    std::thread m_Thread;
};
