#pragma once

// The serial ports that the system has.

#include <windows.h>

#include <cstddef>
#include <cstdint>

struct SerialPort {
    std::int32_t number = 0;      // n of COMn
    wchar_t description[96] = {}; // "USB Serial Port (FTDI)"; empty: the system knows none
};

// Any thread; takes some milliseconds. Writes the ports that exist, in the order of their numbers,
// and returns how many there are, at most `room`.
std::size_t ListSerialPorts(SerialPort* ports, std::size_t room);
