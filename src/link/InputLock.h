#pragma once

#include "link/ComPort.h"

// Holds a critical section for a scope.
class SectionLock {
public:
    explicit SectionLock(CRITICAL_SECTION& section) : m_Section(section) {
        EnterCriticalSection(&m_Section);
    }
    ~SectionLock() { LeaveCriticalSection(&m_Section); }
    SectionLock(const SectionLock&) = delete;
    SectionLock& operator=(const SectionLock&) = delete;

private:
    CRITICAL_SECTION& m_Section;
};

// Holds a port's input lock for a scope and gives the buffer that it guards.
class ComPort::InputLock {
public:
    explicit InputLock(ComPort& port) : m_Port(port), m_Lock(port.m_InLock) {}

    InputBuffer Buffer() const { return {m_Port.m_InBuffer, m_Port.m_InSize, m_Port.m_InCount}; }

private:
    ComPort& m_Port;
    SectionLock m_Lock;
};
