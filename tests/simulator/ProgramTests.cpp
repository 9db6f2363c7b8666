// ZorbelSim.exe as its users start it: what it says, where, and its exit code.

#include "rig/Files.h"
#include "rig/Process.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <winver.h>

#include <algorithm>
#include <cstdlib>

#include "version.h"

namespace {

struct Outcome {
    int code;
    std::string out;
    std::string err;
};

// Text files of Windows have CR LF.
std::string Lines(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
    return text;
}

Outcome Simulator(const TestFolder& folder, const std::string& arguments) {
    const std::string command = "\"\"" + BuildFile("ZorbelSim.exe") + "\" " + arguments + " >\"" +
                                folder.Path("out") + "\" 2>\"" + folder.Path("err") + "\"\"";
    const int code = std::system(command.c_str());
    return {code, Lines(folder.Read("out")), Lines(folder.Read("err"))};
}

} // namespace

TEST(SimulatorProgram, TellsWhatIsWrongLastAndEndsAccordingly) {
    const TestFolder folder;
    folder.Write("bad.txt", "next silent\nnext bang\n");
    const std::string example = std::string(ZO_EXAMPLES) + "/faults.txt";
    const std::string noPort = "COM250 cannot be opened: there is no such port";
    const struct {
        std::string arguments;
        int code;
        std::string message;
    } cases[] = {
        {"--port com250 --files \"" + folder.Path("device") + "\"", 1, noPort},
        {"--port 250 --script \"" + example + "\"", 1, noPort},
        {"--port 1 --files \"\" --hostile 4294967295 --port COM250", 1, noPort},
        {"--port COM0", 2, "--port: needs COM1 to COM255, not COM0"},
        {"--baud 0x100", 2, "--baud: needs 50 to 4000000, not 0x100"},
        {"--hostile 4294967296", 2, "--hostile: needs 1 to 4294967295, not 4294967296"},
        {"--speed 9600", 2, "unknown option: --speed"},
        {"COM250", 2, "unknown option: COM250"},
        {"--port 250 --files", 2, "--files needs a value"},
        {"--files none", 2, "the folder none cannot be read: "},
        {"--files \"" + folder.Path("bad.txt") + "\"", 2, folder.Path("bad.txt") + " is no folder"},
        {"--script none", 2, "the script none cannot be read: "},
        {"--script \"" + folder.Path("bad.txt") + "\"", 2,
         folder.Path("bad.txt") + ", line 2: unknown fault: bang"},
    };
    for (const auto& each : cases) {
        const Outcome outcome = Simulator(folder, each.arguments);
        EXPECT_EQ(outcome.code, each.code) << each.arguments;
        EXPECT_EQ(outcome.out, "") << each.arguments;
        const std::string wanted = "ZorbelSim: " + each.message;
        const std::size_t begin = outcome.err.rfind('\n', outcome.err.size() - 2) + 1;
        const std::string last = outcome.err.substr(begin);
        EXPECT_EQ(last.substr(0, wanted.size()), wanted) << each.arguments;
        // The system's words follow where the message ends with a blank.
        EXPECT_EQ(last.size() > wanted.size() + 1, each.message.back() == ' ') << last;
        EXPECT_EQ(last.find("error "), std::string::npos) << last;
    }
}

TEST(SimulatorProgram, HelpTellsThePurposeEachOptionAndItsDefault) {
    const TestFolder folder;
    const Outcome help = Simulator(folder, "--help");
    EXPECT_EQ(help.code, 0);
    EXPECT_EQ(help.err, "");
    EXPECT_NE(help.out.substr(0, 200).find("handheld on a COM port"), std::string::npos);
    int options = 0;
    for (std::size_t at = 0; (at = help.out.find("\n  --", at)) != std::string::npos; ++options) {
        const std::size_t next = help.out.find("\n  --", ++at);
        if (help.out.compare(at + 2, 9, "--version") == 0)
            continue;
        EXPECT_LT(help.out.find("default: ", at), next) << help.out.substr(at, 20);
    }
    EXPECT_GE(options, 12);
    for (const char* spelling : {"-h", "/?"})
        EXPECT_EQ(Simulator(folder, spelling).out, help.out) << spelling;
}

// What the file manager shows of a file, and what the program says of itself.
TEST(Programs, AgreeOnTheirVersion) {
    const TestFolder folder;
    for (const std::string name : {"ZoConsole", "ZoLink", "ZorbelSim"}) {
        const std::string file = BuildFile(name + ".exe");
        std::string info(GetFileVersionInfoSizeA(file.c_str(), nullptr), '\0');
        ASSERT_TRUE(
            GetFileVersionInfoA(file.c_str(), 0, static_cast<DWORD>(info.size()), info.data()))
            << name;
        const auto shown = [&](const char* value) {
            void* text = nullptr;
            UINT length = 0;
            const std::string path = std::string("\\StringFileInfo\\040904E4\\") + value;
            VerQueryValueA(info.data(), path.c_str(), &text, &length);
            return std::string(text ? static_cast<const char*>(text) : "nothing");
        };
        EXPECT_EQ(shown("ProductVersion"), ZO_VERSION_TEXT) << name;
        EXPECT_EQ(shown("OriginalFilename"), name + ".exe");
        EXPECT_EQ(shown("CompanyName"), "the ZoConsole authors") << name;
        if (name == "ZoConsole")
            continue;
        const std::string command =
            "\"\"" + file + "\" --version >\"" + folder.Path("out") + "\"\"";
        EXPECT_EQ(std::system(command.c_str()), 0) << name;
        EXPECT_EQ(Lines(folder.Read("out")), name + " " + ZO_VERSION_TEXT + "\n");
    }
}
