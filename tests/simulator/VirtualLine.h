#pragma once

// A device and a host that keeps the time: no test waits for a real clock.

#include "simulator/ZorbelDevice.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simtest {

struct Chunk {
    sim::Millis time;
    std::string bytes;
};

inline sim::FaultScript Script(std::string_view text) {
    sim::FaultScript script;
    for (const sim::ScriptError& error : script.Parse(text))
        ADD_FAILURE() << error.line << ": " << error.text;
    return script;
}

// A command line as the host sends it.
inline std::string Wire(const std::string& text) {
    const std::uint16_t sum = sim::LineSum(text.substr(0, text.find_last_not_of('\r') + 1));
    return text + '\n' + static_cast<char>(sum & 0xFF) + static_cast<char>(sum >> 8);
}

// A folder of a test's own for the device's files.
class Storage {
public:
    Storage()
        : root(std::filesystem::temp_directory_path() /
               (std::string("zorbel-") +
                testing::UnitTest::GetInstance()->current_test_info()->name())) {
        std::filesystem::remove_all(root);
        std::filesystem::create_directories(root);
    }
    ~Storage() { std::filesystem::remove_all(root); }
    Storage(const Storage&) = delete;
    Storage& operator=(const Storage&) = delete;

    const std::filesystem::path root;
};

class VirtualLine {
public:
    explicit VirtualLine(const sim::DeviceSetup& setup = {}, std::string_view script = {},
                         sim::DeviceFiles files = {})
        : device(setup, Script(script), std::move(files)) {
        device.SwitchOn(now);
    }

    void Send(std::string_view bytes) {
        device.Receive(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), now);
    }

    // Lets `ms` pass and returns what came meanwhile, each chunk at the time that the device named.
    std::vector<Chunk> Chunks(sim::Millis ms) {
        std::vector<Chunk> chunks;
        const sim::Millis end = now + ms;
        int idle = 0;
        while (device.NextDue() <= end) {
            now = std::max(now, device.NextDue());
            std::uint8_t buffer[512];
            const std::size_t count = device.Take(now, buffer, sizeof buffer);
            if (count != 0)
                chunks.push_back({now, std::string(buffer, buffer + count)});
            idle = count == 0 ? idle + 1 : 0;
            if (idle > 100) {
                ADD_FAILURE() << "the device wakes its caller for nothing at " << now;
                break;
            }
        }
        now = end;
        return chunks;
    }

    std::string Wait(sim::Millis ms) {
        std::string all;
        for (const Chunk& chunk : Chunks(ms))
            all += chunk.bytes;
        return all;
    }

    // Sends a command line and returns all that comes within a second.
    std::string Ask(const std::string& text) {
        Send(Wire(text));
        return Wait(1000);
    }

    sim::Millis now = 1000;
    sim::ZorbelDevice device;
};

} // namespace simtest
