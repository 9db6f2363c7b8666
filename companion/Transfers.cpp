#include "companion/Transfers.h"

#include "base/Owned.h"
#include "batch/DeviceName.h"
#include "companion/Session.h"
#include "companion/Texts.h"
#include "link/codec/BlockFrame.h"

namespace {

constexpr DWORD SettleTime = 500;     // ms that the device gets between two files
constexpr DWORD RestartTime = 3000;   // ms in which a restart must begin
constexpr DWORD LongestAnswer = 5000; // ms for lines that go before and after a transfer
constexpr char RestartBanner[] = "Preparing to load ZoOS";

constexpr char ProgramTalks[] = "\n\0pc on\n\0";
constexpr char PersonTalks[] = "\n\0pc off\n\0";

struct LocalFile {
    std::string shown; // as it was named
    std::string path;  // for the link
    std::string device;
};

bool CanRead(const std::string& path, DWORD& error) {
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    error = GetLastError();
    if (file == INVALID_HANDLE_VALUE)
        return false;
    CloseHandle(file);
    return true;
}

std::string LastPart(const std::string& path) {
    const std::size_t at = path.find_last_of("\\/");
    return at == std::string::npos ? path : path.substr(at + 1);
}

// Finds a file before the port is opened. `device`: its name there; empty: its own.
ExitCode FindFile(const std::string& name, const std::string& device, Report& report,
                  LocalFile& file) {
    DWORD error = ERROR_INVALID_NAME;
    file = {name, {}, device.empty() ? LastPart(name) : device};
    if (PathForLink(name, false, file.path) && CanRead(file.path, error))
        return ExitDone;
    report.Error(name + " cannot be read: " + SystemWords(error));
    return ExitFile;
}

// Names are checked first of all: a wrong one opens nothing.
bool NamesAreGood(const LinkOptions& options, Report& report) {
    if (!options.as.empty() && options.files.size() != 1) {
        report.Error("--as is for one file");
        return false;
    }
    for (const std::string& file : options.files) {
        const std::string name = options.as.empty() ? LastPart(file) : options.as;
        if (name.find('\\') == std::string::npos && ValidDeviceName(name.c_str()))
            continue;
        report.Error("the device takes no such name: " + name);
        return false;
    }
    return true;
}

// Restarts the device; a boot waits for it already. The banner may be its only answer.
ExitCode Restart(Session& session, Report& report) {
    std::string text;
    LineResult result;
    session.Overhear([&](std::string_view bytes) { text += bytes; });
    session.Port().QueueCommand("reboot", 0);
    session.WaitUntil([&] { return session.Port().TakeResult(&result); }, LongestAnswer);
    const bool restarts =
        result.accepted ||
        session.WaitUntil([&] { return text.find(RestartBanner) != std::string::npos; },
                          RestartTime);
    session.Overhear({});
    if (restarts)
        return ExitDone;
    session.Port().StopSend();
    session.AwaitTransfer([](const TransferInfo&) {});
    if (session.IsLost() || session.IsCanceled())
        return session.ReportLoss();
    report.Error(result.answered ? "the device refused: reboot" : "no answer to: reboot");
    return result.answered ? ExitRefused : ExitFailed;
}

// Starts and follows one send.
ExitCode Send(Session& session, Report& report, const LocalFile& file, const LinkOptions& options,
              SendMode mode) {
    const bool isFile = mode == SendModeFile;
    const std::string folder = AnsiOfUtf8(options.folder);
    const std::string device = AnsiOfUtf8(file.device);
    if (!session.Port().StartSend(isFile ? folder.c_str() : nullptr, file.path.c_str(),
                                  mode == SendModeBoot ? nullptr : device.c_str(), mode,
                                  options.blockSize)) {
        report.Error(file.shown + ": " + SystemWords(session.Port().LastError()));
        return ExitFile;
    }
    if (mode == SendModeBoot && options.reboot) {
        const ExitCode restarts = Restart(session, report);
        if (restarts != ExitDone)
            return restarts;
    }
    std::uint32_t requested = 0;
    const TransferInfo info = session.AwaitTransfer([&](const TransferInfo& news) {
        requested = news.Block;
        report.Progress(file.shown, news, news.Size);
    });
    const ExitCode code = session.Judge(info, file.shown);
    const bool good = code == ExitDone;
    report.Outcome({file.shown, "file",
                    good                  ? (mode == SendModeBoot ? "loaded" : "sent")
                    : code == ExitRefused ? "refused"
                                          : "failed",
                    good ? info.Size : info.Done, (good ? info.Block : requested) + 1,
                    info.Errors});
    return code;
}

// As ZoConsole does it: an empty line, and some time.
void Settle(Session& session) {
    session.Line("");
    session.WaitUntil([] { return false; }, SettleTime);
}

ExitCode OpenFor(Session& session, const LinkOptions& options) {
    const ExitCode code = session.Open(options.port, options.baud);
    session.Port().SetFast(options.eager);
    return code;
}

ExitCode SendOne(const LinkOptions& options, Report& report, HANDLE canceled, SendMode mode) {
    LocalFile file;
    ExitCode code = FindFile(options.file, {}, report, file);
    if (code != ExitDone)
        return code;
    Session session(report, canceled);
    code = OpenFor(session, options);
    if (code != ExitDone)
        return code;
    if (mode == SendModeBoot && !options.reboot)
        report.Note("waiting for the device to restart");
    return Send(session, report, file, options, mode);
}

} // namespace

ExitCode SendFiles(const LinkOptions& options, Report& report, HANDLE canceled) {
    if (!NamesAreGood(options, report))
        return ExitUsage;
    std::vector<LocalFile> files;
    ExitCode code = ExitDone;
    for (const std::string& name : options.files) {
        LocalFile file;
        const ExitCode found = FindFile(name, options.as, report, file);
        if (found == ExitDone)
            files.push_back(file);
        code = code == ExitDone ? found : code;
        if (found != ExitDone)
            report.Outcome({name, "file", "unreadable"});
    }
    if (files.empty() || (code != ExitDone && !options.keepsGoing))
        return code;
    Session session(report, canceled);
    const ExitCode opened = OpenFor(session, options);
    if (opened != ExitDone)
        return opened;
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (i > 0)
            Settle(session);
        const ExitCode sent = Send(session, report, files[i], options, SendModeFile);
        code = code == ExitDone ? sent : code;
        if (sent == ExitPort || sent == ExitCanceled || (sent != ExitDone && !options.keepsGoing))
            break;
    }
    return code;
}

// The device's console learns that a program talks to it, and at the end that none does.
ExitCode ReceiveFile(const LinkOptions& options, Report& report, HANDLE canceled) {
    const std::string to = options.to.empty() ? LastPart(options.name) : options.to;
    std::string path;
    if (!PathForLink(to, false, path)) {
        report.Error(to + " cannot be written: the name cannot be spelled");
        return ExitFile;
    }
    const bool replaces = GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
    Session session(report, canceled);
    const ExitCode opened = OpenFor(session, options);
    if (opened != ExitDone)
        return opened;
    const auto say = [&](const char* lines) {
        LineResult result;
        session.Port().QueueCommands(lines, 0);
        session.WaitUntil(
            [&] {
                while (session.Port().TakeResult(&result))
                    continue;
                return !session.Port().AwaitsResults();
            },
            LongestAnswer);
    };
    say(ProgramTalks);
    const std::string remote = AnsiOfUtf8("/" + options.folder + "/" + options.name);
    TransferInfo info = {};
    if (session.Port().StartReceive(path.c_str(), remote.c_str()))
        info = session.AwaitTransfer(
            [&](const TransferInfo& news) { report.Progress(options.name, news, 0); });
    else
        info.Status = session.Port().LastError();
    const ExitCode code = session.Judge(info, options.name);
    say(PersonTalks);
    if (code != ExitDone && !replaces) // the link leaves an empty one when the device refuses
        DeleteFileA(path.c_str());
    report.Outcome({options.name, "file",
                    code == ExitDone      ? "received"
                    : code == ExitRefused ? "refused"
                                          : "failed",
                    info.Done, info.Block, info.Errors});
    return code;
}

ExitCode SendImage(const LinkOptions& options, Report& report, HANDLE canceled) {
    return SendOne(options, report, canceled, SendModeImage);
}

ExitCode BootDevice(const LinkOptions& options, Report& report, HANDLE canceled) {
    return SendOne(options, report, canceled, SendModeBoot);
}
