// Port, baud rate and device menus, and what follows the connection.

#include "base/Owned.h"
#include "resources/resource.h"
#include "rig/ComPeer.h"
#include "rig/Import.h"
#include "rig/Pinger.h"
#include "rig/Rig.h"
#include "rig/Terminal.h"

#include <dbt.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <vector>

STAND_IN(CreateFileA);

namespace {

constexpr int FileMenu = 0;
constexpr int PortMenu = 2;
constexpr int BaudMenu = 3;
constexpr int DeviceMenu = 5;

const decltype(&CreateFileA) SystemCreateFile = __imp_CreateFileA;

// A driver that waits behind a gate, and refuses a few times when it has just been closed.
std::atomic<int> Refusals{0};
const HANDLE Gate = CreateEventA(nullptr, TRUE, FALSE, nullptr);
std::mutex OpenersLock;
std::vector<OwnedHandle> Openers; // the threads that it let wait

HANDLE WINAPI OpensSlowly(const char* path, DWORD access, DWORD share,
                          SECURITY_ATTRIBUTES* security, DWORD creation, DWORD flags,
                          HANDLE pattern) {
    if (std::string(path).rfind("\\\\.\\COM", 0) == 0) {
        if (Refusals-- > 0) {
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        }
        {
            const std::lock_guard<std::mutex> lock(OpenersLock);
            Openers.emplace_back(OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId()));
        }
        WaitForSingleObject(Gate, 2 * Patience);
    }
    return SystemCreateFile(path, access, share, security, creation, flags, pattern);
}

class ConnectionTest : public TerminalTest {
protected:
    // Positions of a popup menu that carry a check mark, as text.
    std::string Checked(int menu) {
        std::string positions;
        for (int i = 0; i < GetMenuItemCount(GetSubMenu(GetMenu(terminal->m_hWnd), menu)); ++i)
            if (ItemIsChecked(menu, i))
                positions += std::to_string(i);
        return positions;
    }

    void ExpectConnected(bool connected) {
        for (int position : {0, 1, 2})
            EXPECT_EQ(ItemIsGrayed(FileMenu, position), !connected) << position;
        EXPECT_FALSE(ItemIsGrayed(FileMenu, 3)) << "receiving stays as it is";
        for (const WORD command :
             std::initializer_list<WORD>{CMD_BOOT_FILE, CMD_SEND_FILES, CMD_SEND_IMAGE})
            EXPECT_EQ(ButtonIsEnabled(command), connected) << command;
        EXPECT_TRUE(ButtonIsEnabled(CMD_RECEIVE_FILE));
        EXPECT_EQ(IsWindowEnabled(CommandBoxOf(*terminal)) != 0, connected);
        EXPECT_EQ(IsWindowEnabled(OutputOf(*terminal)) != 0, connected);
    }
};

} // namespace

TEST_F(ConnectionTest, MenusTitleAndControlsFollowPortRateAndDevice) {
    PlantText(std::string(SettingsRoot) + "\\Instance0", "DeviceName", "mp3");
    Start();
    const ComPair pair = ReadComPair();
    const int away = std::stoi(pair.device.substr(3));
    const auto number = [](int port) { return port >= 5 ? "5" : std::to_string(port); };
    const struct {
        std::function<void()> act;
        std::string port; // the checked item, and so on
        std::string rate;
        std::string device;
    } steps[] = {
        {[] {}, "0", "5", "5"}, // "mp3" is not "MP3"
        {[&] { Command(CMD_BAUD_115200); }, "0", "6", "5"},
        {[&] { Command(static_cast<WORD>(CMD_PORT_1 + pair.number - 1)); }, number(pair.number),
         "6", "5"},
        {[&] { Command(CMD_BAUD_2400); }, number(pair.number), "0", "5"},
        {[&] { Command(CMD_BAUD_921600); }, number(pair.number), "9", "5"},
        {[&] { EXPECT_TRUE(terminal->SelectBaudRate(300)); }, number(pair.number), "", "5"},
        {[&] { Command(CMD_PORT_NONE); }, "0", "", "5"},
        {[&] { EXPECT_TRUE(terminal->OpenPort(away, 9600)); }, number(away), "2", "5"},
        {[&] { EXPECT_FALSE(terminal->OpenPort(199, 57600)); }, "0", "2", "5"},
        {[&] { EXPECT_FALSE(terminal->OpenPort(-1, 57600)); }, "0", "2", "5"},
        {[&] { Command(CMD_DEVICE_MP3); }, "0", "2", "3"},
        {[&] { Command(CMD_DEVICE_A); }, "0", "2", "1"},
        {[&] { terminal->SelectDevice(std::string(400, 'd').c_str()); }, "0", "2", "5"},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(&step - steps);
        step.act();
        const int open = terminal->Settings.m_PortNumber;
        EXPECT_EQ(Checked(PortMenu), step.port);
        EXPECT_EQ(number(open), step.port);
        EXPECT_EQ(Checked(BaudMenu), step.rate);
        EXPECT_EQ(Checked(DeviceMenu), step.device);
        EXPECT_EQ(TextOf(terminal->m_hWnd),
                  " Port: " + (open ? "COM" + std::to_string(open) : "NONE") +
                      ", Zorbel Console Terminal");
        ExpectConnected(open != 0);
    }
    EXPECT_EQ(std::string(terminal->Settings.m_DeviceName).size(), std::size_t{MAX_PATH - 1});
}

TEST_F(ConnectionTest, PortMenuListsWhatExistsAndOpensIt) {
    StartConnected();
    const HMENU menu = GetSubMenu(GetMenu(terminal->m_hWnd), PortMenu);
    const auto found = static_cast<UINT>(CMD_PORT_FOUND + ReadComPair().number);
    for (const bool open : {true, false}) { // the list is that of the moment
        SendMessageA(terminal->m_hWnd, WM_INITMENUPOPUP, reinterpret_cast<WPARAM>(menu), PortMenu);
        char label[128] = {};
        GetMenuStringA(menu, found, label, sizeof(label), MF_BYCOMMAND);
        EXPECT_EQ(std::string(label).rfind(ReadComPair().program, 0), 0U) << label;
        EXPECT_EQ((GetMenuState(menu, found, MF_BYCOMMAND) & MF_CHECKED) != 0, open);
        EXPECT_EQ(GetMenuState(menu, CMD_PORT_FOUND + 199, MF_BYCOMMAND), static_cast<UINT>(-1));
        Command(CMD_PORT_NONE);
    }
    Command(found);
    ExpectConnected(true);
}

TEST_F(ConnectionTest, SlowDriverHoldsNobody) {
    const ComPair pair = ReadComPair();
    const std::string key = SettingsRoot + std::string("\\Instance0");
    const StandIn driver(__imp_CreateFileA, &OpensSlowly);
    PlantNumber(key, "Port", static_cast<DWORD>(pair.number));
    Start();
    EXPECT_TRUE(IsWindowVisible(terminal->m_hWnd));
    EXPECT_EQ(StatusTextOf(*terminal), "Opening " + pair.program + "...");
    EXPECT_FALSE(terminal->TakesLists());
    Command(CMD_BAUD_9600);
    SetEvent(Gate);
    EXPECT_TRUE(WaitUntil([&] { return terminal->Settings.m_PortNumber == pair.number; }));
    EXPECT_EQ(StatusTextOf(*terminal), "");
    EXPECT_EQ(Checked(BaudMenu), "2") << "what was chosen meanwhile";
    ExpectConnected(true);

    Refusals = 4; // right after a close
    ResetEvent(Gate);
    SetTimer(nullptr, 0, 2000, [](HWND, UINT, UINT_PTR timer, DWORD) {
        KillTimer(nullptr, timer);
        SetEvent(Gate);
    });
    {
        const Pinger pinger(terminal->m_hWnd);
        EXPECT_TRUE(terminal->OpenPort(pair.number, 9600));
        EXPECT_LT(pinger.Slowest(), LongestAnswer);
    }
    Refusals = 0;

    // Another choice, and the end of the terminal, do not wait for the driver either.
    ResetEvent(Gate);
    static WPARAM choice;
    for (const WPARAM chosen : {WPARAM{CMD_PORT_NONE}, WPARAM{CMD_EXIT}}) {
        choice = chosen;
        SetTimer(nullptr, 0, 200, [](HWND, UINT, UINT_PTR timer, DWORD) {
            KillTimer(nullptr, timer);
            SendMessageA(TerminalWindows()[0], WM_COMMAND, choice, 0);
        });
        EXPECT_FALSE(terminal->OpenPort(pair.number, 9600));
        EXPECT_EQ(WaitForSingleObject(Gate, 0), DWORD{WAIT_TIMEOUT}) << "the driver is at it";
        EXPECT_TRUE(chosen == CMD_EXIT || StatusTextOf(*terminal) == "");
    }
    EXPECT_TRUE(WaitUntil([] { return TerminalWindows().empty(); }));
    EXPECT_EQ(FindValue(key, "Port"), "dword:" + std::to_string(pair.number));
    const std::lock_guard<std::mutex> lock(OpenersLock);
    ASSERT_FALSE(Openers.empty());
    EXPECT_EQ(WaitForSingleObject(Openers.back().get(), 0), DWORD{WAIT_TIMEOUT});
    SetEvent(Gate);
    // Wine may crash when a thread ends together with its process.
    for (const OwnedHandle& opener : Openers)
        EXPECT_EQ(WaitForSingleObject(opener.get(), Patience), WAIT_OBJECT_0);
}

TEST_F(ConnectionTest, PortThatIsGoneComesBackByItself) {
    StartConnected();
    const ComPair pair = ReadComPair();
    const auto isOpen = [&] { return terminal->Settings.m_PortNumber == pair.number; };
    for (const bool arrives : {false, true}) {
        if (!CutCable(pair.program))
            GTEST_SKIP() << "this null modem cannot be cut";
        EXPECT_TRUE(WaitUntil([&] { return !isOpen(); }));
        EXPECT_EQ(TextOf(terminal->m_hWnd), " Port: NONE, Zorbel Console Terminal");
        EXPECT_EQ(StatusTextOf(*terminal), pair.program + " is gone, waiting for it");
        EXPECT_TRUE(terminal->TakesLists()) << "a look for the port disturbs nobody";
        ExpectConnected(false);
        EXPECT_FALSE(WaitUntil(isOpen, arrives ? 10 : 2500));
        RestoreCable(pair.program);
        if (arrives)
            SendMessageA(terminal->m_hWnd, WM_DEVICECHANGE, DBT_DEVICEARRIVAL, 0);
        EXPECT_TRUE(WaitUntil(isOpen, arrives ? 1000 : 5000));
        EXPECT_EQ(StatusTextOf(*terminal), "");
        ExpectConnected(true);
    }
    // A notice that the lost port left behind must not close the new one.
    SendMessageA(terminal->m_hWnd, LinkMessage, NotifyLost, 0);
    EXPECT_TRUE(isOpen());
}

TEST_F(ConnectionTest, SavedPortThatIsNotThereIsWaitedForUntilAnotherChoice) {
    const std::string key = SettingsRoot + std::string("\\Instance0");
    PlantNumber(key, "Port", 199);
    Start();
    EXPECT_EQ(StatusTextOf(*terminal), "COM199 is gone, waiting for it");
    EXPECT_TRUE(Close());
    EXPECT_EQ(FindValue(key, "Port"), "dword:199");
    Start();
    EXPECT_FALSE(terminal->OpenPort(198, 9600));
    EXPECT_EQ(StatusTextOf(*terminal), "COM198 is not there");
    Command(CMD_PORT_NONE);
    EXPECT_EQ(StatusTextOf(*terminal), "");
    EXPECT_TRUE(Close());
    EXPECT_EQ(FindValue(key, "Port"), "dword:0");
}

TEST_F(ConnectionTest, RemovedDeviceIsNoticedByItsName) {
    StartConnected();
    const auto removed = [&](const std::string& name) {
        std::string record(sizeof(DEV_BROADCAST_PORT_A) + name.size(), '\0');
        auto* port = reinterpret_cast<DEV_BROADCAST_PORT_A*>(record.data());
        port->dbcp_size = static_cast<DWORD>(record.size());
        port->dbcp_devicetype = DBT_DEVTYP_PORT;
        std::copy(name.begin(), name.end(), port->dbcp_name);
        SendMessageA(terminal->m_hWnd, WM_DEVICECHANGE, DBT_DEVICEREMOVECOMPLETE,
                     reinterpret_cast<LPARAM>(port));
        return terminal->Settings.m_PortNumber == 0;
    };
    SendMessageA(terminal->m_hWnd, WM_DEVICECHANGE, DBT_DEVNODES_CHANGED, 0);
    EXPECT_FALSE(removed("COM77"));
    EXPECT_FALSE(removed(ReadComPair().program + "0"));

    folder.Write("file", "x");
    ASSERT_TRUE(
        terminal->Port->StartSend(nullptr, folder.Path("file").c_str(), nullptr, SendModeFile, 0));
    const ULONGLONG start = GetTickCount64();
    EXPECT_TRUE(removed(ReadComPair().program));
    EXPECT_LT(GetTickCount64() - start, 1500U) << "it waited for the device's answer";
}
