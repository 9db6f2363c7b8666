#pragma once

// How the cost of what the program does grows with its amount. Each measure prints a table of
// numbers, one line for each amount, for scripts/bench to draw.

#include "bench/Console.h"
#include "rig/ComPeer.h"

#include <windows.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

void MeasureTerminals();
void MeasureRates();
void MeasureFiles();
void MeasurePane();
void MeasureLog();
void MeasureList();

// Prints a line of the table. A figure below 0 is one that could not be taken, and one that is not
// to be shown is no number.
void PrintRow(const std::vector<double>& figures);

// Asks windows of another process, one after the other, whether they still answer.
class Prober {
public:
    explicit Prober(std::vector<HWND> windows);
    ~Prober();
    Prober(const Prober&) = delete;
    Prober& operator=(const Prober&) = delete;

    double SlowestMs() const { return m_Slowest; }

private:
    void Ask();

    std::vector<HWND> m_Windows;
    std::atomic<double> m_Slowest{0};
    std::atomic<bool> m_Ends{false};
    std::thread m_Thread;
};

// The visible terminals, of whichever process.
std::vector<HWND> Terminals();

// The output pane of a terminal, and the characters that it holds.
HWND PaneOf(HWND terminal);
std::size_t TextInPane(HWND terminal);

// Starts without stored settings but those of the first terminal's port.
void PlantFirst(DWORD baud);

// A file of that name in the system's folder for such; it is gone.
std::string TemporaryFile(const std::string& name);
