#pragma once

// Drives dialogs of the test's own thread, which runs their message loops or has them run by
// theirs.

#include "rig/Wait.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

// While it exists, dialogs that come up are handled in their order: each has to have the
// title that is due and is given to its action. The test fails when one of them does not come.
class ModalScript {
public:
    using Action = std::function<void(HWND dialog)>;

    explicit ModalScript(std::vector<std::pair<std::string, Action>> steps)
        : m_Steps(std::move(steps)), m_Before(Current),
          m_Timer(SetTimer(nullptr, 0, 10, &OnTimer)) {
        Current = this;
    }
    ~ModalScript() {
        WaitUntil([this] { return Done() && !IsWindow(m_Dialog); }); // the last one closes, too
        KillTimer(nullptr, m_Timer);
        Current = m_Before;
        EXPECT_EQ(m_Done, m_Steps.size()) << "dialogs that did not come";
    }
    ModalScript(const ModalScript&) = delete;
    ModalScript& operator=(const ModalScript&) = delete;

    bool Done() const { return m_Done == m_Steps.size() && !m_Acts; }

private:
    static void CALLBACK OnTimer(HWND, UINT, UINT_PTR, DWORD) {
        if (Current)
            Current->Step();
    }

    // A dialog is handled once, and not again while its action runs.
    void Step() {
        if (Done() || m_Acts)
            return;
        const auto& [title, action] = m_Steps[m_Done];
        const HWND dialog = FindWindowA("#32770", title.c_str());
        if (!dialog || !IsWindowVisible(dialog) ||
            GetWindowThreadProcessId(dialog, nullptr) != GetCurrentThreadId())
            return;
        m_Dialog = dialog;
        m_Acts = true;
        ++m_Done;
        action(dialog);
        m_Acts = false;
    }

    static inline ModalScript* Current = nullptr;

    std::vector<std::pair<std::string, Action>> m_Steps;
    ModalScript* m_Before;
    UINT_PTR m_Timer;
    std::size_t m_Done = 0;
    bool m_Acts = false;
    HWND m_Dialog = nullptr; // the one that was handled last
};

// An action that presses a button.
inline ModalScript::Action Press(int button) {
    return
        [button](HWND dialog) { PostMessageA(dialog, WM_COMMAND, static_cast<WPARAM>(button), 0); };
}

// Types a name into an open or save dialog of either layout and presses its button.
inline ModalScript::Action Choose(const std::string& name) {
    return [name](HWND dialog) {
        constexpr int fields[] = {0x47C, 0x480}; // a combo box or an edit field
        for (const int field : fields)
            if (GetDlgItem(dialog, field))
                SetDlgItemTextA(dialog, field, name.c_str());
        PostMessageA(dialog, WM_COMMAND, IDOK, 0);
    };
}
