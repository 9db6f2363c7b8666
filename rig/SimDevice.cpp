#include "rig/SimDevice.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

sim::FaultScript ParsedScript(const std::string& text) {
    sim::FaultScript script;
    for (const sim::ScriptError& error : script.Parse(text))
        ADD_FAILURE() << "script line " << error.line << ": " << error.text;
    return script;
}

} // namespace

SimDevice::SimDevice(const std::string& port, const std::string& files, const std::string& script,
                     const sim::DeviceSetup& setup, bool taps)
    : m_Device(setup, ParsedScript(script), sim::DeviceFiles(files)),
      m_Stop(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {
    EXPECT_TRUE(m_Port.Open(static_cast<std::uint32_t>(std::atoi(port.c_str() + 3)), 115200))
        << port << ": error " << m_Port.Error();
    m_Thread = std::thread(
        [this, taps] { sim::Serve(m_Device, m_Port, m_Stop.get(), taps ? &m_Tap : nullptr); });
}

void SimDevice::Stop() {
    SetEvent(m_Stop.get());
    if (m_Thread.joinable())
        m_Thread.join();
}
