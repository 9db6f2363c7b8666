// The commands of the device's console.

#include "Words.h"
#include "ZorbelDevice.h"

namespace sim {

const ZorbelDevice::Command ZorbelDevice::Commands[] = {
    {"help", Place::Console, "help            lists the commands", &ZorbelDevice::RunHelp},
    {"ver", Place::Console, "ver             shows the version", &ZorbelDevice::RunVersion},
    {"dir", Place::Console, "dir [FOLDER]    lists the files", &ZorbelDevice::RunDir},
    {"echo", Place::Console, "echo TEXT       prints the text", &ZorbelDevice::RunEcho},
    {"text", Place::Console, "text BYTES      prints generated text", &ZorbelDevice::RunText},
    {"c", Place::Everywhere, "c               stops the text or a file", &ZorbelDevice::RunStop},
    {"rcv", Place::ConsoleAndLoader, "rcv FILE BYTES  takes a file", &ZorbelDevice::RunTake},
    {"imgrcv", Place::Console, "imgrcv SIZE N   takes a screen image of N blocks",
     &ZorbelDevice::RunImage},
    {"upl", Place::Console, "upl FILE        gives a file", &ZorbelDevice::RunGive},
    {"pc", Place::Console, "pc on|off       for programs: no echo, no prompt",
     &ZorbelDevice::RunProgram},
    {"reboot", Place::Console, "reboot          restarts the device", &ZorbelDevice::RunReboot},
};

const ZorbelDevice::Command* ZorbelDevice::FindCommand(std::string_view name) {
    for (const Command& command : Commands)
        if (command.name == name)
            return &command;
    return nullptr;
}

bool ZorbelDevice::RunHelp(Call& call) {
    for (const Command& command : Commands)
        call.output.append(command.usage).append("\r\n");
    return true;
}

bool ZorbelDevice::RunVersion(Call& call) {
    call.output = "ZoOS 1.0, simulated\r\n";
    return true;
}

bool ZorbelDevice::RunDir(Call& call) {
    if (!m_Files.HasStorage()) {
        call.output = "no storage, the device is empty\r\n";
        return true;
    }
    if (!call.arguments.empty())
        return ListFolder(call.arguments, call.output);
    for (const std::string_view folder : DeviceFiles::Folders)
        if (!ListFolder(folder, call.output))
            return false;
    return true;
}

bool ZorbelDevice::RunEcho(Call& call) {
    call.output = Printable(call.arguments) + "\r\n";
    return true;
}

bool ZorbelDevice::RunText(Call& call) {
    std::uint32_t bytes = 0;
    if (m_TextRuns || !ParseNumber(call.arguments, 1, MostText, bytes)) {
        call.output = m_TextRuns ? "text is running, \"c\" stops it\r\n"
                                 : "wanted: text BYTES (1 to " + std::to_string(MostText) + ")\r\n";
        return false;
    }
    m_Output.StartText(bytes, call.due, m_Shape);
    m_TextRuns = true;
    return true;
}

bool ZorbelDevice::RunStop(Call& call) {
    m_Output.StopText();
    if (Transfers())
        LeaveTransfer(call.due);
    return true;
}

bool ZorbelDevice::RunProgram(Call& call) {
    m_Quiet = call.arguments == "on";
    return m_Quiet || call.arguments == "off";
}

bool ZorbelDevice::RunReboot(Call& call) {
    m_Output.StopText();
    m_TextRuns = false;
    m_State = State::Restarting;
    m_StateEnd = call.due + m_Setup.restartPause;
    return true;
}

bool ZorbelDevice::ListFolder(std::string_view folder, std::string& output) const {
    std::vector<DeviceFile> files;
    if (!m_Files.List(folder, files)) {
        output.append("cannot list ").append(Printable(folder)).append("\r\n");
        return false;
    }
    std::uint64_t total = 0;
    output.append("/").append(folder).append("\r\n");
    for (const DeviceFile& file : files) {
        const std::string size = std::to_string(file.size);
        output.append(size.size() < 12 ? 12 - size.size() : 0, ' ').append(size);
        output.append(" ").append(file.name).append("\r\n");
        total += file.size;
    }
    output.append("files: ").append(std::to_string(files.size()));
    output.append(", bytes: ").append(std::to_string(total)).append("\r\n");
    return true;
}

} // namespace sim
