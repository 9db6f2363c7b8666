#pragma once

// Replaces a function of the system's by one of the test's, for calls from this process's own code.
// STAND_IN makes the name known:
//
//     STAND_IN(WriteFile);
//     const StandIn disk(__imp_WriteFile, &FullDisk);

#include <windows.h>

#include <utility>

#define STAND_IN(function) extern "C" decltype(&(function)) __imp_##function

template <typename Function> class StandIn {
public:
    StandIn(Function& import, Function standIn) : m_Import(import) { Set(standIn); }
    ~StandIn() { Set(m_System); }
    StandIn(const StandIn&) = delete;
    StandIn& operator=(const StandIn&) = delete;

    Function System() const { return m_System; }

private:
    void Set(Function function) {
        DWORD access = 0;
        VirtualProtect(&m_Import, sizeof(m_Import), PAGE_READWRITE, &access);
        m_Import = function;
    }

    Function& m_Import;
    const Function m_System = m_Import;
};
