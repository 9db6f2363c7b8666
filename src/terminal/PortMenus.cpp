// The Port, Baud Rate and Device menus, and what a connection or a file operation enables.

#include "base/Text.h"
#include "link/PortList.h"
#include "resources/resource.h"
#include "terminal/TopMenu.h"
#include "terminal/ZoTerm.h"

#include <cstring>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>

namespace {

constexpr std::int32_t OtherPortPosition = 5;
constexpr int FixedPortItems = 6;
constexpr std::size_t MostPorts = 256; // in the menu
constexpr UINT PortsOfAColumn = 30;

struct BaudRate {
    WORD command;
    std::uint32_t rate; // bits per second
};

// In the order of the menu.
constexpr BaudRate BaudRates[] = {
    {CMD_BAUD_2400, 2400},     {CMD_BAUD_4800, 4800},     {CMD_BAUD_9600, 9600},
    {CMD_BAUD_19200, 19200},   {CMD_BAUD_38400, 38400},   {CMD_BAUD_57600, 57600},
    {CMD_BAUD_115200, 115200}, {CMD_BAUD_230400, 230400}, {CMD_BAUD_460800, 460800},
    {CMD_BAUD_921600, 921600},
};

struct Device {
    WORD command;
    const char* name;
    UINT position;
};

constexpr Device Devices[] = {
    {CMD_DEVICE_DEFAULT, "default", 0},
    {CMD_DEVICE_A, "a", 1},
    {CMD_DEVICE_B, "b", 2},
    {CMD_DEVICE_MP3, "MP3", 3},
};
constexpr UINT CustomDevicePosition = 5;

constexpr TopMenu BusyMenus[] = {FileMenu, PortMenu, BaudMenu, MacrosMenu, DeviceMenu};

// What needs an open port: positions of the File menu and toolbar buttons.
constexpr UINT ConnectedItems[] = {0, 1, 2};
constexpr WORD ConnectedButtons[] = {CMD_BOOT_FILE, CMD_SEND_FILES, CMD_SEND_IMAGE};

UINT ByPosition(bool on, UINT onFlag, UINT offFlag) {
    return MF_BYPOSITION | (on ? onFlag : offFlag);
}

HMENU Popup(HWND window, TopMenu menu) {
    return GetSubMenu(GetMenu(window), menu);
}

// Checks one position of a popup menu and no other; -1 checks none.
void CheckOnly(HMENU popup, int checked) {
    for (int i = 0; i < GetMenuItemCount(popup); ++i)
        CheckMenuItem(popup, static_cast<UINT>(i),
                      ByPosition(i == checked, MF_CHECKED, MF_UNCHECKED));
}

void EnableButton(HWND toolbar, WORD command, bool enable) {
    SendMessageA(toolbar, TB_ENABLEBUTTON, command, MAKELPARAM(enable, 0));
}

int BaudRatePosition(std::uint32_t baud) {
    for (std::size_t i = 0; i < std::size(BaudRates); ++i)
        if (BaudRates[i].rate == baud)
            return static_cast<int>(i);
    return -1;
}

UINT DevicePosition(const char* name) {
    for (const Device& device : Devices)
        if (std::strcmp(device.name, name) == 0)
            return device.position;
    return CustomDevicePosition;
}

// A port's item: its name and what it is. An ampersand is doubled, or it would underline what
// follows.
void AppendPort(HMENU menu, const SerialPort& port, UINT flags) {
    wchar_t label[2 * std::size(SerialPort{}.description) + 16];
    int length = std::swprintf(label, std::size(label), L"COM%d%ls", static_cast<int>(port.number),
                               port.description[0] ? L"  " : L"");
    for (const wchar_t* at = port.description; *at; ++at) {
        if (*at == L'&')
            label[length++] = L'&';
        label[length++] = *at < L' ' ? L' ' : *at;
    }
    label[length] = L'\0';
    AppendMenuW(menu, flags, CMD_PORT_FOUND + static_cast<UINT>(port.number), label);
}

} // namespace

// When the Port menu opens, it lists the ports that exist at this moment below its fixed items.
LRESULT ZoTerm::OnInitMenuPopup(HMENU menu) {
    if (menu != Popup(m_hWnd, PortMenu))
        return 0;
    while (GetMenuItemCount(menu) > FixedPortItems)
        DeleteMenu(menu, FixedPortItems, MF_BYPOSITION);
    const std::unique_ptr<SerialPort[]> ports(new (std::nothrow) SerialPort[MostPorts]);
    const std::size_t count = ports ? ListSerialPorts(ports.get(), MostPorts) : 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (ports[i].number > CMD_PORT_FOUND_END - CMD_PORT_FOUND)
            break;
        const bool open = ports[i].number == Settings.m_PortNumber;
        if (i == 0)
            AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
        const bool column = i > 0 && i % PortsOfAColumn == 0;
        AppendPort(menu, ports[i],
                   (open ? MF_CHECKED : MF_UNCHECKED) | (column ? MF_MENUBARBREAK : 0U));
    }
    return 0;
}

void ZoTerm::OpenFoundPort(WORD command) {
    if (MayChangeLine())
        OpenPort(command - CMD_PORT_FOUND, Settings.m_BaudRate);
}

void ZoTerm::CheckPort(std::int32_t number) {
    CheckOnly(Popup(m_hWnd, PortMenu), number < OtherPortPosition ? number : OtherPortPosition);
}

void ZoTerm::ShowConnection(bool connected) {
    const HMENU file = Popup(m_hWnd, FileMenu);
    for (const UINT position : ConnectedItems)
        EnableMenuItem(file, position, ByPosition(connected, MF_ENABLED, MF_GRAYED));
    for (const WORD command : ConnectedButtons)
        EnableButton(m_hToolbar, command, connected);
    EnableWindow(m_hCommand, connected);
    EnableWindow(m_hOutput, connected);
}

bool ZoTerm::SelectBaudRate(std::uint32_t baud) {
    const bool taken = TakeBaudRate(baud);
    SetFocus(m_hCommand);
    return taken;
}

bool ZoTerm::TakeBaudRate(std::uint32_t baud) {
    const bool taken = Port->SetBaudRate(baud) || Settings.m_PortNumber == 0;
    if (taken)
        Settings.m_BaudRate = baud;
    CheckOnly(Popup(m_hWnd, BaudMenu), BaudRatePosition(Settings.m_BaudRate));
    return taken;
}

void ZoTerm::SelectDevice(const char* name) {
    CopyText(Settings.m_DeviceName, name);
    CheckOnly(Popup(m_hWnd, DeviceMenu), static_cast<int>(DevicePosition(Settings.m_DeviceName)));
}

void ZoTerm::EnableCommands(bool enable) {
    const HMENU menu = GetMenu(m_hWnd);
    for (const TopMenu popup : BusyMenus)
        EnableMenuItem(menu, popup, ByPosition(enable, MF_ENABLED, MF_GRAYED));
    for (const WORD command : ConnectedButtons)
        EnableButton(m_hToolbar, command, enable);
    EnableButton(m_hToolbar, CMD_RECEIVE_FILE, enable);
    EnableButton(m_hToolbar, CMD_LOAD_MACROS, enable);
    DrawMenuBar(m_hWnd);
}

void ZoTerm::SelectMenuBaudRate(WORD command) {
    for (const BaudRate& entry : BaudRates)
        if (entry.command == command && MayChangeLine())
            SelectBaudRate(entry.rate);
}

void ZoTerm::OpenMenuPort(WORD command) {
    if (MayChangeLine())
        OpenPort(command == CMD_PORT_NONE ? 0 : command - CMD_PORT_1 + 1, Settings.m_BaudRate);
}

void ZoTerm::SelectMenuDevice(WORD command) {
    if (MayChangeLine())
        SelectDevice(Devices[command - CMD_DEVICE_DEFAULT].name);
}
