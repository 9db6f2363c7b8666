#pragma once

// A terminal program at work, as the measures see it from outside.

#include "bench/Usage.h"
#include "rig/Process.h"

#include <memory>
#include <string>

// Where the first terminal keeps its settings.
constexpr char ConsoleKey[] = "Software\\Zorbel\\ZoConsole\\Instance0";

// The built program, with quotes, as a command line.
std::string ConsoleCommand();

// The next program opens the null modem's near end at this speed.
void PlantPort(DWORD baud);

// Started by its command line, with its window up and answering. It closes when this ends.
class Console {
public:
    explicit Console(const std::string& commandLine = ConsoleCommand());
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    double CpuSeconds() const { return m_Usage.CpuSeconds(); }
    double PrivateBytes() const { return m_Usage.PrivateBytes(); }

    // What it uses while nothing is asked of it, in percent of one core.
    double IdlePercent(double seconds) const;

    HWND window = nullptr; // null: it has shown none
    double shownAfter = 0; // seconds from its start to the first painted window

private:
    std::unique_ptr<Process> m_Program;
    Usage m_Usage;
};
