#pragma once

// Drives one terminal of this process from a thread of its own, as a user and other programs do.

#include "bench/faults/Plan.h"
#include "link/ComPort.h"
#include "rig/ComPeer.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

class ZoTerm;

// The terminal's state.
struct View {
    HWND window = nullptr; // null: there is none
    HWND progress = nullptr;
    bool idle = false;   // takes an operation
    bool awaits = false; // lines without a result
    std::int32_t port = 0;
    std::string status; // the status bar's text
};

// What the batch says of one file.
struct FileRecord {
    bool sent;
    std::string deviceName;
};

class Pilot {
public:
    Pilot(ComPair pair, std::uint16_t slot) : m_Pair(std::move(pair)), m_Slot(slot) {}

    const ComPair& Pair() const { return m_Pair; }
    std::uint16_t Slot() const { return m_Slot; }

    // False when the GUI thread does not answer any more.
    bool Look(View& view);

    // Opens the window and its port, if there is none. False when that does not work.
    bool Open();
    void OpenPort();

    // The settings of a plan. False when the terminal is gone.
    bool Configure(const Plan& plan);

    // Operations. True when the operation has begun.
    bool HandOver(const std::vector<std::string>& paths);
    bool Receive(const std::string& path);
    bool SendImage(const std::string& path);
    bool Boot(const std::string& path);

    // A command of the menus; returns when the terminal has it.
    void Command(WORD command, WORD notification = 0);
    // Enter in the command box; true when the line is on its way.
    void Type(const std::string& line);
    // Another program's way to send a line: true when the device has accepted it.
    bool Ask(const std::string& line);
    void Close();

    std::vector<FileRecord> Records();
    TransferInfo Transfer();
    std::string Text(); // the output pane's

private:
    ZoTerm* Terminal();
    bool OnTerminal(const std::function<void(ZoTerm&)>& function);
    HWND Window();

    ComPair m_Pair;
    std::uint16_t m_Slot;
    std::atomic<HWND> m_Window{nullptr}; // that it had last
};

// The visible dialogs of a window.
std::vector<HWND> DialogsOver(HWND owner);
