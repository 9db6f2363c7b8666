#include "rig/Rig.h"

#include "base/Owned.h"
#include "rig/Wait.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>

namespace {

// A file of the rig as Wine sees it; empty when there is no rig.
std::string RigFile(const std::string& name) {
    const char* folder = std::getenv("ZO_RIG_DIR");
    return folder ? "Z:" + std::string(folder) + "/" + name : std::string();
}

bool CanOpen(const std::string& port) {
    const HANDLE handle = CreateFileA(("\\\\.\\" + port).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    const BOOL answers = GetCommState(handle, &dcb); // Wine opens a port without a device too
    CloseHandle(handle);
    return answers != FALSE;
}

// What scripts/rig.sh records: 16-bit mono.
constexpr double SoundRate = 8000;  // samples a second
constexpr std::size_t Window = 800; // samples that are judged at a time

// The share of a tone in the power of some samples, 0 to 1; 0 of silence.
double ShareOf(double hertz, const std::int16_t* samples) {
    double power = 0;
    double sine = 0;
    double cosine = 0;
    for (std::size_t i = 0; i < Window; ++i) {
        const double turn = 2 * 3.14159265358979 * hertz * static_cast<double>(i) / SoundRate;
        power += samples[i] * samples[i];
        sine += samples[i] * std::sin(turn);
        cosine += samples[i] * std::cos(turn);
    }
    const bool silent = power < 100.0 * 100.0 * Window;
    return silent ? 0 : 2 * (sine * sine + cosine * cosine) / (power * Window);
}

} // namespace

std::optional<std::string> RecordedModemLines(const std::string& port) {
    const std::string path = RigFile("lines/of-" + port);
    if (path.empty())
        return std::nullopt;
    std::ifstream file(path);
    std::string lines = "no record";
    std::getline(file, lines);
    return lines;
}

bool CutCable(const std::string& port) {
    const std::string file = RigFile("cut-" + port);
    return !file.empty() && std::ofstream(file).good();
}

void RestoreCable(const std::string& port) {
    DeleteFileA(RigFile("cut-" + port).c_str());
    WaitUntil([&] { return CanOpen(port); });
}

Recording::Recording() {
    const std::string path = RigFile("sound.raw");
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    if (path.empty() || !file)
        return;
    m_File = path;
    m_At = static_cast<std::size_t>(file.tellg()) & ~std::size_t{1};
}

bool Recording::Hears(double hertz, unsigned long limit) {
    return WaitUntil(
        [&] {
            std::int16_t samples[Window];
            std::ifstream file(m_File, std::ios::binary);
            file.seekg(static_cast<std::streamoff>(m_At));
            while (file.read(reinterpret_cast<char*>(samples), sizeof(samples))) {
                m_At += sizeof(samples);
                if (ShareOf(hertz, samples) > 0.7)
                    return true;
            }
            return false;
        },
        limit);
}

std::optional<std::uint64_t> DeliveredBytes(const std::string& port) {
    const std::string path = RigFile("bytes-" + port);
    std::uint64_t count = 0;
    if (path.empty() || !(std::ifstream(path) >> count))
        return std::nullopt;
    return count;
}
