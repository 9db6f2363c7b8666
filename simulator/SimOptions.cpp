#include "SimOptions.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <limits>
#include <string_view>
#include <utility>

#include "Words.h"
#include "ZorbelDevice.h"
#include "version.h"

namespace sim {

namespace {

constexpr std::uint32_t LongestWait = 600000; // ms

struct NumberOption {
    const char* name;
    const char* unit;
    std::uint32_t SimOptions::*value;
    std::uint32_t low;
    std::uint32_t high;
    const char* meaning;
    const char* whenLeftOut; // null: the number that is there
};

struct PathOption {
    const char* name;
    const char* kind;
    std::filesystem::path SimOptions::*value;
    const char* meaning;
};

constexpr NumberOption NumberOptions[] = {
    {"--baud", "BPS", &SimOptions::baud, 50, 4000000, "the port's speed", nullptr},
    {"--pace", "BPS", &SimOptions::pace, 50, 20000000,
     "the speed that all output keeps to,\nten bits a byte", "none"},
    {"--text", "BYTES", &SimOptions::text, 1, ZorbelDevice::MostText,
     "generated text after the start banner", "none"},
    {"--start-delay", "MS", &SimOptions::startDelay, 0, LongestWait, "time to the start banner",
     nullptr},
    {"--reply-delay", "MS", &SimOptions::replyDelay, 15, LongestWait, "time to an answer", nullptr},
    {"--restart-pause", "MS", &SimOptions::restartPause, 0, LongestWait,
     "from the answer to \"reboot\" to the\nloader's banner", nullptr},
    {"--boot-wait", "MS", &SimOptions::bootWait, 0, LongestWait,
     "from the loader's banner to the start banner", nullptr},
    {"--by-number", "0|1", &SimOptions::byNumber, 0, 1, "1: asks for each block by its number",
     nullptr},
    {"--hostile", "SEED", &SimOptions::hostile, 1, std::numeric_limits<std::uint32_t>::max(),
     "says noise and absurdities between all else,\nwithout end, other ones for each seed", "none"},
};

constexpr PathOption PathOptions[] = {
    {"--files", "FOLDER", &SimOptions::files,
     "where the device's folders default, a, b and\nMP3 lie (default: no storage)"},
    {"--script", "FILE", &SimOptions::script, "the faults to play (default: none)"},
};

constexpr char Purpose[] =
    "ZorbelSim plays a Zorbel handheld on a COM port, the far end of a null modem: to\n"
    "try ZoConsole and the line without a device.\n";
constexpr char Ending[] =
    "It ends with Ctrl+C (exit code 0), or when the port cannot be opened or is gone\n"
    "(1). Exit code 2: options, the folder or the script cannot be used.\n"
    "docs/simulator says how to make a null modem, and what a script looks like.";

// Behind `prefix`, which is in capitals and may be left out, nothing but digits counts; the parser
// itself would take 010 for eight.
CLI::Validator Within(std::uint32_t low, std::uint32_t high, const std::string& prefix) {
    const auto check = [=](std::string& text) {
        std::string_view digits(text);
        const auto same = [](char mine, char given) {
            return mine == std::toupper(static_cast<unsigned char>(given));
        };
        if (digits.size() > prefix.size() &&
            std::equal(prefix.begin(), prefix.end(), digits.begin(), same))
            digits.remove_prefix(prefix.size());
        std::uint32_t value = 0;
        if (!ParseNumber(digits, low, high, value))
            return "needs " + prefix + std::to_string(low) + " to " + prefix +
                   std::to_string(high) + ", not " + Printable(text);
        text = std::to_string(value);
        return std::string();
    };
    return CLI::Validator(check, std::string());
}

void AddOptions(CLI::App& app, SimOptions& options) {
    app.set_help_flag("-h,-?,--help", "shows this; so does /?");
    app.set_version_flag("--version", "ZorbelSim " ZO_VERSION_TEXT, "shows the version");
    app.allow_windows_style_options();
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--port", options.port,
                   "the port to serve, COM1 to COM255\n(default: COM" +
                       std::to_string(options.port) + ")")
        ->type_name("PORT")
        ->transform(Within(1, 255, "COM"));
    for (const PathOption& option : PathOptions) {
        std::filesystem::path& value = options.*option.value;
        app.add_option_function<std::string>(
               option.name,
               [&value](const std::string& text) { value = std::filesystem::u8path(text); },
               option.meaning)
            ->type_name(option.kind);
    }
    for (const NumberOption& option : NumberOptions) {
        std::uint32_t& value = options.*option.value;
        const std::string range =
            std::to_string(option.low) + " to " + std::to_string(option.high) + ", default: ";
        app.add_option(option.name, value,
                       std::string(option.meaning) + "\n(" + range +
                           (option.whenLeftOut ? option.whenLeftOut : std::to_string(value)) + ")")
            ->type_name(option.unit)
            ->transform(Within(option.low, option.high, {}));
    }
}

} // namespace

std::string ParseOptions(const std::vector<std::string>& arguments, SimOptions& options,
                         std::string& help) {
    CLI::App app(Purpose, "ZorbelSim");
    SimOptions parsed;
    AddOptions(app, parsed);
    app.footer(Ending);
    app.get_formatter()->column_width(26);
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend()); // as it takes them
    try {
        app.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        help = app.help();
        return {};
    } catch (const CLI::CallForVersion& version) {
        help = version.what() + std::string("\n");
        return {};
    } catch (const CLI::ArgumentMismatch&) {
        return Printable(arguments.back()) + " needs a value"; // only the last one can lack it
    } catch (const CLI::ExtrasError&) {
        return "unknown option: " + Printable(app.remaining().front());
    } catch (const CLI::Error& error) {
        return error.what();
    }
    options = std::move(parsed);
    return {};
}

} // namespace sim
