#include "bench/faults/Plan.h"

#include <algorithm>
#include <iterator>
#include <random>

namespace {

class Dice {
public:
    explicit Dice(std::uint32_t seed) : m_Random(seed) {}

    std::uint32_t Below(std::uint32_t end) { return static_cast<std::uint32_t>(m_Random() % end); }
    std::uint32_t From(std::uint32_t low, std::uint32_t high) {
        return low + Below(high - low + 1);
    }
    bool OneIn(std::uint32_t count) { return Below(count) == 0; }

private:
    std::mt19937 m_Random;
};

constexpr std::uint32_t Sizes[] = {0, 1, 511, 512, 513, 1024, 1500, 2600, 4096};

struct Number {
    std::uint32_t low;
    std::uint32_t high;
};

struct FaultChoice {
    const char* name;
    std::vector<Number> numbers;
    bool lies;
};

// Steps reach past the end of most files.
constexpr Number Step = {0, 9};
constexpr Number Times = {1, 3};
constexpr Number Seed = {0, 100000};
constexpr Number Rate = {1, 40};
constexpr Number Never = {1000000, 1000000};

const FaultChoice LineFaults[] = {
    {"silent", {}, false},
    {"refuse", {}, false},
    {"late", {{15, 3000}}, false},
    {"noise-before", {{1, 600}, Seed}, false},
    {"noise-after", {{1, 600}, Seed}, false},
    {"split", {{1, 30}, {1, 60}}, false},
    {"unanswered", {}, false},
    {"answer-twice", {}, false},
    {"early", {}, false},
};

const FaultChoice TransferFaults[] = {
    {"mute", {Step, Times}, false},
    {"mute", {Step, Never}, false},
    {"pause", {Step, {1, 6000}}, false},
    {"nack", {Step, {1, 4}}, false},
    {"ask", {Step, {0, 70000}}, false},
    {"cancel", {Step}, false},
    {"can", {Step}, false},
    {"done", {Step}, true},
    {"bad-crc", {Step, {1, 11}}, false},
    {"wrong-block", {Step, Times}, false},
    {"overlong", {Step, Times}, false},
    {"noise", {Step, {1, 900}}, false},
    {"end", {Step}, true},
    {"twice", {Step, Times}, false},
    {"hasty", {Step, Times}, true},
    {"text", {Step, {1, 700}}, false},
    {"deaf", {Step, {1, 4000}}, false},
    {"restart", {Step}, false},
    {"lose", {Rate, Seed}, true}, // a "nack" that loses its first letter is an "ack"
    {"damage", {Rate, Seed}, false},
    {"repeat", {Rate, Seed}, false},
    {"insert", {Rate, Seed}, false},
};

template <typename Row, std::size_t Count> const Row& Choose(Dice& dice, const Row (&rows)[Count]) {
    return rows[dice.Below(Count)];
}

// Each fault at most once: the script's parser requires it.
void DrawScript(Dice& dice, Plan& plan) {
    const bool line = plan.work == Work::Lines || plan.work == Work::Macro;
    std::vector<std::string> names;
    for (std::uint32_t left = dice.Below(4); left > 0; --left) {
        const bool ofLine = line || dice.OneIn(3);
        const FaultChoice& fault = ofLine ? Choose(dice, LineFaults) : Choose(dice, TransferFaults);
        if (std::find(names.begin(), names.end(), fault.name) != names.end())
            continue;
        names.emplace_back(fault.name);
        plan.script += dice.OneIn(2) ? "every" : std::to_string(dice.From(1, 4));
        plan.script += std::string(" ") + fault.name;
        for (const Number& number : fault.numbers)
            plan.script += " " + std::to_string(dice.From(number.low, number.high));
        plan.script += "\n";
        plan.lies = plan.lies || fault.lies;
    }
}

void DrawDevice(Dice& dice, Plan& plan) {
    plan.device.replyDelay = dice.OneIn(4) ? dice.From(15, 200) : 20;
    plan.device.pace = dice.OneIn(4) ? 115200 : 0;
    plan.device.asksByNumber = dice.OneIn(3);
    plan.device.restartPause = dice.From(20, 500);
    plan.device.bootWait = dice.From(500, 2000);
}

void DrawFiles(Dice& dice, Plan& plan) {
    const bool batch = plan.work == Work::Send;
    const std::uint32_t count = batch ? dice.From(1, 3) : 1;
    for (std::uint32_t i = 0; i < count; ++i) {
        const bool good = !batch || !dice.OneIn(4);
        std::string name = std::string(good ? "f" : "bad name ") + std::to_string(i) + ".bin";
        plan.files.push_back({std::move(name), Choose(dice, Sizes), good});
    }
}

void DrawDeeds(Dice& dice, Plan& plan) {
    static constexpr Deed deeds[] = {
        Deed::Cancel, Deed::Cancel, Deed::Cancel,       Deed::OtherList, Deed::OtherList,
        Deed::Line,   Deed::Line,   Deed::Stop,         Deed::Reboot,    Deed::Clear,
        Deed::Dialog, Deed::Rate,   Deed::OtherPort,    Deed::Unplug,    Deed::Unplug,
        Deed::Close,  Deed::Line,   Deed::UnplugDevice,
    };
    static constexpr std::uint32_t counts[] = {0, 0, 1, 1, 2, 4};
    for (std::uint32_t left = Choose(dice, counts); left > 0; --left)
        plan.deeds.push_back(
            {dice.Below(dice.OneIn(2) ? 600 : 4000), Choose(dice, deeds), dice.Below(1000)});
    std::stable_sort(
        plan.deeds.begin(), plan.deeds.end(),
        [](const PlannedDeed& one, const PlannedDeed& other) { return one.at < other.at; });
}

void DrawSettings(Dice& dice, Plan& plan) {
    plan.fast = dice.OneIn(3);
    plan.asksForNames = dice.OneIn(2);
    plan.showsSummary = dice.OneIn(2);
    plan.showsProgress = !dice.OneIn(3);
    plan.dropsOldest = dice.OneIn(2);
    plan.imageBlock = dice.OneIn(2) ? 264 : dice.From(1, 600);
    plan.replaces = dice.OneIn(2);
    plan.knowsNoFile = dice.OneIn(10);
    plan.patience = dice.OneIn(12) ? 45000 : dice.From(3000, 9000);
}

const char* NameOf(Work work) {
    static constexpr const char* names[] = {"send", "receive", "image", "boot", "lines", "macro"};
    return names[static_cast<std::size_t>(work)];
}

} // namespace

Plan DrawPlan(std::uint32_t seed) {
    static constexpr Work works[] = {Work::Send,    Work::Send,    Work::Send,
                                     Work::Receive, Work::Receive, Work::Image,
                                     Work::Boot,    Work::Lines,   Work::Macro};
    static constexpr const char* lines[] = {
        "echo one", "echo two", "ver",       "dir a",      "help",
        "",         "nothing",  "text 3000", "text 40000", "pc on",
    };
    Dice dice(seed);
    Plan plan;
    plan.seed = seed;
    plan.work = Choose(dice, works);
    DrawFiles(dice, plan);
    DrawScript(dice, plan);
    DrawDevice(dice, plan);
    DrawDeeds(dice, plan);
    DrawSettings(dice, plan);
    for (std::uint32_t left = dice.From(1, 4); left > 0; --left)
        plan.lines.emplace_back(Choose(dice, lines));
    if (dice.OneIn(15)) {
        plan.device.hostile = dice.From(1, 1000000);
        plan.lies = true;
    }
    return plan;
}

const char* NameOf(Deed deed) {
    static constexpr const char* names[] = {"cancel",
                                            "another list",
                                            "a line",
                                            "\"c\"",
                                            "Ctrl+R",
                                            "clear",
                                            "dialog",
                                            "rate",
                                            "another port",
                                            "unplug",
                                            "unplug the device",
                                            "close the window"};
    return names[static_cast<std::size_t>(deed)];
}

bool Plan::NamesNothing() const {
    return !asksForNames &&
           std::none_of(
               files.begin(), files.end(), [](const PlannedFile& file) { return file.goodName; });
}

std::string Describe(const Plan& plan) {
    std::string text = "seed " + std::to_string(plan.seed) + ": " + NameOf(plan.work);
    for (const PlannedFile& file : plan.files)
        text += ", " + file.name + " of " + std::to_string(file.size);
    for (const auto& [set, name] :
         {std::pair(plan.replaces, "replaces"), std::pair(plan.knowsNoFile, "no such file"),
          std::pair(plan.fast, "fast"), std::pair(plan.asksForNames, "asks for names"),
          std::pair(plan.showsSummary, "summary"), std::pair(plan.showsProgress, "progress"),
          std::pair(plan.dropsOldest, "drops oldest"),
          std::pair(plan.device.hostile != 0, "hostile"),
          std::pair(plan.device.asksByNumber, "by number")})
        text += set ? std::string(", ") + name : std::string();
    text += ", image blocks of " + std::to_string(plan.imageBlock) + ", replies after " +
            std::to_string(plan.device.replyDelay) + " ms, pace " +
            std::to_string(plan.device.pace) + ", canceled after " + std::to_string(plan.patience) +
            " ms\n" + plan.script;
    for (const PlannedDeed& deed : plan.deeds)
        text += "at " + std::to_string(deed.at) + " ms " + NameOf(deed.deed) + " (" +
                std::to_string(deed.number) + ")\n";
    return text;
}
