#include "ZorbelDevice.h"

#include <algorithm>
#include <random>
#include <utility>

#include "Words.h"

namespace sim {

namespace {

constexpr const char* LoaderBanner = "Preparing to load ZoOS\r\n";
constexpr const char* StartBanner = "\r\nZoOS console, \"help\" lists the commands\r\n";
constexpr const char* Prompt = "zorbel> ";

// Bursts follow each other without end, so they must not come at once.
std::uint32_t PaceOf(const DeviceSetup& setup) {
    return setup.hostile != 0 && setup.pace == 0 ? Hostile::UsualPace : setup.pace;
}

} // namespace

ZorbelDevice::ZorbelDevice(const DeviceSetup& setup, FaultScript script, DeviceFiles files)
    : m_Setup(setup), m_Script(std::move(script)), m_Files(std::move(files)),
      m_Hostile(setup.hostile), m_Output(PaceOf(setup)) {}

void ZorbelDevice::SwitchOn(Millis now) {
    m_StateEnd = now + m_Setup.startDelay;
}

void ZorbelDevice::Receive(const std::uint8_t* bytes, std::size_t count, Millis now) {
    Advance(now);
    for (std::size_t i = 0; i < count; ++i)
        ReceiveByte(bytes[i], now);
}

std::size_t ZorbelDevice::Take(Millis now, std::uint8_t* out, std::size_t room) {
    Advance(now);
    const std::size_t taken = m_Output.Take(now, out, room);
    if (m_TextRuns && m_Output.TextDone()) {
        m_TextRuns = false;
        AddPrompt(now);
    }
    if (m_Setup.hostile != 0 && m_Output.NextDue() == Never)
        AddBurst(now);
    return taken;
}

Millis ZorbelDevice::NextDue() const {
    return std::min(m_StateEnd, m_Output.NextDue());
}

// Leaves the states that end by themselves.
void ZorbelDevice::Advance(Millis now) {
    while (m_StateEnd <= now) {
        const Millis end = std::exchange(m_StateEnd, Never);
        switch (m_State) {
        case State::Restarting: EnterLoader(end); break;
        case State::Starting:
        case State::Loader: EnterConsole(end); break;
        case State::Taking:
        case State::Giving: TransferQuiet(end); break;
        case State::Console: break;
        }
    }
}

void ZorbelDevice::EnterLoader(Millis now) {
    m_State = State::Loader;
    m_StateEnd = now + m_Setup.bootWait;
    Send(LoaderBanner, now);
}

void ZorbelDevice::EnterConsole(Millis now) {
    m_State = State::Console;
    m_Quiet = false;
    m_Line.Reset();
    Send(StartBanner, now);
    const std::uint64_t text = std::exchange(m_Setup.startText, 0);
    if (text == 0) {
        AddPrompt(now);
        return;
    }
    m_Output.StartText(text, now, m_Shape);
    m_TextRuns = true;
}

// Every received byte comes through here and goes to what listens in the current state.
void ZorbelDevice::ReceiveByte(std::uint8_t byte, Millis now) {
    if (now < m_DeafUntil)
        return;
    switch (m_State) {
    case State::Starting:
    case State::Restarting: return;
    case State::Console:
    case State::Loader: ReceiveLineByte(byte, now); return;
    case State::Taking:
    case State::Giving:
        for (const char passed : m_Transfer.incoming.Pass({reinterpret_cast<char*>(&byte), 1}))
            ReceiveTransferByte(static_cast<std::uint8_t>(passed), now);
        return;
    }
}

void ZorbelDevice::ReceiveLineByte(std::uint8_t byte, Millis now) {
    CommandLine line;
    if (!m_Line.Begun() && m_Script.Find(FaultKind::Early, m_CommandNumber + 1) != nullptr)
        Send(std::string(1, static_cast<char>(Accepted)), now);
    if (m_Line.Add(byte, now, line))
        HandleLine(line, now);
}

void ZorbelDevice::HandleLine(const CommandLine& line, Millis now) {
    const Millis answerDue = now + m_Setup.replyDelay;
    if (line.bare && line.valid) {
        AddPrompt(answerDue); // nobody waits for an answer to an empty line
        return;
    }
    ++m_CommandNumber;
    if (m_Script.Find(FaultKind::Silent, m_CommandNumber) != nullptr)
        return;
    const Fault* const split = m_Script.Find(FaultKind::Split, m_CommandNumber);
    m_Shape = split == nullptr ? Shape{} : Shape{split->numbers[0], split->numbers[1]};
    const Fault* const late = m_Script.Find(FaultKind::Late, m_CommandNumber);

    Call call;
    call.due = late == nullptr ? answerDue : now + late->numbers[0];
    const bool accepted = Carry(line, call);
    AddNoise(FaultKind::NoiseBefore, call.due);
    AddAnswer(accepted, call.due);
    AddNoise(FaultKind::NoiseAfter, call.due);
    if (accepted && !m_Quiet)
        Send(Printable(line.text) + "\r\n", call.due);
    if (accepted || !call.output.empty()) {
        Send(std::move(call.output), call.due);
        AddPrompt(call.due);
    }
}

// Carries out a command line unless something is wrong with it. Returns the answer.
bool ZorbelDevice::Carry(const CommandLine& line, Call& call) {
    if (!line.valid || m_Script.Find(FaultKind::Refuse, m_CommandNumber) != nullptr)
        return false;
    call.arguments = line.text;
    const std::string_view name = NextWord(call.arguments);
    const Command* const command = FindCommand(name);
    if (command == nullptr && m_State == State::Console && !name.empty())
        call.output = "unknown command: " + Printable(name) + "\r\n";
    if (command == nullptr)
        return m_State == State::Console && name.empty();
    if (!Works(command->place))
        return false;
    return (this->*command->run)(call);
}

bool ZorbelDevice::Works(Place place) const {
    return m_State == State::Console || place == Place::Everywhere ||
           (m_State == State::Loader && place == Place::ConsoleAndLoader);
}

// An early answer has gone already.
void ZorbelDevice::AddAnswer(bool accepted, Millis due) {
    if (m_Script.Find(FaultKind::Early, m_CommandNumber) != nullptr ||
        m_Script.Find(FaultKind::Unanswered, m_CommandNumber) != nullptr)
        return;
    const bool twice = m_Script.Find(FaultKind::AnswerTwice, m_CommandNumber) != nullptr;
    Send(std::string(twice ? 2 : 1, static_cast<char>(accepted ? Accepted : Refused)), due);
}

void ZorbelDevice::AddNoise(FaultKind kind, Millis due) {
    const Fault* const fault = m_Script.Find(kind, m_CommandNumber);
    if (fault == nullptr)
        return;
    std::minstd_rand random(fault->numbers[1]);
    std::string noise;
    while (noise.size() < fault->numbers[0]) {
        const auto byte = static_cast<std::uint8_t>(random() >> 8);
        if (byte != Refused && byte != Accepted)
            noise.push_back(static_cast<char>(byte));
    }
    Send(std::move(noise), due);
}

// The prompt comes when the console is free; text that runs gets its prompt at its end.
void ZorbelDevice::AddPrompt(Millis due) {
    if (m_State == State::Console && !m_TextRuns && !m_Quiet)
        Send(Prompt, due);
}

// A hostile device's line is never quiet for long, whatever the device does. It sends what it
// should in between.
void ZorbelDevice::AddBurst(Millis now) {
    const bool text = m_State == State::Console || m_State == State::Starting;
    const HostExpects expects = m_State == State::Giving ? HostExpects::Packets
                                : text                   ? HostExpects::Text
                                                         : HostExpects::Replies;
    Burst burst = m_Hostile.Next(expects);
    m_Output.Add(std::move(burst.bytes), now + burst.silence, {});
}

} // namespace sim
