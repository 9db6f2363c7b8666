#include "rig/Process.h"

#include "rig/Wait.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

constexpr char XdotoolPath[] = "Z:\\usr\\bin\\xdotool";

// The new process's handle, its id in *id; null when it did not start.
OwnedHandle Launch(const std::string& commandLine, DWORD* id) {
    std::vector<char> line(commandLine.begin(), commandLine.end());
    line.push_back('\0');
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process))
        return nullptr;
    CloseHandle(process.hThread);
    *id = process.dwProcessId;
    return OwnedHandle(process.hProcess);
}

struct Search {
    DWORD process;
    std::vector<HWND> windows;
};

BOOL CALLBACK CollectVisible(HWND window, LPARAM parameter) {
    auto& search = *reinterpret_cast<Search*>(parameter);
    DWORD process = 0;
    GetWindowThreadProcessId(window, &process);
    if (process == search.process && IsWindowVisible(window))
        search.windows.push_back(window);
    return TRUE;
}

bool RigRuns() {
    return std::getenv("ZO_RIG_DIR") != nullptr;
}

// Wine starts programs of the system it runs on, but reports nothing about them; so one call does
// all.
void Xdotool(HWND window, const std::string& action) {
    char title[256];
    GetWindowTextA(window, title, sizeof(title));
    DWORD id = 0;
    Launch(std::string(XdotoolPath) + " search --sync --onlyvisible --name \"^" + title +
               "$\" windowfocus --sync " + action,
           &id);
}

// Keys go where the focus is, so a window that has just opened must have got it.
bool HasKeyboard(HWND window) {
    GUITHREADINFO thread = {};
    thread.cbSize = sizeof(thread);
    return GetForegroundWindow() == window &&
           GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &thread) &&
           IsChild(window, thread.hwndFocus);
}

void PressKey(WORD key, WORD modifier = 0) {
    INPUT keys[4] = {};
    UINT count = 0;
    const auto add = [&](WORD code, DWORD flags) {
        keys[count].type = INPUT_KEYBOARD;
        keys[count].ki.wVk = code;
        keys[count++].ki.dwFlags = flags;
    };
    if (modifier)
        add(modifier, 0);
    add(key, 0);
    add(key, KEYEVENTF_KEYUP);
    if (modifier)
        add(modifier, KEYEVENTF_KEYUP);
    SendInput(count, keys, sizeof(INPUT));
}

} // namespace

std::string BuildFile(const std::string& name) {
    char path[MAX_PATH];
    GetModuleFileNameA(nullptr, path, MAX_PATH);
    std::string folder = path;
    do { // the tests' programs are some folders below
        folder.resize(folder.find_last_of('\\'));
    } while (GetFileAttributesA((folder + "\\" + name).c_str()) == INVALID_FILE_ATTRIBUTES &&
             folder.find('\\') != std::string::npos);
    return folder + "\\" + name;
}

Process::Process(const std::string& name, const std::string& arguments) {
    m_Handle = Launch("\"" + BuildFile(name) + "\" " + arguments, &m_Id);
    EXPECT_TRUE(m_Handle) << BuildFile(name) << ": error " << GetLastError();
}

Process::Process(const std::string& commandLine) {
    m_Handle = Launch(commandLine, &m_Id);
    EXPECT_TRUE(m_Handle) << commandLine << ": error " << GetLastError();
}

Process::~Process() {
    if (!m_Handle || Ended(0))
        return;
    TerminateProcess(m_Handle.get(), 1);
    Ended(Patience);
}

bool Process::Ended(DWORD limit) {
    return WaitForSingleObject(m_Handle.get(), limit) == WAIT_OBJECT_0;
}

DWORD Process::ExitCode() const {
    DWORD code = STILL_ACTIVE;
    GetExitCodeProcess(m_Handle.get(), &code);
    return code;
}

std::vector<HWND> WindowsOf(const Process& program) {
    Search search = {program.Id(), {}};
    EnumWindows(&CollectVisible, reinterpret_cast<LPARAM>(&search));
    return search.windows;
}

void TypeLine(HWND window, const std::string& text) {
    EXPECT_TRUE(WaitUntil([&] { return HasKeyboard(window); }));
    if (RigRuns()) {
        Xdotool(window, "type --delay 10 --args 1 \"" + text + "\" key Return");
        return;
    }
    for (const char c : text) {
        const SHORT key = VkKeyScanA(c);
        PressKey(LOBYTE(key), HIBYTE(key) & 1 ? WORD{VK_SHIFT} : WORD{0});
    }
    PressKey(VK_RETURN);
}

void PressControl(HWND window, char letter) {
    EXPECT_TRUE(WaitUntil([&] { return HasKeyboard(window); }));
    if (RigRuns()) {
        Xdotool(window, std::string("key ctrl+") + letter);
        return;
    }
    PressKey(static_cast<WORD>(letter - 'a' + 'A'), VK_CONTROL);
}
