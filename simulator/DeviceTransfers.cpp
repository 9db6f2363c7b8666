// Files that the device takes, frame by frame, and files that it gives, packet by packet.

#include <algorithm>
#include <random>
#include <utility>

#include "Words.h"
#include "ZorbelDevice.h"

namespace sim {

namespace {

constexpr std::uint32_t FileBlock = 512;
constexpr std::uint32_t LargestImageBlock = 0xFFFF;
constexpr std::uint32_t MostBlocks = 1000000;
constexpr std::uint32_t MostAsks = 8;
constexpr std::size_t LongestControl = 16; // bytes of a host's control packet

constexpr Millis FrameGap = 300;      // a longer silence ends a frame
constexpr Millis AskAgain = 2000;     // from a reply to the next, when no frame comes
constexpr Millis HostSilence = 15000; // until a file that nobody asks for is put away
constexpr const char* ImageName = "screen.img";
constexpr std::uint16_t OverlongLength = 600;

} // namespace

bool ZorbelDevice::RunTake(Call& call) {
    const std::string_view path = NextWord(call.arguments);
    Transfer transfer;
    transfer.kind = m_State == State::Loader ? TransferKind::Boot : TransferKind::File;
    transfer.blockSize = FileBlock;
    if (!ParseNumber(call.arguments, 0, DeviceFiles::LargestFile, transfer.size) ||
        !DeviceFiles::ParsePath(path, transfer.path)) {
        call.output = "wanted: rcv [/FOLDER/]NAME BYTES\r\n";
        return false;
    }
    if (transfer.kind == TransferKind::File && !m_Files.HasStorage()) {
        call.output = "no storage, the device is empty\r\n";
        return false;
    }
    return BeginTransfer(std::move(transfer), call);
}

bool ZorbelDevice::RunImage(Call& call) {
    Transfer transfer;
    transfer.kind = TransferKind::Image;
    transfer.path = {std::string(DeviceFiles::Folders.front()), ImageName};
    std::uint32_t count = 0;
    if (!ParseNumber(NextWord(call.arguments), 1, LargestImageBlock, transfer.blockSize) ||
        !ParseNumber(call.arguments, 0, MostBlocks, count) ||
        std::uint64_t{count} * transfer.blockSize > DeviceFiles::LargestFile) {
        call.output = "wanted: imgrcv BLOCKSIZE BLOCKS\r\n";
        return false;
    }
    transfer.size = count * transfer.blockSize;
    return BeginTransfer(std::move(transfer), call);
}

bool ZorbelDevice::RunGive(Call& call) {
    Transfer transfer;
    transfer.kind = TransferKind::Given;
    if (!DeviceFiles::ParsePath(call.arguments, transfer.path) ||
        !m_Files.Read(transfer.path, transfer.data)) {
        call.output = "no such file: " + Printable(call.arguments) + "\r\n";
        return false;
    }
    return BeginTransfer(std::move(transfer), call);
}

// Text that runs would come between frames, so both exclude each other.
bool ZorbelDevice::BeginTransfer(Transfer transfer, Call& call) {
    if (m_TextRuns) {
        call.output = "text is running, \"c\" stops it\r\n";
        return false;
    }
    transfer.command = m_CommandNumber;
    transfer.byNumber = m_Setup.asksByNumber;
    LineNoise::Rates rates;
    std::uint32_t seed = 0;
    const std::pair<FaultKind, std::uint32_t LineNoise::Rates::*> kinds[] = {
        {FaultKind::Lose, &LineNoise::Rates::lost},
        {FaultKind::Damage, &LineNoise::Rates::damaged},
        {FaultKind::Repeat, &LineNoise::Rates::repeated},
        {FaultKind::Insert, &LineNoise::Rates::inserted},
    };
    for (const auto& [kind, rate] : kinds) {
        if (const Fault* const fault = m_Script.Find(kind, m_CommandNumber)) {
            rates.*rate = fault->numbers[0];
            seed ^= fault->numbers[1];
        }
    }
    transfer.incoming = LineNoise(rates, seed);
    transfer.outgoing = LineNoise(rates, ~seed);
    m_Transfer = std::move(transfer);
    const bool gives = m_Transfer.kind == TransferKind::Given;
    m_State = gives ? State::Giving : State::Taking;
    m_StateEnd = call.due + (gives ? HostSilence : 0); // taking opens with a reply
    AwaitFrame();
    return true;
}

void ZorbelDevice::AwaitFrame() {
    if (m_State == State::Giving)
        m_Frame.Begin(ControlLayout, LongestControl);
    else
        m_Frame.Begin(BlockLayout, m_Transfer.blockSize);
    m_Transfer.discards = false;
    m_Line.Reset();
}

// A frame begins with its marker; anything else may be the command line that ends the transfer.
void ZorbelDevice::ReceiveTransferByte(std::uint8_t byte, Millis now) {
    if (m_Transfer.opened || m_State == State::Giving)
        m_StateEnd = now + FrameGap;
    if (m_Transfer.discards)
        return;
    const std::uint8_t marker =
        m_State == State::Giving ? ControlLayout.marker : BlockLayout.marker;
    if (m_Line.Begun() || (m_Frame.Empty() && byte != marker)) {
        ReceiveLineByte(byte, now);
        return;
    }
    if (m_State == State::Taking && m_Frame.Empty())
        SayEarly(now);
    switch (m_Frame.Add(byte)) {
    case FrameCollector::Result::More: return;
    case FrameCollector::Result::Damaged: m_Transfer.discards = true; return;
    case FrameCollector::Result::Complete: break;
    }
    if (m_State == State::Taking)
        TakeBlock(now);
    else
        GivePacket(now);
}

// The line was silent: what has come of a frame is void.
void ZorbelDevice::TransferQuiet(Millis now) {
    if (m_State == State::Giving) {
        const bool pending = m_Transfer.discards || m_Line.Begun() || !m_Frame.Empty();
        AwaitFrame();
        m_StateEnd = now + HostSilence;
        if (!pending)
            EndTransfer(now);
        return;
    }
    AwaitFrame();
    if (!m_Transfer.opened) {
        OpenTaking(now);
        return;
    }
    m_Transfer.byNumber = true;
    if (++m_Transfer.asks > MostAsks) {
        Say("cancel\r\n", now + m_Setup.replyDelay);
        EndTransfer(now + m_Setup.replyDelay);
        return;
    }
    Reply(now);
}

// The first reply; one that is a "nack" brings no block, so the next reply follows by itself.
void ZorbelDevice::OpenTaking(Millis now) {
    if (Hits(FaultKind::Nack)) {
        Say("nack\r\n", NextStepDue(now));
        m_StateEnd = now + m_Setup.replyDelay;
        return;
    }
    m_Transfer.opened = true;
    Reply(now);
}

void ZorbelDevice::TakeBlock(Millis now) {
    const std::uint32_t number = m_Frame.Field(1, 2);
    const std::string data(m_Frame.Data());
    AwaitFrame();
    if (Hits(FaultKind::Nack)) {
        const Millis due = NextStepDue(now);
        Say("nack\r\n", due);
        m_StateEnd = due + AskAgain;
        return;
    }
    const std::size_t left = m_Transfer.size - m_Transfer.data.size();
    if (number != (m_Transfer.Wanted() & 0xFFFF) ||
        data.size() != std::min<std::size_t>(m_Transfer.blockSize, left))
        m_Transfer.byNumber = true;
    else {
        m_Transfer.data += data;
        m_Transfer.asks = 0;
    }
    Reply(now);
}

// Says what is due now, or what a fault puts in its place.
void ZorbelDevice::Reply(Millis now) {
    if (Restarts(now))
        return;
    const bool muted = Hits(FaultKind::Mute) || std::exchange(m_Transfer.replied, false);
    const Fault* const ask = At(FaultKind::Ask);
    std::string line = "ack";
    std::uint32_t wanted = m_Transfer.Wanted();
    bool over = m_Transfer.Complete();
    if (ask != nullptr) {
        m_Transfer.byNumber = true;
        wanted = ask->numbers[1];
        over = false;
    }
    if (over && (m_Transfer.byNumber || m_Transfer.kind == TransferKind::Image))
        line = "done";
    else if (m_Transfer.byNumber)
        line = "send" + std::to_string(wanted);
    for (const auto& [kind, word] :
         {std::pair(FaultKind::Cancel, "cancel"), std::pair(FaultKind::Can, "can"),
          std::pair(FaultKind::Done, "done")}) {
        if (At(kind) != nullptr) {
            line = word;
            over = true;
        }
    }
    line += "\r\n";
    if (Hits(FaultKind::Twice))
        line += line;
    if (const Fault* const text = At(FaultKind::Text))
        line.insert(0, std::string(text->numbers[1], '.') + "\r\n");
    const Millis due = NextStepDue(now);
    if (!muted)
        Say(line, due);
    m_StateEnd = due + AskAgain;
    if (!over)
        return;
    if (m_Transfer.Complete())
        Store(due);
    else
        EndTransfer(due);
}

void ZorbelDevice::Store(Millis now) {
    const bool boot = m_Transfer.kind == TransferKind::Boot;
    if (m_Files.HasStorage() && !m_Files.Write(m_Transfer.path, m_Transfer.data))
        Send("cannot store " + m_Transfer.path.name + "\r\n", now);
    m_Transfer.data.clear();
    if (!boot) {
        EndTransfer(now);
        return;
    }
    m_State = State::Starting;
    m_StateEnd = now + m_Setup.restartPause;
}

void ZorbelDevice::GivePacket(Millis now) {
    const auto code = static_cast<std::uint16_t>(m_Frame.Field(4, 2));
    const auto number = static_cast<std::uint16_t>(m_Frame.Field(6, 2));
    AwaitFrame();
    m_StateEnd = now + HostSilence;
    if (code == ControlEnd) {
        EndTransfer(now);
        return;
    }
    if ((code != ControlStart && code != ControlNext) || Restarts(now))
        return;
    const bool ends = At(FaultKind::End) != nullptr;
    std::string packet = ends                   ? ControlPacket(ControlEnd, 0)
                         : code == ControlStart ? ControlPacket(ControlReady, 0)
                                                : NextPacket(number);
    const bool muted = Hits(FaultKind::Mute);
    DamagePacket(packet);
    if (Hits(FaultKind::Twice))
        packet += packet;
    const Millis due = NextStepDue(now);
    if (!muted)
        Say(packet, due);
    if (ends)
        EndTransfer(due);
}

// The host names blocks by 16 bits, and never one far from the last.
std::string ZorbelDevice::NextPacket(std::uint16_t number) {
    const auto step = static_cast<std::int16_t>(number - m_Transfer.block);
    m_Transfer.block += static_cast<std::uint32_t>(step);
    const std::size_t start = std::size_t{m_Transfer.block} * FileBlock;
    const std::string_view data(m_Transfer.data);
    const std::uint32_t named = m_Transfer.block - (Hits(FaultKind::WrongBlock) ? 1 : 0);
    return DataPacket(static_cast<std::uint8_t>(named),
                      data.substr(std::min(start, data.size()), FileBlock));
}

void ZorbelDevice::DamagePacket(std::string& packet) {
    if (Hits(FaultKind::BadCrc))
        packet.back() = static_cast<char>(packet.back() ^ 0x10);
    if (Hits(FaultKind::Overlong)) {
        packet[2] = static_cast<char>(OverlongLength >> 8);
        packet[3] = static_cast<char>(OverlongLength & 0xFF);
    }
    if (const Fault* const noise = At(FaultKind::Noise)) {
        std::minstd_rand random(m_Transfer.step + 1);
        for (std::uint32_t i = 0; i < noise->numbers[1]; ++i)
            packet.insert(packet.begin(), static_cast<char>(random() >> 8));
    }
}

// Ends a transfer, whatever has come of it.
void ZorbelDevice::EndTransfer(Millis now) {
    LeaveTransfer(now);
    AddPrompt(now + m_Setup.replyDelay);
}

void ZorbelDevice::LeaveTransfer(Millis now) {
    const bool boot = m_Transfer.kind == TransferKind::Boot;
    m_State = boot ? State::Loader : State::Console;
    m_StateEnd = boot ? now + m_Setup.bootWait : Never;
    m_Transfer = {};
    m_Line.Reset();
}

// When the next reply or packet goes; counts the step.
Millis ZorbelDevice::NextStepDue(Millis now) {
    const Fault* const pause = At(FaultKind::Pause);
    if (const Fault* const deaf = At(FaultKind::Deaf))
        m_DeafUntil = now + deaf->numbers[1];
    ++m_Transfer.step;
    return now + m_Setup.replyDelay + (pause == nullptr ? 0 : pause->numbers[1]);
}

// A fault that hits this step, from its first number on as often as its second one says.
bool ZorbelDevice::Hits(FaultKind kind) const {
    const Fault* const fault = m_Script.Find(kind, m_Transfer.command);
    return fault != nullptr && m_Transfer.step >= fault->numbers[0] &&
           m_Transfer.step - fault->numbers[0] < fault->numbers[1];
}

// The fault of that kind whose first number is this step, or null.
const Fault* ZorbelDevice::At(FaultKind kind) const {
    const Fault* const fault = m_Script.Find(kind, m_Transfer.command);
    return fault != nullptr && fault->numbers[0] == m_Transfer.step ? fault : nullptr;
}

// The reply to a frame of which only the first byte has come.
void ZorbelDevice::SayEarly(Millis now) {
    if (!Hits(FaultKind::Hasty))
        return;
    Say("ack\r\n", now);
    m_Transfer.replied = true;
}

// True when a fault makes the device forget the transfer and start over.
bool ZorbelDevice::Restarts(Millis now) {
    if (At(FaultKind::Restart) == nullptr)
        return false;
    LeaveTransfer(now);
    m_State = State::Restarting;
    m_StateEnd = now + m_Setup.restartPause;
    return true;
}

void ZorbelDevice::Say(const std::string& bytes, Millis due) {
    Send(m_Transfer.outgoing.Pass(bytes), due);
}

} // namespace sim
