#include "bench/Usage.h"

#include <psapi.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace {

constexpr std::size_t LongestComm = 15; // characters of a program's name that the system keeps
constexpr int FieldsToBegin = 20;       // of /proc/PID/stat, from the one after the name on
constexpr char RigVariable[] = "ZO_RIG_DIR";

// When a process began, in the system's ticks; 0: it has gone. Its name is in parentheses and
// may hold anything.
double BeginOf(const std::string& folder) {
    const std::string stat = Contents(folder + "stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 1));
    std::string field;
    for (int i = 0; i < FieldsToBegin; ++i)
        fields >> field;
    return std::atof(field.c_str());
}

// Other checkouts' programs may run as well: those of this one's rig have its folder in their
// environment.
bool IsOfThisRig(const std::string& folder) {
    const char* const rig = std::getenv(RigVariable);
    return rig && ('\0' + Contents(folder + "environ"))
                          .find(std::string(1, '\0') + RigVariable + '=' + rig + '\0') !=
                      std::string::npos;
}

std::string ProcFolder(const std::string& program) {
    WIN32_FIND_DATAA entry;
    const HANDLE search = FindFirstFileA("Z:\\proc\\*", &entry);
    if (search == INVALID_HANDLE_VALUE)
        return {};
    double youngest = 0;
    std::string found;
    do {
        const std::string folder = std::string("Z:\\proc\\") + entry.cFileName + "\\";
        if (Contents(folder + "comm") != program.substr(0, LongestComm) + "\n" ||
            !IsOfThisRig(folder))
            continue;
        const double begin = BeginOf(folder);
        if (begin >= youngest)
            found = folder;
        youngest = std::max(youngest, begin);
    } while (FindNextFileA(search, &entry));
    FindClose(search);
    return found;
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
        if (entry.cFileName[0] != '.') // the folder above has its first thread's times, too
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

// A process that ends meanwhile makes reading its files fail.
std::string Contents(const std::string& path) {
    std::string contents;
    std::FILE* const file = std::fopen(path.c_str(), "rb");
    if (!file)
        return contents;
    char part[65536];
    for (std::size_t size = 0; (size = std::fread(part, 1, sizeof(part), file)) > 0;)
        contents.append(part, size);
    std::fclose(file);
    return contents;
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
