#pragma once

// Waiting on a condition with a deadline, while this thread's windows go on answering.

#include <windows.h>

inline constexpr DWORD Patience = 5000; // ms; only a failing test waits this long

inline void PumpMessages() {
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE)) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

// True as soon as the condition holds, false when it does not within `limit` ms.
template <typename Condition> bool WaitUntil(Condition condition, DWORD limit = Patience) {
    const ULONGLONG end = GetTickCount64() + limit;
    for (;;) {
        PumpMessages();
        if (condition())
            return true;
        if (GetTickCount64() >= end)
            return false;
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
    }
}
