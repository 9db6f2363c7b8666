#include "link/PortList.h"

#include "base/Owned.h"
#include "base/SystemLibrary.h"

#include <setupapi.h>

#include <algorithm>
#include <cwchar>
#include <cwctype>
#include <iterator>

namespace {

constexpr GUID PortInterface = {
    0x86E0D1E0, 0x8089, 0x11D0, {0x9C, 0xE4, 0x08, 0x00, 0x3E, 0x30, 0x1F, 0x73}};
constexpr wchar_t PortPrefix[] = L"COM";
constexpr std::size_t PrefixLength = std::size(PortPrefix) - 1;

using OwnedKey = Owned<HKEY, &RegCloseKey>;

// n of "COMn"; 0 for any other name.
std::int32_t NumberOf(const wchar_t* name) {
    if (_wcsnicmp(name, PortPrefix, PrefixLength) != 0)
        return 0;
    wchar_t* end = nullptr;
    const long number = std::wcstol(name + PrefixLength, &end, 10);
    return *end == L'\0' && number > 0 ? static_cast<std::int32_t>(number) : 0;
}

struct Ports {
    SerialPort* ports;
    std::size_t room;
    std::size_t count = 0;

    SerialPort* Add(std::int32_t number) {
        SerialPort* const end = ports + count;
        SerialPort* const known = std::find_if(
            ports, end, [number](const SerialPort& port) { return port.number == number; });
        if (number == 0 || known != end || count == room)
            return nullptr;
        *known = {};
        known->number = number;
        ++count;
        return known;
    }
};

// The functions of the library that knows the devices.
template <typename Pointer> Pointer DeviceFunction(const char* name) {
    return SystemFunction<Pointer>("setupapi.dll", name);
}

struct DeviceLibrary {
    decltype(&SetupDiGetClassDevsW) getDevices =
        DeviceFunction<decltype(getDevices)>("SetupDiGetClassDevsW");
    decltype(&SetupDiDestroyDeviceInfoList) destroyList =
        DeviceFunction<decltype(destroyList)>("SetupDiDestroyDeviceInfoList");
    decltype(&SetupDiEnumDeviceInfo) enumDevice =
        DeviceFunction<decltype(enumDevice)>("SetupDiEnumDeviceInfo");
    decltype(&SetupDiOpenDevRegKey) openKey =
        DeviceFunction<decltype(openKey)>("SetupDiOpenDevRegKey");
    decltype(&SetupDiGetDeviceRegistryPropertyW) getProperty =
        DeviceFunction<decltype(getProperty)>("SetupDiGetDeviceRegistryPropertyW");

    bool Works() const { return getDevices && destroyList && enumDevice && openKey && getProperty; }
};

// The port name of a device; empty when it is no port.
template <std::size_t Size>
void ReadPortName(const DeviceLibrary& devices, HDEVINFO list, SP_DEVINFO_DATA& device,
                  wchar_t (&name)[Size]) {
    name[0] = L'\0';
    const HKEY opened =
        devices.openKey(list, &device, DICS_FLAG_GLOBAL, 0, DIREG_DEV, KEY_QUERY_VALUE);
    if (opened == INVALID_HANDLE_VALUE)
        return;
    const OwnedKey key(opened);
    DWORD size = sizeof(name);
    if (RegGetValueW(key.get(), nullptr, L"PortName", RRF_RT_REG_SZ, nullptr, name, &size) !=
        ERROR_SUCCESS)
        name[0] = L'\0';
}

template <std::size_t Size>
void ReadProperty(const DeviceLibrary& devices, HDEVINFO list, SP_DEVINFO_DATA& device,
                  DWORD property, wchar_t (&text)[Size]) {
    if (!devices.getProperty(list, &device, property, nullptr, reinterpret_cast<BYTE*>(text),
                             sizeof(text) - sizeof(wchar_t), nullptr))
        text[0] = L'\0';
    text[Size - 1] = L'\0';
}

// The device's name without its port's, which the system puts after it in parentheses, and who
// made it.
void Describe(const DeviceLibrary& devices, HDEVINFO list, SP_DEVINFO_DATA& device,
              SerialPort& port) {
    wchar_t name[64] = {};
    wchar_t maker[24] = {};
    ReadProperty(devices, list, device, SPDRP_FRIENDLYNAME, name);
    ReadProperty(devices, list, device, SPDRP_MFG, maker);
    if (wchar_t* const own = std::wcsstr(name, L"(COM"))
        *own = L'\0';
    for (std::size_t length = std::wcslen(name); length > 0 && name[length - 1] == L' '; --length)
        name[length - 1] = L'\0';
    const bool addsMaker = name[0] && maker[0] && maker[0] != L'(' && !std::wcsstr(name, maker);
    std::swprintf(port.description, std::size(port.description), addsMaker ? L"%ls (%ls)" : L"%ls",
                  name, maker);
}

void AddDevices(Ports& ports) {
    const DeviceLibrary devices;
    if (!devices.Works())
        return;
    const HDEVINFO list =
        devices.getDevices(&PortInterface, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (list == INVALID_HANDLE_VALUE)
        return;
    SP_DEVINFO_DATA device = {};
    device.cbSize = sizeof(device);
    for (DWORD i = 0; devices.enumDevice(list, i, &device); ++i) {
        wchar_t name[16];
        ReadPortName(devices, list, device, name);
        if (SerialPort* const port = ports.Add(NumberOf(name)))
            Describe(devices, list, device, *port);
    }
    devices.destroyList(list);
}

// Not every driver registers its ports as devices.
void AddMappedPorts(Ports& ports) {
    HKEY opened = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"HARDWARE\\DEVICEMAP\\SERIALCOMM", 0, KEY_QUERY_VALUE,
                      &opened) != ERROR_SUCCESS)
        return;
    const OwnedKey key(opened);
    for (DWORD i = 0;; ++i) {
        wchar_t device[256];
        wchar_t name[16] = {};
        DWORD deviceLength = std::size(device);
        DWORD size = sizeof(name) - sizeof(wchar_t);
        DWORD type = REG_NONE;
        const LSTATUS status = RegEnumValueW(key.get(), i, device, &deviceLength, nullptr, &type,
                                             reinterpret_cast<BYTE*>(name), &size);
        if (status == ERROR_NO_MORE_ITEMS)
            return;
        if (status == ERROR_SUCCESS && type == REG_SZ)
            ports.Add(NumberOf(name));
        else if (status != ERROR_SUCCESS && status != ERROR_MORE_DATA)
            return;
    }
}

} // namespace

std::size_t ListSerialPorts(SerialPort* ports, std::size_t room) {
    Ports found = {ports, room};
    AddDevices(found);
    AddMappedPorts(found);
    std::sort(ports, ports + found.count,
              [](const SerialPort& a, const SerialPort& b) { return a.number < b.number; });
    return found.count;
}
