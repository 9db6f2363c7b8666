#include "companion/Commands.h"

#include "base/Owned.h"
#include "companion/Session.h"
#include "companion/Texts.h"
#include "companion/Transfers.h"
#include "link/PortList.h"

#include <cstring>
#include <vector>

namespace {

constexpr std::size_t MostPorts = 256;
constexpr DWORD SectionRoom = 0x10000;

bool CanOpen(std::int32_t number) {
    const std::string path = "\\\\.\\COM" + std::to_string(number);
    const HANDLE port = CreateFileA(path.c_str(), 0, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (port == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(port);
    return true;
}

ExitCode ListPorts(Report& report) {
    std::vector<SerialPort> ports(MostPorts);
    ports.resize(ListSerialPorts(ports.data(), ports.size()));
    for (const SerialPort& port : ports)
        report.Port("COM" + std::to_string(port.number), Utf8Of(port.description),
                    CanOpen(port.number));
    return ExitDone;
}

ExitCode SendLine(Session& session, Report& report, const std::string& line) {
    const Session::Answer answer = session.Line(AnsiOfUtf8(line));
    if (answer == Session::Answer::Lost || answer == Session::Answer::Canceled)
        return session.ReportLoss();
    const bool accepted = answer == Session::Answer::Accepted;
    const bool refused = answer == Session::Answer::Refused;
    report.Outcome({line, "line", accepted ? "accepted" : refused ? "refused" : "no answer"});
    if (accepted)
        return ExitDone;
    report.Error((refused ? "the device refused: " : "no answer to: ") + line);
    return refused ? ExitRefused : ExitFailed;
}

ExitCode SendLines(const LinkOptions& options, const std::vector<std::string>& lines,
                   Report& report, HANDLE canceled) {
    Session session(report, canceled);
    ExitCode code = session.Open(options.port, options.baud);
    if (code != ExitDone)
        return code;
    for (const std::string& line : lines) {
        const ExitCode one = SendLine(session, report, line);
        code = code == ExitDone ? one : code;
        if (one == ExitPort || one == ExitCanceled || (one != ExitDone && !options.keepsGoing))
            break;
    }
    if (code != ExitPort && code != ExitCanceled)
        session.AwaitSilence(static_cast<DWORD>(options.wait * 1000));
    return code;
}

// A section without lines is the line that is its name.
ExitCode RunMacro(const LinkOptions& options, Report& report, HANDLE canceled) {
    const std::wstring path = [&] {
        wchar_t full[MAX_PATH];
        const DWORD length =
            GetFullPathNameW(WideOfUtf8(options.file).c_str(), MAX_PATH, full, nullptr);
        return std::wstring(full, length < MAX_PATH ? length : 0);
    }();
    if (path.empty() || GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES) {
        report.Error(options.file + " cannot be read: " + SystemWords(GetLastError()));
        return ExitFile;
    }
    const std::wstring section = WideOfUtf8(options.section);
    std::vector<wchar_t> names(SectionRoom);
    GetPrivateProfileSectionNamesW(names.data(), SectionRoom, path.c_str());
    bool exists = false;
    for (const wchar_t* name = names.data(); *name; name += std::wcslen(name) + 1)
        exists = exists || _wcsicmp(name, section.c_str()) == 0;
    if (!exists) {
        report.Error(options.file + " has no section " + options.section);
        return ExitFile;
    }
    std::vector<wchar_t> text(SectionRoom);
    GetPrivateProfileSectionW(section.c_str(), text.data(), SectionRoom, path.c_str());
    std::vector<std::string> lines;
    for (const wchar_t* line = text.data(); *line; line += std::wcslen(line) + 1)
        lines.push_back(Utf8Of(line));
    if (lines.empty())
        lines.push_back(options.section);
    return SendLines(options, lines, report, canceled);
}

// The log holds what was shown.
struct Log {
    OwnedHandle file;
    ExitCode Open(const std::string& path, Report& report) {
        if (path.empty())
            return ExitDone;
        const HANDLE handle =
            CreateFileW(WideOfUtf8(path).c_str(), FILE_APPEND_DATA, FILE_SHARE_READ, nullptr,
                        OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (handle == INVALID_HANDLE_VALUE) {
            report.Error(path + " cannot be written: " + SystemWords(GetLastError()));
            return ExitFile;
        }
        file.reset(handle);
        return ExitDone;
    }
    bool Write(std::string_view bytes) const {
        DWORD written = 0;
        return !file || (WriteFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()),
                                   &written, nullptr) &&
                         written == bytes.size());
    }
};

ExitCode Listen(const LinkOptions& options, Report& report, HANDLE canceled) {
    Log log;
    ExitCode code = log.Open(options.log, report);
    Session session(report, canceled);
    if (code == ExitDone)
        code = session.Open(options.port, options.baud);
    if (code != ExitDone)
        return code;
    const std::string until = AnsiOfUtf8(options.until);
    std::string tail; // of the text, in which the wanted one may begin
    bool found = false;
    bool logFails = false;
    session.Overhear([&](std::string_view bytes) {
        logFails = logFails || !log.Write(bytes);
        tail += bytes;
        found = found || (!until.empty() && tail.find(until) != std::string::npos);
        if (tail.size() > until.size())
            tail.erase(0, tail.size() - until.size());
    });
    const DWORD limit =
        options.seconds > 0 ? static_cast<DWORD>(options.seconds * 1000) : DWORD{INFINITE};
    const bool ended = session.WaitUntil([&] { return found || logFails; }, limit);
    if (logFails) {
        report.Error(options.log + " cannot be written");
        return ExitFile;
    }
    if (ended)
        return ExitDone;
    if (session.IsLost() || session.IsCanceled())
        return session.ReportLoss();
    if (until.empty())
        return ExitDone;
    report.Error("this text did not come: " + options.until);
    return ExitFailed;
}

} // namespace

ExitCode RunCommand(const LinkOptions& options, Report& report, HANDLE canceled) {
    switch (options.command) {
    case LinkCommand::Ports: return ListPorts(report);
    case LinkCommand::Run: return SendLines(options, options.lines, report, canceled);
    case LinkCommand::Macro: return RunMacro(options, report, canceled);
    case LinkCommand::Listen: return Listen(options, report, canceled);
    case LinkCommand::Send: return SendFiles(options, report, canceled);
    case LinkCommand::Image: return SendImage(options, report, canceled);
    case LinkCommand::Receive: return ReceiveFile(options, report, canceled);
    case LinkCommand::Boot: return BootDevice(options, report, canceled);
    case LinkCommand::None: break;
    }
    return ExitUsage;
}
