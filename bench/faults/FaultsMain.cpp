// zo_faults RUNS [SEED [PORTS]]: seeded random runs of terminals against simulated devices, with
// faults of the line and the device and a user who does not wait. What it prints of a run that
// fails begins with its seed, with which "zo_faults 1 SEED 1" repeats it. Ends with 1 when one
// failed or something has grown.

#include "bench/Usage.h"
#include "bench/faults/Fleet.h"
#include "bench/faults/Gui.h"
#include "link/SystemCodePage.h"
#include "resources/resource.h"
#include "rig/Registry.h"
#include "rig/Terminal.h"
#include "shell/Dispatcher.h"
#include "terminal/MessageLoop.h"

#include <cstdio>
#include <cstdlib>
#include <thread>

namespace {

constexpr int MostPorts = 20;

constexpr char Macros[] =
    "[three]\r\necho m1\r\necho m2\r\necho m3\r\n"
    "[many]\r\ncls\r\necho 1\r\necho 2\r\nver\r\necho 3\r\ndir a\r\necho 4\r\n"
    "echo 5\r\necho 6\r\necho 7\r\necho 8\r\n";

void PlantSettings(const TestFolder& folder, const std::vector<ComPair>& pairs) {
    RemoveKey(SettingsRoot);
    folder.Write("macros.txt", Macros);
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const std::string key = std::string(SettingsRoot) + "\\Instance" + std::to_string(i);
        PlantNumber(key, "BaudRate", 115200);
        PlantText(key, "MacrosFile", folder.Path("macros.txt"));
    }
}

void CloseAll() {
    OnGui([] {
        for (const HWND window : TerminalWindows())
            PostMessageA(window, WM_CLOSE, 0, 0);
    });
}

int Number(int argc, char** argv, int index, int usual) {
    return argc > index ? std::atoi(argv[index]) : usual;
}

} // namespace

int main(int argc, char** argv) {
    const int runs = Number(argc, argv, 1, 0);
    const int seed = Number(argc, argv, 2, 1);
    const int ports = Number(argc, argv, 3, MostPorts);
    if (runs < 1 || seed < 0 || ports < 1 || ports > MostPorts) {
        std::fputs("usage: zo_faults RUNS [SEED [PORTS]]\n", stderr);
        return 2;
    }
    UseSystemCodePage();
    const TestFolder folder;
    const std::vector<ComPair> pairs = AllComPairs(ports);
    PlantSettings(folder, pairs);
    const HINSTANCE program = GetModuleHandleA(nullptr);
    const HWND dispatcher = CreateDispatcher(program);
    if (!dispatcher || !StartGuiCalls())
        return 1;
    PrepareMessageLoop(dispatcher, LoadAcceleratorsA(program, MAKEINTRESOURCEA(IDR_ACCELERATORS)));
    const double start = Seconds();
    FleetResult result;
    std::thread fleet([&] {
        result = RunFleet(folder, pairs, runs, static_cast<std::uint32_t>(seed));
        CloseAll();
    });
    while (MessageStep()) {
    }
    fleet.join();
    std::printf("%d runs from seed %d on %d ports in %.0f s: %d failed%s\n", result.runs, seed,
                static_cast<int>(pairs.size()), Seconds() - start, result.failed,
                result.grew ? ", and something has grown" : "");
    RemoveKey(SettingsRoot);
    return result.failed > 0 || result.grew ? 1 : 0;
}
