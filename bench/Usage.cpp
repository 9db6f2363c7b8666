#include "bench/Usage.h"

#include <psapi.h>

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

constexpr std::size_t LongestComm = 15; // characters of a program's name that the system keeps

std::string ProcFolder(const std::string& program) {
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA("Z:\\proc\\*", &entry);
    if (search == INVALID_HANDLE_VALUE)
        return {};
    int youngest = 0;
    do {
        const int id = std::atoi(entry.cFileName);
        const std::string name = std::string("Z:\\proc\\") + entry.cFileName + "\\comm";
        if (id > youngest && Contents(name) == program.substr(0, LongestComm) + "\n")
            youngest = id;
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    return youngest ? "Z:\\proc\\" + std::to_string(youngest) + "\\" : std::string();
}

double Seconds(const FILETIME& time) {
    return static_cast<double>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) |
                               time.dwLowDateTime) /
           1e7;
}

// Of the threads that live, to the nanosecond: the times of /proc/PID/stat are sampled by the
// clock and much too coarse for an idle program.
double ProcCpuSeconds(const std::string& folder) {
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA((folder + "task\\*").c_str(), &entry);
    if (search == INVALID_HANDLE_VALUE)
        return 0;
    double nanoseconds = 0;
    do
        nanoseconds +=
            std::atof(Contents(folder + "task\\" + entry.cFileName + "\\schedstat").c_str());
    while (FindNextFileA(search, &entry));
    FindClose(search);
    return nanoseconds / 1e9;
}

double ProcPrivateBytes(const std::string& folder) {
    std::istringstream lines(Contents(folder + "smaps_rollup"));
    double total = 0;
    for (std::string line; std::getline(lines, line);)
        if (line.rfind("Private_", 0) == 0)
            total += 1024 * std::atof(line.c_str() + line.find(':') + 1);
    return total;
}

} // namespace

double Seconds() {
    LARGE_INTEGER now;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

Usage::Usage(HANDLE process, const std::string& fileName)
    : m_Process(process), m_Proc(ProcFolder(fileName)) {}

double Usage::CpuSeconds() const {
    if (!m_Proc.empty())
        return ProcCpuSeconds(m_Proc);
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(m_Process, &created, &ended, &kernel, &user);
    return Seconds(kernel) + Seconds(user);
}

double Usage::PrivateBytes() const {
    if (!m_Proc.empty())
        return ProcPrivateBytes(m_Proc);
    PROCESS_MEMORY_COUNTERS memory = {};
    GetProcessMemoryInfo(m_Process, &memory, sizeof(memory));
    return static_cast<double>(memory.PagefileUsage);
}
