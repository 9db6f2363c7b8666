#pragma once

// A device on a COM port, in real time.

#include <windows.h>

#include <string>

#include "Millis.h"
#include "SerialPort.h"
#include "ZorbelDevice.h"

namespace sim {

// What went over the line, as the device saw it.
struct WireTap {
    std::string received;
    std::string sent;
};

// Switches the device on and carries bytes between it and its open port until `stopEvent` is set.
// False: the port is gone. With a tap all bytes are kept.
bool Serve(ZorbelDevice& device, SerialPort& port, HANDLE stopEvent, WireTap* tap = nullptr);

} // namespace sim
