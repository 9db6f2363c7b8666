#pragma once

// What a process uses, of time and memory, and the clock.

#include <windows.h>

#include <string>

// Seconds since some moment.
double Seconds();

// A file's bytes; none when it cannot be read.
std::string Contents(const std::string& path);

// A running program, seen from outside. Wine reports the times and the memory of no process but the
// caller's, so there the figures come from the system below it: of this rig's youngest
// process of that file name, since ended ones may linger.
class Usage {
public:
    Usage() = default;
    Usage(HANDLE process, const std::string& fileName);

    double CpuSeconds() const;
    double PrivateBytes() const;

private:
    HANDLE m_Process = nullptr;
    std::string m_Proc; // the process's folder in /proc; empty on Windows
};
