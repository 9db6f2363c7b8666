#pragma once

#include "link/ComPort.h"

// Holds a port's input lock for a scope and gives the buffer that it guards.
class InputLock {
public:
    explicit InputLock(ComPort& port) : m_Port(port) { EnterCriticalSection(&m_Port.m_InLock); }
    ~InputLock() { LeaveCriticalSection(&m_Port.m_InLock); }
    InputLock(const InputLock&) = delete;
    InputLock& operator=(const InputLock&) = delete;

    InputBuffer Buffer() const { return {m_Port.m_InBuffer, m_Port.m_InSize, m_Port.m_InCount}; }

private:
    ComPort& m_Port;
};
