#pragma once

// The device's side of the line: bytes and time in, bytes out. It has no thread and no clock: the
// caller passes the time with every call, never going back.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "DeviceFiles.h"
#include "FaultScript.h"
#include "Frames.h"
#include "Hostile.h"
#include "LineReceiver.h"
#include "Millis.h"
#include "OutputQueue.h"
#include "Transfer.h"

namespace sim {

struct DeviceSetup {
    std::uint32_t pace = 0;           // bits per second of all output, ten for a byte; 0: at once
    std::uint32_t replyDelay = 20;    // ms from a command line to its answer
    std::uint32_t startDelay = 0;     // ms from switching on to the start banner
    std::uint32_t restartPause = 500; // ms from the answer of "reboot" to the loader's banner
    std::uint32_t bootWait = 3000;    // ms from the loader's banner to the start banner
    bool asksByNumber = false;        // for the blocks of a file, from the first one on
    std::uint64_t startText = 0;      // bytes of generated text after the first start banner
    std::uint32_t hostile = 0;        // seed of the bursts between all else; 0: none
};

class ZorbelDevice {
public:
    static constexpr std::uint8_t Refused = 0x01;
    static constexpr std::uint8_t Accepted = 0x02;
    static constexpr std::uint32_t MostText = 1000000000; // bytes of generated text at once

    ZorbelDevice(const DeviceSetup& setup, FaultScript script, DeviceFiles files);

    // Switches the device on, once, before anything else is called.
    void SwitchOn(Millis now);

    // Takes `count` bytes that came over the line. Any bytes are allowed at any time.
    void Receive(const std::uint8_t* bytes, std::size_t count, Millis now);

    // Moves the bytes that the device sends at `now` to `out`, at most `room`. Returns their
    // number. Bytes of different calls are meant to arrive as separate chunks. After 0, nothing
    // comes before NextDue().
    std::size_t Take(Millis now, std::uint8_t* out, std::size_t room);

    // When Take has its next work, unless bytes come first; Never when it only waits for bytes.
    Millis NextDue() const;

private:
    enum class State {
        Starting,   // deaf, the start banner comes next
        Console,    // carries out command lines
        Restarting, // deaf, the loader's banner comes next
        Loader,     // takes only a boot image, the start banner comes next
        Taking,     // a file comes from the host
        Giving,     // a file goes to the host
    };

    // One command line being carried out.
    struct Call {
        std::string_view arguments;
        Millis due = 0;     // when the answer goes
        std::string output; // what the command prints
    };

    // Where a command works.
    enum class Place { Console, ConsoleAndLoader, Everywhere };

    struct Command {
        std::string_view name;
        Place place;
        std::string_view usage;
        bool (ZorbelDevice::*run)(Call& call); // false: the command line is refused
    };

    static const Command Commands[];
    static const Command* FindCommand(std::string_view name); // null: there is none

    bool RunHelp(Call& call);
    bool RunVersion(Call& call);
    bool RunDir(Call& call);
    bool RunEcho(Call& call);
    bool RunText(Call& call);
    bool RunStop(Call& call);
    bool RunReboot(Call& call);
    bool RunProgram(Call& call);
    bool RunTake(Call& call);
    bool RunImage(Call& call);
    bool RunGive(Call& call);

    void Advance(Millis now);
    void EnterLoader(Millis now);
    void EnterConsole(Millis now);
    void ReceiveByte(std::uint8_t byte, Millis now);
    void ReceiveLineByte(std::uint8_t byte, Millis now);
    bool Works(Place place) const;
    bool Transfers() const { return m_State == State::Taking || m_State == State::Giving; }
    void HandleLine(const CommandLine& line, Millis now);
    bool Carry(const CommandLine& line, Call& call);
    bool ListFolder(std::string_view folder, std::string& output) const;
    void AddNoise(FaultKind kind, Millis due);
    void AddAnswer(bool accepted, Millis due);
    void AddPrompt(Millis due);
    void AddBurst(Millis now);
    void Send(std::string bytes, Millis due) { m_Output.Add(std::move(bytes), due, m_Shape); }

    bool BeginTransfer(Transfer transfer, Call& call);
    void AwaitFrame();
    void ReceiveTransferByte(std::uint8_t byte, Millis now);
    void TransferQuiet(Millis now);
    void OpenTaking(Millis now);
    void TakeBlock(Millis now);
    void Reply(Millis now);
    void Store(Millis now);
    void GivePacket(Millis now);
    std::string NextPacket(std::uint16_t number);
    void DamagePacket(std::string& packet);
    void EndTransfer(Millis now);
    void LeaveTransfer(Millis now);
    Millis NextStepDue(Millis now);
    bool Hits(FaultKind kind) const;
    const Fault* At(FaultKind kind) const;
    void Say(const std::string& bytes, Millis due);
    void SayEarly(Millis now);
    bool Restarts(Millis now);

    DeviceSetup m_Setup;
    FaultScript m_Script;
    DeviceFiles m_Files;
    Hostile m_Hostile;

    State m_State = State::Starting;
    Millis m_StateEnd = Never; // when the state ends by itself
    LineReceiver m_Line;
    OutputQueue m_Output;
    bool m_TextRuns = false;
    bool m_Quiet = false; // "pc on": a program talks, not a person
    Transfer m_Transfer;
    FrameCollector m_Frame;
    std::uint32_t m_CommandNumber = 0;
    Millis m_DeafUntil = 0; // nothing that comes before is heard
    Shape m_Shape;          // of everything that is sent until the next command line
};

} // namespace sim
