// The dispatcher's table of terminals, and the hand-over of files to running terminals.

#include "base/FileNames.h"
#include "batch/PackedList.h"
#include "link/codec/PathName.h"
#include "resources/resource.h"
#include "rig/Files.h"
#include "rig/Terminal.h"
#include "shell/Forwarding.h"
#include "terminal/DispatcherRequest.h"

#include <atomic>
#include <initializer_list>
#include <mutex>
#include <thread>

namespace {

class ShellTest : public TerminalTest {
protected:
    void OpenMore(int count) {
        for (int i = 0; i < count; ++i)
            Command(CMD_NEW_WINDOW);
    }

    // The terminal in a slot; null when there is none.
    ZoTerm* InSlot(int slot) {
        for (const HWND window : TerminalWindows())
            if (TerminalOf(window).m_Slot == slot)
                return &TerminalOf(window);
        return nullptr;
    }

    void CloseSlot(int slot) { SendMessageA(InSlot(slot)->m_hWnd, WM_CLOSE, 0, 0); }
};

// Windows of the terminal class on a thread of their own, as another process has them. They
// collect the lists that come, and answer as the test says.
class OtherProcess {
public:
    OtherProcess(int windows, LRESULT answer) : m_Answer(answer) {
        Current = this;
        m_Thread = std::thread([this, windows] { Run(windows); });
        WaitUntil([&] { return m_Ready.load(); });
    }
    ~OtherProcess() {
        PostThreadMessageA(m_ThreadId, WM_QUIT, 0, 0);
        m_Thread.join();
    }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    std::vector<std::string> Lists() {
        const std::lock_guard<std::mutex> lock(m_Lock);
        return m_Lists;
    }

private:
    static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
        if (message == WM_COPYDATA)
            return Current->Take(*reinterpret_cast<COPYDATASTRUCT*>(lParam));
        return DefWindowProcA(window, message, wParam, lParam);
    }

    LRESULT Take(const COPYDATASTRUCT& data) {
        const std::lock_guard<std::mutex> lock(m_Lock);
        m_Lists.emplace_back(static_cast<const char*>(data.lpData), data.cbData);
        return m_Answer;
    }

    void Run(int count) {
        WNDCLASSA type = {};
        type.lpfnWndProc = &Procedure;
        type.lpszClassName = TerminalClassName;
        UnregisterClassA(TerminalClassName, GetModuleHandleA(nullptr)); // real terminals' class
        RegisterClassA(&type);
        std::vector<HWND> windows(static_cast<std::size_t>(count));
        for (HWND& window : windows)
            window = CreateWindowExA(0, TerminalClassName, "other", WS_POPUP, 0, 0, 10, 10, nullptr,
                                     nullptr, nullptr, nullptr);
        m_ThreadId = GetCurrentThreadId();
        m_Ready = true;
        MSG message;
        while (GetMessageA(&message, nullptr, 0, 0) > 0)
            DispatchMessageA(&message);
        for (const HWND window : windows)
            DestroyWindow(window);
        UnregisterClassA(TerminalClassName, nullptr);
    }

    static inline OtherProcess* Current = nullptr;

    LRESULT m_Answer;
    std::thread m_Thread;
    std::atomic<DWORD> m_ThreadId{0};
    std::atomic<bool> m_Ready{false};
    std::mutex m_Lock;
    std::vector<std::string> m_Lists;
};

} // namespace

TEST_F(ShellTest, FreedSlotIsUsedAgain) {
    Start();
    OpenMore(4);
    EXPECT_EQ(TerminalWindows().size(), 5U);
    EXPECT_EQ(std::string(InSlot(4)->m_RegKeyPath), std::string(SettingsRoot) + "\\Instance4");
    CloseSlot(2);
    EXPECT_EQ(InSlot(2), nullptr);
    OpenMore(1);
    for (const WPARAM request : {MAKEWPARAM(RequestCloseTerminal, 7), // nobody's slots
                                 MAKEWPARAM(RequestCloseTerminal, 0xFFFF), MAKEWPARAM(99, 0)})
        SendMessageA(dispatcher, DispatcherRequest, request, 0);
    EXPECT_EQ(TerminalWindows().size(), 5U);
    ASSERT_NE(InSlot(2), nullptr);
    EXPECT_EQ(std::string(InSlot(2)->m_RegKeyPath), std::string(SettingsRoot) + "\\Instance4")
        << "the number counts open windows, slots do not matter";
}

TEST_F(ShellTest, TwentyTerminalsAreAllAndCloseInAnyOrder) {
    Start();
    OpenMore(19);
    ASSERT_EQ(TerminalWindows().size(), 20U);
    OpenMore(1);
    EXPECT_EQ(TerminalWindows().size(), 20U);
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(IsWindow(dispatcher)) << i;
        CloseSlot((i * 7 + 3) % 20);
    }
    EXPECT_FALSE(IsWindow(dispatcher));
}

TEST_F(ShellTest, AcceleratorsReachTheActiveTerminalOnly) {
    Start();
    OpenMore(1);
    SetActiveWindow(InSlot(1)->m_hWnd);
    SendMessageA(dispatcher, WM_COMMAND, MAKEWPARAM(CMD_BAUD_2400, 1), 0);
    EXPECT_EQ(InSlot(1)->Settings.m_BaudRate, 2400U);
    EXPECT_EQ(InSlot(0)->Settings.m_BaudRate, 57600U);
    SendMessageA(dispatcher, WM_COMMAND, MAKEWPARAM(CMD_BAUD_9600, 0), 0);
    EXPECT_EQ(InSlot(1)->Settings.m_BaudRate, 2400U) << "a menu's command does not pass here";

    const HWND dialog = CreateWindowExA(0, "STATIC", "Options", WS_POPUP | WS_VISIBLE, 0, 0, 50, 50,
                                        nullptr, nullptr, nullptr, nullptr);
    SetActiveWindow(dialog);
    SendMessageA(dispatcher, WM_COMMAND, MAKEWPARAM(CMD_BAUD_9600, 1), 0);
    DestroyWindow(dialog);
    EXPECT_EQ(InSlot(1)->Settings.m_BaudRate, 2400U);
    EXPECT_EQ(InSlot(0)->Settings.m_BaudRate, 57600U);
}

TEST_F(ShellTest, WindowComesBackToItsPlaceOrIntoSight) {
    const std::string key = SettingsRoot + std::string("\\Instance0");
    RECT area = {};
    SystemParametersInfoA(SPI_GETWORKAREA, 0, &area, 0);
    InflateRect(&area, 1, 1); // what a window manager may add
    const RECT places[] = {{5000, 100, 500, 400},
                           {100, -3000, 500, 400},
                           {40, 30, 9000, 8000},
                           {LONG_MAX, 100, LONG_MAX, 400}};
    for (const RECT& place : places) { // left, top, width, height
        PlantNumber(key, "WindowX", static_cast<DWORD>(place.left));
        PlantNumber(key, "WindowY", static_cast<DWORD>(place.top));
        PlantNumber(key, "WindowWidth", static_cast<DWORD>(place.right));
        PlantNumber(key, "WindowHeight", static_cast<DWORD>(place.bottom));
        Start();
        RECT rect = {};
        EXPECT_TRUE(WaitUntil([&] { // a window manager places it in steps
            rect = RectOf(terminal->m_hWnd);
            return rect.left >= area.left && rect.top >= area.top && rect.right <= area.right &&
                   rect.bottom <= area.bottom;
        })) << place.left
            << ": " << rect.left << " " << rect.top << " " << rect.right << " " << rect.bottom;
        EXPECT_EQ(rect.right - rect.left == 500, place.right == 500);
        SetWindowPos(terminal->m_hWnd, nullptr, 30, 40, 480, 320, SWP_NOZORDER);
        EXPECT_TRUE(Close());
    }
    Start();
    const RECT kept = {30, 40, 30 + 480, 40 + 320};
    EXPECT_TRUE(WaitUntil([&] {
        const RECT rect = RectOf(terminal->m_hWnd);
        return EqualRect(&rect, &kept);
    }));
}

// The list of a start that names these files.
struct Named : PathList {
    Named(std::initializer_list<const wchar_t*> names) {
        for (const wchar_t* name : names)
            EXPECT_TRUE(Add(name));
    }
};

TEST(Forwarding, EveryWindowGetsTheWholeListOfFullPathsInOrder) {
    OtherProcess other(3, 1);
    char here[MAX_PATH] = {};
    GetCurrentDirectoryA(MAX_PATH, here);
    const std::string folder = std::string(here) + "\\";
    const std::string longName(300, 'n'); // more than a path may have, and never cut
    const std::wstring wideName(longName.begin(), longName.end());
    const Named files = {L"b.txt", wideName.c_str(), L"..\\a b.txt", L"C:\\x.y"};
    EXPECT_EQ(ForwardFiles(files), StartKind::ForwardedAll);
    std::string list;
    for (const std::string& path :
         {folder + "b.txt", folder + longName,
          folder.substr(0, folder.rfind('\\', folder.size() - 2) + 1) + "a b.txt",
          std::string("C:\\x.y"), std::string()})
        list += path + '\0';
    EXPECT_EQ(other.Lists(), std::vector<std::string>(3, list));
}

TEST(Forwarding, EveryWindowIsAskedAndARefusalIsReported) {
    for (const int windows : {2, 70}) { // one wait covers 64
        const bool takes = windows > 2;
        OtherProcess other(windows, takes);
        EXPECT_EQ(ForwardFiles(Named{L"a.txt"}),
                  takes ? StartKind::ForwardedAll : StartKind::ForwardedSome);
        EXPECT_EQ(other.Lists().size(), static_cast<std::size_t>(windows));
    }
}

TEST(Forwarding, WithoutFilesOrTerminalsTheStartIsAnInstance) {
    EXPECT_EQ(ForwardFiles(Named{L"a.txt"}), StartKind::Instance) << "no terminal runs";
    OtherProcess other(1, 1);
    EXPECT_EQ(ForwardFiles(Named{L""}), StartKind::Instance) << "no file is named";
    EXPECT_TRUE(other.Lists().empty());
}

TEST(Names, EveryNameOpensItsFileOrShowsThatItCannot) {
    const TestFolder folder;
    const std::filesystem::path root = folder.Path("root");
    const std::wstring foreign = L"donn\u00e9es-\u03a9-\u65e5\u672c";
    for (const auto& path : {root / foreign / L"good.txt", root / (foreign + L".txt")}) {
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << "found";
        const Named files = {path.c_str()};
        std::string content;
        std::ifstream(files.List(), std::ios::binary) >> content;
        EXPECT_EQ(content, "found") << files.List();
        wchar_t known[MAX_PATH] = {};
        WidenPath(files.List(), known);
        EXPECT_TRUE(known == path.wstring()) << "the name that the user knows";
    }
    // A folder's short name leaves the file its own, which is the one on the device.
    const Named inFolder = {(root / foreign / L"good.txt").c_str()};
    EXPECT_STREQ(BaseName(inFolder.List()), "good.txt");
    // No such file has a short name, and a look-alike of a quote would end an argument.
    const Named unspeakable = {(root / L"no \u65e5.txt").c_str(), L"C:\\a\uff02b.txt"};
    EXPECT_TRUE(NamesNoFile(unspeakable.List())) << unspeakable.List();
    EXPECT_STREQ(NextName(unspeakable.List()), "C:\\a?b.txt");
}
