#include "FaultScript.h"

#include <algorithm>
#include <limits>

#include "Words.h"

namespace sim {

namespace {

constexpr std::uint32_t AnyNumber = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t LastCommandNumber = 1000000;
constexpr std::uint32_t EveryCommand = 0;

struct NumberRule {
    std::string_view name; // empty: there is no such number
    std::uint32_t low = 0;
    std::uint32_t high = 0;
};

struct FaultRule {
    std::string_view name;
    FaultKind kind;
    std::array<NumberRule, Fault::MaxNumbers> numbers;
};

constexpr NumberRule NoiseCount = {"COUNT", 1, 4096};
constexpr NumberRule NoiseSeed = {"SEED", 0, AnyNumber};
constexpr NumberRule Step = {"STEP", 0, 1000000};
constexpr NumberRule Times = {"TIMES", 1, 1000000};
constexpr NumberRule Rate = {"RATE", 1, 1000};

constexpr FaultRule FaultRules[] = {
    {"silent", FaultKind::Silent, {}},
    {"refuse", FaultKind::Refuse, {}},
    {"late", FaultKind::Late, {{{"MS", 15, 60000}}}},
    {"noise-before", FaultKind::NoiseBefore, {{NoiseCount, NoiseSeed}}},
    {"noise-after", FaultKind::NoiseAfter, {{NoiseCount, NoiseSeed}}},
    {"split", FaultKind::Split, {{{"SIZE", 1, 4096}, {"GAP", 1, 10000}}}},
    {"unanswered", FaultKind::Unanswered, {}},
    {"answer-twice", FaultKind::AnswerTwice, {}},
    {"early", FaultKind::Early, {}},
    {"mute", FaultKind::Mute, {{Step, Times}}},
    {"pause", FaultKind::Pause, {{Step, {"MS", 1, 60000}}}},
    {"nack", FaultKind::Nack, {{Step, Times}}},
    {"ask", FaultKind::Ask, {{Step, {"BLOCK", 0, AnyNumber}}}},
    {"cancel", FaultKind::Cancel, {{Step}}},
    {"can", FaultKind::Can, {{Step}}},
    {"done", FaultKind::Done, {{Step}}},
    {"bad-crc", FaultKind::BadCrc, {{Step, Times}}},
    {"wrong-block", FaultKind::WrongBlock, {{Step, Times}}},
    {"overlong", FaultKind::Overlong, {{Step, Times}}},
    {"noise", FaultKind::Noise, {{Step, NoiseCount}}},
    {"end", FaultKind::End, {{Step}}},
    {"twice", FaultKind::Twice, {{Step, Times}}},
    {"hasty", FaultKind::Hasty, {{Step, Times}}},
    {"text", FaultKind::Text, {{Step, NoiseCount}}},
    {"deaf", FaultKind::Deaf, {{Step, {"MS", 1, 60000}}}},
    {"restart", FaultKind::Restart, {{Step}}},
    {"lose", FaultKind::Lose, {{Rate, NoiseSeed}}},
    {"damage", FaultKind::Damage, {{Rate, NoiseSeed}}},
    {"repeat", FaultKind::Repeat, {{Rate, NoiseSeed}}},
    {"insert", FaultKind::Insert, {{Rate, NoiseSeed}}},
};

const FaultRule* FindRule(std::string_view name) {
    const auto* const rule = std::find_if(std::begin(FaultRules), std::end(FaultRules),
                                          [name](const FaultRule& r) { return r.name == name; });
    return rule == std::end(FaultRules) ? nullptr : rule;
}

// What a line with this fault has to look like.
std::string Wanted(const FaultRule& rule) {
    std::string text = "wanted: " + std::string(rule.name);
    for (const NumberRule& number : rule.numbers) {
        if (!number.name.empty()) {
            text += " " + std::string(number.name) + " (" + std::to_string(number.low) + " to " +
                    std::to_string(number.high) + ")";
        }
    }
    return text;
}

bool ParseNumbers(const FaultRule& rule, std::string_view rest, Fault& fault) {
    for (std::size_t i = 0; i < rule.numbers.size(); ++i) {
        const NumberRule& number = rule.numbers[i];
        if (number.name.empty())
            break;
        if (!ParseNumber(NextWord(rest), number.low, number.high, fault.numbers[i]))
            return false;
    }
    return rest.empty();
}

} // namespace

std::vector<ScriptError> FaultScript::Parse(std::string_view script) {
    m_Faults.clear();
    m_LastCommand = 0;
    std::vector<ScriptError> errors;
    for (std::size_t number = 1; !script.empty(); ++number) {
        std::string_view line = script.substr(0, script.find('\n'));
        script.remove_prefix(std::min(line.size() + 1, script.size()));
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        std::string error = ParseLine(line);
        if (!error.empty())
            errors.push_back({number, std::move(error)});
    }
    return errors;
}

const Fault* FaultScript::Find(FaultKind kind, std::uint32_t command) const {
    const Fault* every = nullptr;
    for (const Fault& fault : m_Faults) {
        if (fault.kind != kind)
            continue;
        if (fault.command == command)
            return &fault;
        if (fault.command == EveryCommand)
            every = &fault;
    }
    return every;
}

// Returns what is wrong with the line; an empty text when nothing is.
std::string FaultScript::ParseLine(std::string_view line) {
    const std::string_view when = NextWord(line);
    if (when.empty() || when.front() == '#')
        return {};
    Fault fault;
    std::string error = ParseWhen(when, fault.command);
    if (!error.empty())
        return error;
    const std::string_view name = NextWord(line);
    const FaultRule* const rule = FindRule(name);
    if (rule == nullptr)
        return "unknown fault: " + Printable(name);
    fault.kind = rule->kind;
    if (!ParseNumbers(*rule, line, fault))
        return Wanted(*rule);
    const Fault* const other = Find(fault.kind, fault.command);
    if (other != nullptr && other->command == fault.command)
        return "given twice for the same command: " + std::string(name);
    if (fault.command != EveryCommand)
        m_LastCommand = fault.command;
    m_Faults.push_back(fault);
    return {};
}

std::string FaultScript::ParseWhen(std::string_view word, std::uint32_t& command) const {
    if (word == "every") {
        command = EveryCommand;
        return {};
    }
    if (word == "next") {
        command = m_LastCommand + 1;
        return {};
    }
    if (!ParseNumber(word, 1, LastCommandNumber, command))
        return "not a command number, \"next\" or \"every\": " + Printable(word);
    return {};
}

} // namespace sim
