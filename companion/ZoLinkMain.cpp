// ZoLink.exe: the link for scripts and shells. Reads the command line and runs its command; the
// library that reads it throws, so this file may catch.

#include "companion/Commands.h"
#include "companion/Texts.h"
#include "link/SystemCodePage.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "version.h"

namespace {

HANDLE Canceled = nullptr;

// The first Ctrl+C cancels in good order; the second ends the program.
BOOL WINAPI OnControl(DWORD) {
    const bool again = WaitForSingleObject(Canceled, 0) == WAIT_OBJECT_0;
    SetEvent(Canceled);
    return again ? FALSE : TRUE;
}

// In UTF-8, the last one first, as the library takes them. "/?" asks for help as elsewhere here.
std::vector<std::string> Arguments() {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** const list = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i)
        arguments.push_back(std::wstring_view(list[i]) == L"/?" ? "--help" : Utf8Of(list[i]));
    LocalFree(list);
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

// n of "COMn" in any letter case, or of "n"; throws for anything else.
std::int32_t PortNumber(const std::string& name) {
    const bool named = name.size() > 3 && _strnicmp(name.c_str(), "COM", 3) == 0;
    const std::string digits = named ? name.substr(3) : name;
    if (digits.empty() || digits.size() > 4 ||
        digits.find_first_not_of("0123456789") != std::string::npos || std::stoi(digits) == 0)
        throw CLI::ValidationError("--port", "is a name such as COM3, not " + name);
    return std::stoi(digits);
}

struct Parser {
    CLI::App app{"ZoLink talks to a Zorbel handheld on a COM port: command lines, files, images.",
                 "ZoLink"};
    LinkOptions options;
    std::string port;

    Parser();
    void AddCommands();
    CLI::App* Add(LinkCommand command, const char* name, const char* what);
    void AddFile(CLI::App* command, const char* what);
};

Parser::Parser() {
    app.require_subcommand(1);
    app.fallthrough();
    app.set_version_flag("--version", "ZoLink " ZO_VERSION_TEXT, "shows the version");
    constexpr auto last = CLI::MultiOptionPolicy::TakeLast; // an alias may give a first one
    app.add_option("--port", port, "the port, COM1 to COM9999")
        ->envname("ZO_PORT")
        ->multi_option_policy(last);
    app.add_option("--baud", options.baud, "the speed in bits per second")
        ->envname("ZO_BAUD")
        ->multi_option_policy(last)
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
    app.add_flag("--json", options.json, "one JSON object a line on standard output");
    app.add_flag("--quiet", options.quiet, "errors only");
    AddCommands();
}

CLI::App* Parser::Add(LinkCommand command, const char* name, const char* what) {
    CLI::App* const added = app.add_subcommand(name, what);
    added->callback([this, command] { options.command = command; });
    return added;
}

void Parser::AddFile(CLI::App* command, const char* what) {
    command->add_option("FILE", options.file, what)->required();
}

void Parser::AddCommands() {
    Add(LinkCommand::Ports, "ports", "lists the ports that exist");
    CLI::App* const run = Add(LinkCommand::Run, "run", "sends lines, each after an answer");
    run->add_option("LINE", options.lines, "the lines")->required();
    CLI::App* const macro = Add(LinkCommand::Macro, "macro", "sends the lines of a macro");
    AddFile(macro, "a file of macros");
    macro->add_option("SECTION", options.section, "the macro's name")->required();
    CLI::App* const send = Add(LinkCommand::Send, "send", "sends files");
    send->add_option("FILE", options.files, "the files")->required();
    send->add_option("--as", options.as, "the name on the device, for a single file");
    CLI::App* const image = Add(LinkCommand::Image, "image", "sends the screen image");
    AddFile(image, "the image");
    image->add_option("--block-size", options.blockSize, "bytes of a block")
        ->check(CLI::Range(1, 65535))
        ->capture_default_str();
    CLI::App* const receive = Add(LinkCommand::Receive, "receive", "fetches a file");
    receive->add_option("NAME", options.name, "the file on the device")->required();
    receive->add_option("--to", options.to, "the local file; else one of that name, here");
    CLI::App* const boot = Add(LinkCommand::Boot, "boot", "loads a system image at a restart");
    AddFile(boot, "the image");
    boot->add_flag("--reboot", options.reboot, "asks the device to restart");
    CLI::App* const listen = Add(LinkCommand::Listen, "listen", "shows the device's text");
    listen->add_option("--for", options.seconds, "ends after so many seconds")
        ->check(CLI::PositiveNumber);
    listen->add_option("--until", options.until, "ends when this text has come");
    listen->add_option("--log", options.log, "a file to which the text is appended");
    listen->add_flag("--timestamps", options.timestamps, "the time before each line");

    for (CLI::App* const lines : {run, macro})
        lines->add_option("--wait", options.wait, "seconds of silence that end it")
            ->check(CLI::NonNegativeNumber)
            ->capture_default_str();
    for (CLI::App* const many : {run, macro, send})
        many->add_flag("--keep-going", options.keepsGoing, "a failure does not end the rest");
    for (CLI::App* const there : {send, receive})
        there->add_option("--folder", options.folder, "the folder on the device")
            ->capture_default_str();
    for (CLI::App* const files : {send, image, receive})
        files->add_flag("--eager", options.eager, "no pauses between blocks");
}

// True when there is a command to carry out; else `code` is the exit code.
bool Parse(Parser& parser, int& code) {
    try {
        parser.app.parse(Arguments());
        if (parser.options.command != LinkCommand::Ports)
            parser.options.port =
                PortNumber(parser.port.empty() ? throw CLI::RequiredError("--port (or ZO_PORT)")
                                               : parser.port);
        return true;
    } catch (const CLI::CallForHelp&) {
        std::fputs(parser.app.help().c_str(), stdout);
        code = ExitDone;
    } catch (const CLI::CallForVersion& version) {
        std::printf("%s\n", version.what());
        code = ExitDone;
    } catch (const CLI::CallForAllHelp&) {
        std::fputs(parser.app.help("", CLI::AppFormatMode::All).c_str(), stdout);
        code = ExitDone;
    } catch (const CLI::ParseError& error) {
        std::fprintf(stderr, "ZoLink: %s\n", error.what());
        code = ExitUsage;
    }
    return false;
}

int Start() {
    int code = ExitDone;
    Parser parser;
    if (!Parse(parser, code))
        return code;
    Canceled = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    SetConsoleCtrlHandler(&OnControl, TRUE);
    Report report(parser.options.json, parser.options.quiet, parser.options.timestamps);
    return RunCommand(parser.options, report, Canceled);
}

} // namespace

int main() {
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
    SetErrorMode(SEM_FAILCRITICALERRORS);
    UseSystemCodePage();
    _setmode(_fileno(stdout), _O_BINARY); // the device's bytes as they are
    try {
        return Start();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ZoLink: %s\n", error.what());
    }
    return ExitUsage;
}
