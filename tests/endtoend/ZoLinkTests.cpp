// ZoLink.exe as a script uses it, with the simulated device at the other end of the line.

#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/Process.h"
#include "rig/SimDevice.h"
#include "rig/Vectors.h"
#include "rig/Wait.h"

#include <nlohmann/json.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <sstream>
#include <thread>

namespace {

using Json = nlohmann::json;

constexpr DWORD LongestRun = 40000; // ms
constexpr DWORD NotLong = 0;

struct Outcome {
    DWORD code;
    std::string out;
    std::string err;
};

class ZoLinkTest : public testing::Test {
protected:
    // Ctrl+Break for a run of the test's. The rig has no console, but the system below has a
    // signal.
    void Interrupt(DWORD group) {
        if (!onRig) {
            EXPECT_TRUE(GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, group));
            return;
        }
        const std::string path = folder.Path("");
        const std::string name = path.substr(path.rfind("zoconsole-"));
        std::string shell =
            "Z:\\bin\\sh -c \"for p in /proc/[0-9]*; do case $(readlink $p/cwd) in *" +
            name.substr(0, name.find_first_of("\\/")) +
            "*) grep -qa ZoLink.exe $p/cmdline && kill -INT ${p#/proc/};; esac; done\"";
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION none = {}; // such a program has no handles
        CreateProcessA(nullptr, shell.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                       &startup, &none);
    }

    void Device(const std::string& script = {}) {
        device.reset();
        device = std::make_unique<SimDevice>(pair.device, folder.Path("device"), script);
    }

    OwnedHandle Output(const std::string& name) {
        SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
        return OwnedHandle(CreateFileA(folder.Path(name).c_str(), GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_DELETE, &inherited,
                                       CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    // Runs it in the test's folder; with a limit, Ctrl+Break comes after that many ms.
    Outcome Link(const std::string& arguments, DWORD breakAfter = NotLong) {
        const OwnedHandle out = Output("out");
        const OwnedHandle err = Output("err");
        STARTUPINFOA startup = {};
        startup.cb = sizeof(startup);
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdOutput = out.get();
        startup.hStdError = err.get();
        std::string line =
            "\"" + BuildFile("ZoLink.exe") + "\" --port " + pair.program + " " + arguments;
        PROCESS_INFORMATION process = {};
        EXPECT_TRUE(CreateProcessA(nullptr, line.data(), nullptr, nullptr, TRUE,
                                   onRig ? 0 : CREATE_NEW_PROCESS_GROUP, nullptr,
                                   folder.Path("").c_str(), &startup, &process))
            << GetLastError();
        const OwnedHandle thread(process.hThread);
        const OwnedHandle running(process.hProcess);
        if (breakAfter != NotLong &&
            WaitForSingleObject(running.get(), breakAfter) != WAIT_OBJECT_0)
            Interrupt(process.dwProcessId);
        DWORD code = 0;
        if (WaitForSingleObject(running.get(), LongestRun) != WAIT_OBJECT_0)
            TerminateProcess(running.get(), 999);
        WaitForSingleObject(running.get(), INFINITE);
        GetExitCodeProcess(running.get(), &code);
        return {code, folder.Read("out"), folder.Read("err")};
    }

    // The exit code, when standard error names what failed and standard output is right.
    void Expect(const Outcome& run, DWORD code, const std::string& out, const std::string& err) {
        EXPECT_EQ(run.code, code) << run.out << run.err;
        EXPECT_NE(run.out.find(out), std::string::npos) << run.out;
        EXPECT_NE(run.err.find(err), std::string::npos) << run.err;
        EXPECT_TRUE(!err.empty() || run.err.empty()) << run.err;
    }

    const bool onRig = std::getenv("ZO_RIG_DIR") != nullptr;
    const ComPair pair = ReadComPair();
    TestFolder folder;
    std::unique_ptr<SimDevice> device;
};

} // namespace

TEST_F(ZoLinkTest, LinesAreSentOneByOneAndTheFirstFailureEndsThem) {
    Device("2 refuse\n5 silent");
    Expect(Link("run ver"), 0, "ZoOS 1.0, simulated\r\n", "");
    Expect(Link("run dir \"echo never\""), 1, "", "refused: dir");
    Expect(Link("--json run --keep-going ver nosuch"), 1, "", "refused: nosuch");
    std::istringstream lines(folder.Read("out"));
    std::vector<std::string> results;
    for (std::string line; std::getline(lines, line);) {
        const Json event = Json::parse(line);
        if (event["event"] == "result")
            results.push_back(event["line"].get<std::string>() + " " +
                              event["status"].get<std::string>());
    }
    EXPECT_EQ(results, (std::vector<std::string>{"ver accepted", "nosuch refused"}));
    Expect(Link("run \"echo lost\""), 4, "", "no answer to: echo lost");
    folder.Write("macros.txt", "[greet]\necho one\necho two\n[ver]");
    Expect(Link("--quiet macro macros.txt greet"), 0, "two\r\n", "");
    Expect(Link("macro macros.txt ver"), 0, "ZoOS 1.0", "");
    Expect(Link("macro macros.txt none"), 5, "", "macros.txt has no section none");
    device->Stop();
    EXPECT_EQ(device->Tap().received, OnTheWire("ver") + OnTheWire("dir") + OnTheWire("ver") +
                                          OnTheWire("nosuch") + OnTheWire("echo lost") +
                                          OnTheWire("echo one") + OnTheWire("echo two") +
                                          OnTheWire("ver"));
}

TEST_F(ZoLinkTest, FilesAreSentUnderNamesThatTheDeviceTakes) {
    Device("2 refuse\n3 mute 1 99");
    const std::string content = RandomBytes(1300, 9);
    folder.Write("photo.bin", content);
    Expect(Link("send photo.bin --folder a"), 0, "", "photo.bin: sent, 1300 bytes");
    EXPECT_TRUE(folder.Read("device\\a\\photo.bin") == content);
    Expect(Link("send photo.bin"), 1, "", "the device refused photo.bin");
    Expect(Link("--quiet send photo.bin"), 4, "", "photo.bin failed");
    Expect(Link("send --as other.bin --eager photo.bin"), 0, "", "sent");
    EXPECT_TRUE(folder.Read("device\\default\\other.bin") == content);
    Expect(Link("image --block-size 500 photo.bin"), 0, "", "photo.bin: sent");
    Expect(Link("boot --reboot photo.bin"), 0, "", "photo.bin: loaded, 1300 bytes");
    Device("1 refuse");
    Expect(Link("boot --reboot photo.bin"), 1, "", "refused: reboot");

    device.reset(); // nothing of what follows opens a port
    Expect(Link("send \"bad name.txt\""), 2, "", "no such name: bad name.txt");
    Expect(Link("send none.txt"), 5, "", "none.txt cannot be read");
    Expect(Link("--baud none run ver"), 2, "", "--baud");
    Expect(Link("--port COM199 run ver"), 3, "", "COM199 cannot be opened: there is no such port");
    Expect(Link("--help"), 0, "receive", "");
}

TEST_F(ZoLinkTest, ReceivedFileIsWholeOrThereIsNone) {
    Device("2 pause 1 9000");
    const std::string content = RandomBytes(1500, 4);
    folder.Write("device\\default\\there", content);
    folder.Write("there", "old");
    Expect(Link("receive there", 3000), 130, "", "canceled");
    EXPECT_EQ(folder.Read("there"), "old");
    Device();
    Expect(Link("receive none --to there"), 1, "", "the device refused none");
    EXPECT_EQ(folder.Read("there"), "old");
    Expect(Link("receive none"), 1, "", "refused");
    EXPECT_FALSE(folder.Exists("none"));
    Expect(Link("--json receive there --eager"), 0, R"("status":"received","bytes":1500)", "");
    EXPECT_TRUE(folder.Read("there") == content);
    Expect(Link("receive there --to none\\there"), 5, "", "there: ");
    EXPECT_EQ(folder.Names(), "device,err,out,there,");
}

TEST_F(ZoLinkTest, ListeningEndsWithItsTextOrItsTime) {
    Expect(Link("listen --until \"no such text\" --for 0.3"), 4, "", "did not come: no such text");
    std::atomic<bool> talks{true};
    std::thread talker([&] {
        for (ComPeer peer; talks; Sleep(100))
            peer.Send("a console, and more\n");
    });
    Expect(Link("listen --until console, --for 20 --log text.log"), 0, "console,", "");
    talks = false;
    talker.join();
    EXPECT_NE(folder.Read("text.log").find("console,"), std::string::npos);
    Expect(Link("listen --for 0.2"), 0, "", "");
    Expect(Link("listen", 500), 130, "", "canceled");
}
