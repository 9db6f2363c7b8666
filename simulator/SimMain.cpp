// ZorbelSim.exe: serves the simulated device on a COM port. Exit code 0 after Ctrl+C, 1 when the
// port is not there or goes away, 2 for a command line or a script that cannot be used.

#include <windows.h>

#include <shellapi.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "DeviceServer.h"
#include "SerialPort.h"
#include "SimOptions.h"
#include "ZorbelDevice.h"

namespace {

enum ExitCode { ExitStopped = 0, ExitPortLost = 1, ExitUsage = 2 };

constexpr DWORD MostTimeToEnd = 3000; // ms that the system is held up when it ends the program
constexpr DWORD LongestScript = 1 << 20;

HANDLE stopEvent = nullptr;
HANDLE endedEvent = nullptr;

// Runs on a thread of the system.
BOOL WINAPI OnConsoleControl(DWORD control) {
    SetEvent(stopEvent);
    if (control != CTRL_C_EVENT && control != CTRL_BREAK_EVENT)
        WaitForSingleObject(endedEvent, MostTimeToEnd); // afterwards the process is gone
    return TRUE;
}

std::vector<std::wstring> Arguments() {
    int count = 0;
    wchar_t** const list = CommandLineToArgvW(GetCommandLineW(), &count);
    if (list == nullptr)
        return {};
    std::vector<std::wstring> arguments;
    for (int i = 1; i < count; ++i)
        arguments.emplace_back(list[i]);
    LocalFree(list);
    return arguments;
}

int ReportPort(std::uint32_t number, const char* what, DWORD error) {
    std::fprintf(stderr, "ZorbelSim: COM%u %s (error %lu)\n", number, what, error);
    return ExitPortLost;
}

bool ReadWholeFile(const std::wstring& path, std::string& content) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    content.resize(LongestScript);
    DWORD read = 0;
    const bool good = ReadFile(file, content.data(), LongestScript, &read, nullptr) != 0;
    CloseHandle(file);
    content.resize(read);
    return good;
}

bool LoadScript(const std::wstring& path, sim::FaultScript& script) {
    if (path.empty())
        return true;
    std::string content;
    if (!ReadWholeFile(path, content)) {
        std::fprintf(stderr, "ZorbelSim: cannot read the script (error %lu)\n", GetLastError());
        return false;
    }
    const std::vector<sim::ScriptError> errors = script.Parse(content);
    for (const sim::ScriptError& error : errors)
        std::fprintf(stderr, "ZorbelSim: script line %zu: %s\n", error.line, error.text.c_str());
    return errors.empty();
}

bool FindFiles(const std::wstring& folder, sim::DeviceFiles& files) {
    if (folder.empty())
        return true;
    std::error_code error;
    if (!std::filesystem::is_directory(folder, error)) {
        std::fprintf(stderr, "ZorbelSim: the value of --files is no folder\n");
        return false;
    }
    files = sim::DeviceFiles(folder);
    return true;
}

int Run(const sim::SimOptions& options) {
    sim::FaultScript script;
    sim::DeviceFiles files;
    if (!LoadScript(options.script, script) || !FindFiles(options.files, files))
        return ExitUsage;
    sim::DeviceSetup setup;
    setup.hostile = options.hostile;
    setup.pace = options.pace;
    if (setup.hostile != 0 && setup.pace == 0)
        setup.pace = options.baud;
    setup.replyDelay = options.replyDelay;
    setup.startDelay = options.startDelay;
    setup.restartPause = options.restartPause;
    setup.bootWait = options.bootWait;
    setup.asksByNumber = options.byNumber != 0;
    setup.startText = options.text;
    sim::ZorbelDevice device(setup, std::move(script), std::move(files));

    sim::SerialPort port;
    if (!port.Open(options.port, options.baud))
        return ReportPort(options.port, "cannot be opened", port.Error());
    std::printf("ZorbelSim: serving COM%u\n", options.port);
    std::fflush(stdout);
    if (!sim::Serve(device, port, stopEvent))
        return ReportPort(options.port, "is gone", port.Error());
    return ExitStopped;
}

} // namespace

int main() {
    sim::SimOptions options;
    const std::string error = sim::ParseOptions(Arguments(), options);
    if (!error.empty()) {
        std::fprintf(stderr, "ZorbelSim: %s\n%s", error.c_str(), sim::SimUsage().c_str());
        return ExitUsage;
    }
    if (options.help) {
        std::fputs(sim::SimUsage().c_str(), stdout);
        return ExitStopped;
    }
    stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    endedEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
    const int code = Run(options);
    SetEvent(endedEvent);
    return code;
}
