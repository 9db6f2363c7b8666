#pragma once

// A function of the test in the place of one of the system's, as far as this process's own code
// calls it. STAND_IN makes the name known:
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
