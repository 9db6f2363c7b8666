#include "DeviceServer.h"

#include <algorithm>
#include <array>

namespace sim {

namespace {

DWORD TimeUntil(Millis due, Millis now) {
    if (due == Never)
        return INFINITE;
    const Millis wait = due > now ? due - now : 0;
    return static_cast<DWORD>(std::min<Millis>(wait, INFINITE - 1));
}

bool SendDue(ZorbelDevice& device, SerialPort& port, Millis now, WireTap* tap) {
    const std::size_t count = device.Take(now, port.WriteBuffer(), SerialPort::WriteRoom);
    if (count == 0)
        return true;
    if (tap != nullptr) {
        tap->sent.append(reinterpret_cast<const char*>(port.WriteBuffer()), count);
        tap->chunks.push_back({now, true, count});
    }
    return port.StartWrite(count);
}

bool ReceiveReady(ZorbelDevice& device, SerialPort& port, WireTap* tap) {
    std::array<std::uint8_t, 4096> received = {};
    std::size_t count = 0;
    if (!port.FinishRead(received.data(), received.size(), count))
        return false;
    const Millis now = CounterMillis();
    if (tap != nullptr) {
        tap->received.append(reinterpret_cast<const char*>(received.data()), count);
        tap->chunks.push_back({now, false, count});
    }
    device.Receive(received.data(), count, now);
    return true;
}

} // namespace

Millis CounterMillis() {
    LARGE_INTEGER frequency = {};
    LARGE_INTEGER counter = {};
    QueryPerformanceFrequency(&frequency);
    QueryPerformanceCounter(&counter);
    const auto ticks = static_cast<Millis>(counter.QuadPart);
    const auto perSecond = static_cast<Millis>(frequency.QuadPart);
    return ticks / perSecond * 1000 + ticks % perSecond * 1000 / perSecond;
}

bool Serve(ZorbelDevice& device, SerialPort& port, HANDLE stopEvent, WireTap* tap) {
    const std::array<HANDLE, 3> events = {stopEvent, port.ReadEvent(), port.WriteEvent()};
    device.SwitchOn(CounterMillis());
    for (;;) {
        const Millis now = CounterMillis();
        if (!port.Writing() && !SendDue(device, port, now, tap))
            return false;
        const DWORD timeout = port.Writing() ? INFINITE : TimeUntil(device.NextDue(), now);
        const DWORD signaled = WaitForMultipleObjects(static_cast<DWORD>(events.size()),
                                                      events.data(), FALSE, timeout);
        if (signaled == WAIT_OBJECT_0)
            return true;
        if (signaled == WAIT_OBJECT_0 + 1 && !ReceiveReady(device, port, tap))
            return false;
        if (signaled == WAIT_OBJECT_0 + 2 && !port.FinishWrite())
            return false;
    }
}

} // namespace sim
