#pragma once

// What a terminal does, and the state of its file operation.

#include <windows.h>

#include <cstdint>

struct Conversion;

// What a terminal does. Check it before you begin or change something.
enum class Activity {
    Idle,
    Opening,    // a driver takes its time to open the port
    Converting, // the first file of a batch goes through a converter
    Sending,
    Receiving,
    Booting,
    Ending, // the operation is over; AfterOperation is still to be done
};

// The running file operation, with its dialog.
struct FileOperationState {
    HWND m_ProgressDialog = nullptr; // none: none runs
    HWND m_RenameDialog = nullptr;
    Conversion* m_Conversion = nullptr; // the converter at work
    std::uint32_t m_Transfer = 0;       // the number of the transfer that is awaited
    std::uint32_t m_AwaitedLine = 0;    // the tag of the line whose answer is awaited
    DWORD m_Failure = 0;                // Win32 error of the first file that failed
    std::uint64_t m_ClockStart = 0;     // GetTickCount64 of the first progress; 0: none yet
    std::uint64_t m_ClockBytes = 0;     // bytes transferred by then
    bool m_ClipPlays = false;
    bool m_Begun = false;     // a first transfer has been started
    bool m_Converted = false; // the batch is one converted file
    bool m_PortLost = false;  // the port has gone meanwhile
    bool m_WantsName = false; // the user is to be asked for the current file's name
};

// What follows an operation.
struct AfterOperation {
    bool summary = false;      // to be shown
    bool shown = false;        // it has been opened
    bool complete = false;     // the batch reached the end of its list
    bool converted = false;    // it was one converted file
    bool consoleWaits = false; // a receive did not start; the device gets "pc off" later
};
