#include "tests/support/Rig.h"

#include "base/Owned.h"
#include "tests/support/Wait.h"

#include <cstdlib>
#include <fstream>

namespace {

// A file of the rig as Wine sees it; empty when there is no rig.
std::string RigFile(const std::string& name) {
    const char* folder = std::getenv("ZO_RIG_DIR");
    return folder ? "Z:" + std::string(folder) + "/" + name : std::string();
}

bool CanOpen(const std::string& port) {
    const HANDLE handle = CreateFileA(("\\\\.\\" + port).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                      nullptr, OPEN_EXISTING, 0, nullptr);
    if (handle == INVALID_HANDLE_VALUE)
        return false;
    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    const BOOL answers = GetCommState(handle, &dcb); // Wine opens a port without a device too
    CloseHandle(handle);
    return answers != FALSE;
}

} // namespace

std::optional<std::string> RecordedModemLines(const std::string& port) {
    const std::string path = RigFile("lines/of-" + port);
    if (path.empty())
        return std::nullopt;
    std::ifstream file(path);
    std::string lines = "no record";
    std::getline(file, lines);
    return lines;
}

bool CutCable(const std::string& port) {
    const std::string file = RigFile("cut-" + port);
    return !file.empty() && std::ofstream(file).good();
}

void RestoreCable(const std::string& port) {
    DeleteFileA(RigFile("cut-" + port).c_str());
    WaitUntil([&] { return CanOpen(port); });
}
