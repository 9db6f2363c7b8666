// ZorbelSim.exe: serves the simulated device on a COM port. Exit code 0 after Ctrl+C, 1 when the
// port is not there or goes away, 2 for a command line, a folder or a script that cannot be used.

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
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

std::string ToUtf8(std::wstring_view wide) {
    const auto length = static_cast<int>(wide.size());
    const int size =
        WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, wide.data(), length, text.data(), size, nullptr, nullptr);
    return text;
}

std::wstring FromUtf8(std::string_view text) {
    const auto length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
    std::wstring wide(static_cast<std::size_t>(size), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), size);
    return wide;
}

std::vector<std::string> Arguments() {
    int count = 0;
    wchar_t** const list = CommandLineToArgvW(GetCommandLineW(), &count);
    if (list == nullptr)
        return {};
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(ToUtf8(list[i]));
    LocalFree(list);
    return arguments;
}

void Complain(const std::wstring& text) {
    std::fputws((L"ZorbelSim: " + text + L"\n").c_str(), stderr);
}

// The system's words for an error, as the end of a sentence.
std::wstring Words(DWORD error) {
    wchar_t words[512];
    DWORD length = FormatMessageW(
        FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
        nullptr, error, 0, words, static_cast<DWORD>(std::size(words)), nullptr);
    while (length > 0 && (words[length - 1] == L' ' || words[length - 1] == L'.'))
        --length;
    return length == 0 ? L"error " + std::to_wstring(error) : std::wstring(words, length);
}

std::wstring WhyNotOpen(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND: return L"there is no such port";
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION: return L"it is used by another program";
    default: return Words(error);
    }
}

// Opens what is there, a folder with FILE_FLAG_BACKUP_SEMANTICS; says so when that does not work.
HANDLE OpenToRead(const std::filesystem::path& path, const wchar_t* what, DWORD flags) {
    const HANDLE file =
        CreateFileW(path.c_str(), FILE_READ_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                    OPEN_EXISTING, flags, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        const std::wstring reason = Words(GetLastError());
        Complain(what + path.wstring() + L" cannot be read: " + reason);
    }
    return file;
}

bool ReadScript(const std::filesystem::path& path, std::string& content) {
    const HANDLE file = OpenToRead(path, L"the script ", FILE_ATTRIBUTE_NORMAL);
    if (file == INVALID_HANDLE_VALUE)
        return false;
    content.resize(LongestScript);
    DWORD read = 0;
    std::wstring reason;
    if (!ReadFile(file, content.data(), LongestScript, &read, nullptr))
        reason = Words(GetLastError());
    else if (read == LongestScript)
        reason = L"it is too long";
    CloseHandle(file);
    content.resize(read);
    if (!reason.empty())
        Complain(L"the script " + path.wstring() + L" cannot be read: " + reason);
    return reason.empty();
}

bool LoadScript(const std::filesystem::path& path, sim::FaultScript& script) {
    if (path.empty())
        return true;
    std::string content;
    if (!ReadScript(path, content))
        return false;
    const std::vector<sim::ScriptError> errors = script.Parse(content);
    for (const sim::ScriptError& error : errors)
        Complain(path.wstring() + L", line " + std::to_wstring(error.line) + L": " +
                 FromUtf8(error.text));
    return errors.empty();
}

bool FindFiles(const std::filesystem::path& path, sim::DeviceFiles& files) {
    if (path.empty())
        return true;
    const HANDLE folder = OpenToRead(path, L"the folder ", FILE_FLAG_BACKUP_SEMANTICS);
    if (folder == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(folder);
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) {
        Complain(path.wstring() + L" is no folder");
        return false;
    }
    files = sim::DeviceFiles(path);
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
    const std::wstring name = L"COM" + std::to_wstring(options.port);
    if (!port.Open(options.port, options.baud)) {
        Complain(name + L" cannot be opened: " + WhyNotOpen(port.Error()));
        return ExitPortLost;
    }
    std::printf("ZorbelSim: serving COM%u\n", options.port);
    std::fflush(stdout);
    if (!sim::Serve(device, port, stopEvent)) {
        Complain(name + L" is gone: " + Words(port.Error()));
        return ExitPortLost;
    }
    return ExitStopped;
}

} // namespace

int main() {
    _setmode(_fileno(stderr), _O_U8TEXT); // names of files are shown as they are
    sim::SimOptions options;
    std::string help;
    const std::string error = sim::ParseOptions(Arguments(), options, help);
    if (!error.empty()) {
        std::fputws(L"usage: ZorbelSim [OPTION VALUE]...; --help says more\n", stderr);
        Complain(FromUtf8(error));
        return ExitUsage;
    }
    if (!help.empty()) {
        std::fputs(help.c_str(), stdout);
        return ExitStopped;
    }
    stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    endedEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&OnConsoleControl, TRUE);
    const int code = Run(options);
    SetEvent(endedEvent);
    return code;
}
