#pragma once

// A device on a COM port, in real time.

#include <windows.h>

#include <string>
#include <vector>

#include "Millis.h"
#include "SerialPort.h"
#include "ZorbelDevice.h"

namespace sim {

// What went over the line, as the device saw it.
struct WireTap {
    struct Chunk {
        Millis time; // of the system's performance counter
        bool sent;
        std::size_t size;
    };

    std::string received;
    std::string sent;
    std::vector<Chunk> chunks; // of both, in their order
};

// The performance counter in ms, which is the device's clock.
Millis CounterMillis();

// Switches the device on and carries bytes between it and its open port until `stopEvent` is set.
// False: the port is gone. With a tap all bytes are kept.
bool Serve(ZorbelDevice& device, SerialPort& port, HANDLE stopEvent, WireTap* tap = nullptr);

} // namespace sim
