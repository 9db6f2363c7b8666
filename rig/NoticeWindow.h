#pragma once

// A port that is freed with its test, and a window that counts what it posts.

#include "link/ComPort.h"
#include "rig/Wait.h"

#include <map>
#include <memory>

struct PortCloser {
    void operator()(ComPort* port) const { DestroyComPort(port); }
};
using OwnedPort = std::unique_ptr<ComPort, PortCloser>;

class NoticeWindow {
public:
    static constexpr UINT Message = WM_APP;

    NoticeWindow()
        : m_Window(CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr,
                                   nullptr)) {
        SetWindowLongPtrA(m_Window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
        SetWindowLongPtrA(m_Window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure));
    }
    ~NoticeWindow() { DestroyWindow(m_Window); }
    NoticeWindow(const NoticeWindow&) = delete;
    NoticeWindow& operator=(const NoticeWindow&) = delete;

    HWND Handle() const { return m_Window; }

    // How many notices of a kind have come since the last call.
    int Take(NotifyKind kind) {
        PumpMessages();
        const int count = m_Counts[kind];
        m_Counts[kind] = 0;
        return count;
    }

    // lParam of the last notice of a kind.
    std::uint64_t Last(NotifyKind kind) { return m_Last[kind]; }

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        auto* self = reinterpret_cast<NoticeWindow*>(GetWindowLongPtrA(window, GWLP_USERDATA));
        if (message == Message) {
            ++self->m_Counts[wParam];
            self->m_Last[wParam] = static_cast<std::uint64_t>(lParam);
        }
        return DefWindowProcA(window, message, wParam, lParam);
    }

    HWND m_Window;
    std::map<WPARAM, int> m_Counts;
    std::map<WPARAM, std::uint64_t> m_Last;
};
