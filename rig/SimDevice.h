#pragma once

// The simulated device at the null modem's far end, on a thread of the test's own process.

#include "base/Owned.h"
#include "simulator/DeviceServer.h"

#include <string>
#include <thread>

class SimDevice {
public:
    // `port` is a name like "COM101"; `files` the folder of its storage. The test fails when the
    // port cannot be opened or the script is wrong.
    SimDevice(const std::string& port, const std::string& files, const std::string& script = {},
              const sim::DeviceSetup& setup = {}, bool taps = true);
    ~SimDevice() { Stop(); }
    SimDevice(const SimDevice&) = delete;
    SimDevice& operator=(const SimDevice&) = delete;

    // Switches it off. What went over the line, if it was tapped, may be looked at from then on.
    void Stop();
    const sim::WireTap& Tap() const { return m_Tap; }

private:
    sim::ZorbelDevice m_Device;
    sim::SerialPort m_Port;
    sim::WireTap m_Tap;
    OwnedHandle m_Stop;
    std::thread m_Thread;
};
