#include "SimOptions.h"

#include <limits>
#include <string_view>

#include "Words.h"
#include "ZorbelDevice.h"

namespace sim {

namespace {

constexpr std::uint32_t LongestWait = 600000; // ms

struct NumberOption {
    std::string_view name;
    std::string_view prefix; // in front of the number
    std::uint32_t SimOptions::*value;
    std::uint32_t low;
    std::uint32_t high;
    std::string_view meaning;
};

struct TextOption {
    std::string_view name;
    std::wstring SimOptions::*value;
    std::string_view meaning;
};

constexpr NumberOption NumberOptions[] = {
    {"--port", "COM", &SimOptions::port, 1, 255, "the port to serve"},
    {"--baud", "", &SimOptions::baud, 50, 4000000, "its speed"},
    {"--pace", "", &SimOptions::pace, 50, 20000000, "bits per second of all output, 10 a byte"},
    {"--text", "", &SimOptions::text, 1, ZorbelDevice::MostText,
     "bytes of generated text behind the start banner"},
    {"--start-delay", "", &SimOptions::startDelay, 0, LongestWait, "ms to the start banner"},
    {"--reply-delay", "", &SimOptions::replyDelay, 15, LongestWait, "ms to an answer"},
    {"--restart-pause", "", &SimOptions::restartPause, 0, LongestWait,
     "ms from the answer to \"reboot\" to the loader's banner"},
    {"--boot-wait", "", &SimOptions::bootWait, 0, LongestWait,
     "ms from the loader's banner to the start banner"},
    {"--by-number", "", &SimOptions::byNumber, 0, 1, "1: asks for each block by its number"},
    {"--hostile", "", &SimOptions::hostile, 1, std::numeric_limits<std::uint32_t>::max(),
     "seed of noise and absurdities that it says between all else, without end"},
};

constexpr TextOption TextOptions[] = {
    {"--files", &SimOptions::files, "folder with the device's folders default, a, b, MP3"},
    {"--script", &SimOptions::script, "file with the faults to play"},
};

// Characters outside ASCII, which no option's name and no number holds, become '?'.
std::string Narrow(std::wstring_view wide) {
    std::string text;
    for (const wchar_t character : wide) {
        const bool plain = character >= 0x20 && character < 0x7F;
        text.push_back(plain ? static_cast<char>(character) : '?');
    }
    return text;
}

bool ParseValue(const NumberOption& option, std::string_view text, SimOptions& options) {
    if (text.substr(0, option.prefix.size()) != option.prefix)
        return false;
    text.remove_prefix(option.prefix.size());
    return ParseNumber(text, option.low, option.high, options.*option.value);
}

template <typename Option, std::size_t Count>
const Option* FindOption(const Option (&table)[Count], std::string_view name) {
    for (const Option& option : table)
        if (option.name == name)
            return &option;
    return nullptr;
}

std::string Range(const NumberOption& option) {
    std::string range(option.prefix);
    range += std::to_string(option.low) + " to ";
    range.append(option.prefix);
    return range + std::to_string(option.high);
}

} // namespace

std::string SimUsage() {
    std::string usage = "usage: ZorbelSim [OPTION VALUE]...\n";
    for (const NumberOption& option : NumberOptions) {
        usage.append("  ").append(option.name).append(" VALUE   ");
        usage.append(option.meaning).append(" (").append(Range(option)).append(")\n");
    }
    for (const TextOption& option : TextOptions) {
        usage.append("  ").append(option.name).append(" PATH   ");
        usage.append(option.meaning).append("\n");
    }
    return usage + "Ends with Ctrl+C (exit code 0) or when the port is gone (1).\n";
}

std::string ParseOptions(const std::vector<std::wstring>& arguments, SimOptions& options) {
    SimOptions parsed;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string name = Narrow(arguments[i]);
        if (name == "--help") {
            parsed.help = true;
            continue;
        }
        const NumberOption* const number = FindOption(NumberOptions, name);
        const TextOption* const text = FindOption(TextOptions, name);
        if (number == nullptr && text == nullptr)
            return "unknown option: " + name;
        if (++i == arguments.size())
            return "no value: " + name;
        if (text != nullptr) {
            parsed.*text->value = arguments[i];
            continue;
        }
        if (!ParseValue(*number, Narrow(arguments[i]), parsed))
            return name + " wants " + Range(*number);
    }
    options = parsed;
    return {};
}

} // namespace sim
