#pragma once

// A program of this build, run beside the test, and the real keyboard.

#include "base/Owned.h"

#include <string>
#include <vector>

// The path of a file in the build's folder: "ZoConsole.exe".
std::string BuildFile(const std::string& name);

class Process {
public:
    // The test fails when the program cannot start. `name` is in the build's folder.
    Process(const std::string& name, const std::string& arguments);
    explicit Process(const std::string& commandLine);
    ~Process(); // ends the program if it still runs

    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    // True when the program has ended within `limit` ms.
    bool Ended(DWORD limit);
    DWORD ExitCode() const;
    HANDLE Handle() const { return m_Handle.get(); }
    DWORD Id() const { return m_Id; }

private:
    OwnedHandle m_Handle;
    DWORD m_Id = 0;
};

// The visible top-level windows of a program.
std::vector<HWND> WindowsOf(const Process& program);

// Types a line and Enter into a window once it has the keyboard: through the X server where the
// rig runs, so that the keys take the way of a person's, else through the system's input queue.
// Returns before the keys have arrived.
void TypeLine(HWND window, const std::string& text);

// Presses Ctrl and a letter in the same way.
void PressControl(HWND window, char letter);
