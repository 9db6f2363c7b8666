// A terminal's settings on their way between memory and its registry key.

#include "base/Owned.h"
#include "base/Text.h"
#include "settings/MusicSupport.h"
#include "settings/SettingsTable.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace {

using OwnedKey = Owned<HKEY, &RegCloseKey>;

OwnedKey OpenKey(const char* path) {
    HKEY key = nullptr;
    const LSTATUS status =
        RegCreateKeyExA(HKEY_CURRENT_USER, path, 0, nullptr, REG_OPTION_NON_VOLATILE,
                        KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return OwnedKey(status == ERROR_SUCCESS ? key : nullptr);
}

void WriteDwordSetting(HKEY key, const char* name, DWORD value) {
    RegSetValueExA(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

void WriteStringSetting(HKEY key, const char* name, const char* text) {
    RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                   static_cast<DWORD>(std::strlen(text) + 1));
}

// Without a key (null) both reads give the default and store nothing.
DWORD ReadDwordSetting(HKEY key, const char* name, DWORD fallback) {
    DWORD value = 0;
    DWORD type = REG_NONE;
    DWORD size = sizeof(value);
    if (key &&
        RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &size) ==
            ERROR_SUCCESS &&
        type == REG_DWORD && size == sizeof(value))
        return value;
    if (key)
        WriteDwordSetting(key, name, fallback);
    return fallback;
}

// The buffer ends up terminated and, behind the text, zero: the registry's bytes may hold NULs
// in the middle or none at the end.
void ReadStringSetting(HKEY key, const char* name, char* buffer, DWORD capacity,
                       const char* fallback) {
    DWORD type = REG_NONE;
    DWORD size = capacity;
    const bool usable = key &&
                        RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer),
                                         &size) == ERROR_SUCCESS &&
                        type == REG_SZ;
    if (!usable) {
        size = static_cast<DWORD>(std::min<std::size_t>(std::strlen(fallback), capacity - 1));
        std::memcpy(buffer, fallback, size);
        if (key)
            WriteStringSetting(key, name, fallback);
    }
    const std::size_t length = strnlen(buffer, std::min(size, capacity - 1));
    std::memset(buffer + length, 0, capacity - length);
}

char* FieldAt(TermSettings& settings, std::size_t offset) {
    return reinterpret_cast<char*>(&settings) + offset;
}

// Fields of 32 bits have several types, all of the same layout.
DWORD NumberAt(TermSettings& settings, std::size_t offset) {
    DWORD value = 0;
    std::memcpy(&value, FieldAt(settings, offset), sizeof(value));
    return value;
}

void StoreNumber(TermSettings& settings, std::size_t offset, DWORD value) {
    std::memcpy(FieldAt(settings, offset), &value, sizeof(value));
}

void ReadListHead(TransferBatch& batch, HKEY key, const Setting& setting) {
    char* list = batch.m_FileList;
    const DWORD size = batch.m_FileListSize;
    ReadStringSetting(key, setting.name, list, size, setting.text);
    list[size - 2] = '\0'; // the list's own end
}

// Names of a row's values.
struct MusicRowNames {
    char ext[40];
    char converter[40];
    char converterNewExt[40];
    char newExt[40];
    char command[40];

    explicit MusicRowNames(std::int32_t row) {
        const int index = row;
        FormatText(ext, "MusicSupportExt%d", index);
        FormatText(converter, "MusicSupportConverter%d", index);
        FormatText(converterNewExt, "MusicSupportConverterNewExt%d", index);
        FormatText(newExt, "MusicSupportNewExt%d", index);
        FormatText(command, "MusicSupportCommand%d", index);
    }
};

void ReadMusicRow(MusicRow& row, HKEY key, std::int32_t index, char* buffer) {
    const MusicRowNames names(index);
    const auto readText = [key, buffer](const char* name, char*& text) {
        ReadStringSetting(key, name, buffer, MusicTextRoom, "");
        SetMusicText(text, buffer);
    };
    readText(names.ext, row.ext);
    readText(names.converter, row.converter);
    row.converterNewExt = ReadDwordSetting(key, names.converterNewExt, 1);
    readText(names.newExt, row.newExt);
    readText(names.command, row.command);
}

void ReadMusicRows(TermSettings& settings, HKEY key) {
    const std::int32_t rows = std::clamp(settings.m_MusicSupportExt, 0, MostMusicRows);
    if (settings.m_MusicSupportCurExt < 0 || settings.m_MusicSupportCurExt >= rows)
        settings.m_MusicSupportCurExt = 0;
    settings.m_MusicSupportExt = 0; // the count that was read; there is no table yet
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[MusicTextRoom]);
    if (!buffer || !ResizeMusicSupport(settings, rows))
        return;
    for (std::int32_t row = 0; row < rows; ++row)
        ReadMusicRow(settings.m_MusicRows[row], key, row, buffer.get());
}

// What an ini file in the current folder adds to the rows.
void MergeIni(TermSettings& settings) {
    char folder[1000];
    char path[sizeof(folder) + sizeof("\\ZoConsole.ini")];
    const DWORD length = GetCurrentDirectoryA(sizeof(folder), folder);
    if (length > 0 && length < sizeof(folder) && FormatText(path, "%s\\ZoConsole.ini", folder))
        MergeMusicSupportIni(settings, path);
}

void WriteMusicRows(const TermSettings& settings, HKEY key) {
    for (std::int32_t i = 0; i < settings.m_MusicSupportExt; ++i) {
        const MusicRow& row = settings.m_MusicRows[i];
        const MusicRowNames names(i);
        WriteStringSetting(key, names.ext, MusicText(row.ext));
        WriteStringSetting(key, names.converter, MusicText(row.converter));
        WriteDwordSetting(key, names.converterNewExt, row.converterNewExt);
        WriteStringSetting(key, names.newExt, MusicText(row.newExt));
        WriteStringSetting(key, names.command, MusicText(row.command));
    }
}

void ReadSetting(TermSettings& settings, TransferBatch& batch, HKEY key, const Setting& setting) {
    const DWORD fallback = setting.computed ? setting.computed() : setting.number;
    switch (setting.kind) {
    case SettingKind::Dword:
        StoreNumber(settings, setting.field, ReadDwordSetting(key, setting.name, fallback));
        break;
    case SettingKind::Byte:
        *FieldAt(settings, setting.field) =
            static_cast<char>(ReadDwordSetting(key, setting.name, fallback));
        break;
    case SettingKind::Extent:
        StoreNumber(settings, setting.field,
                    NumberAt(settings, setting.base) +
                        ReadDwordSetting(key, setting.name, fallback));
        break;
    case SettingKind::Text:
        ReadStringSetting(key, setting.name, FieldAt(settings, setting.field), setting.capacity,
                          setting.text);
        break;
    case SettingKind::ListHead: ReadListHead(batch, key, setting); break;
    case SettingKind::MusicRows:
        ReadMusicRows(settings, key);
        if (key)
            MergeIni(settings);
        break;
    }
}

void WriteSetting(TermSettings& settings, const TransferBatch& batch, HKEY key,
                  const Setting& setting) {
    switch (setting.kind) {
    case SettingKind::Dword:
        WriteDwordSetting(key, setting.name, NumberAt(settings, setting.field));
        break;
    case SettingKind::Byte:
        WriteDwordSetting(key, setting.name, static_cast<BYTE>(*FieldAt(settings, setting.field)));
        break;
    case SettingKind::Extent:
        WriteDwordSetting(key, setting.name,
                          NumberAt(settings, setting.field) - NumberAt(settings, setting.base));
        break;
    case SettingKind::Text:
        WriteStringSetting(key, setting.name, FieldAt(settings, setting.field));
        break;
    case SettingKind::ListHead: WriteStringSetting(key, setting.name, batch.m_FileList); break;
    case SettingKind::MusicRows: WriteMusicRows(settings, key); break;
    }
}

// "Command0" to "Command9".
struct HistoryName {
    char text[16] = "Command0";
    explicit HistoryName(std::uint32_t index) {
        text[std::strlen(text) - 1] = static_cast<char>('0' + index);
    }
};

} // namespace

void ZoTerm::LoadSettings() {
    const OwnedKey key = OpenKey(m_RegKeyPath);
    Settings.m_Font = {};
    for (const Setting* setting : ReadingOrder())
        ReadSetting(Settings, Batch, key.get(), *setting);
}

void ZoTerm::LoadCommandHistory() {
    const OwnedKey key = OpenKey(m_RegKeyPath);
    if (!key)
        return;
    for (std::uint32_t i = 0; i < HistoryLines; ++i) {
        char line[LineRoom];
        ReadStringSetting(key.get(), HistoryName(i).text, line, LineRoom, "");
        if (!line[0])
            return;
        SendMessageA(m_hCommand, CB_INSERTSTRING, i, reinterpret_cast<LPARAM>(line));
    }
}

void ZoTerm::SaveSettings() {
    const OwnedKey key = OpenKey(m_RegKeyPath);
    if (!key)
        return;
    if (Settings.m_PortNumber == 0)
        Settings.m_PortNumber = WantedPort();
    for (const Setting* setting : SavingOrder())
        WriteSetting(Settings, Batch, key.get(), *setting);

    const auto count = SendMessageA(m_hCommand, CB_GETCOUNT, 0, 0);
    for (std::uint32_t i = 0; i < HistoryLines && static_cast<LRESULT>(i) < count; ++i) {
        char line[2 * LineRoom] = {}; // a length may be announced twice as large as it is
        if (SendMessageA(m_hCommand, CB_GETLBTEXTLEN, i, 0) >= static_cast<LRESULT>(sizeof(line)))
            continue;
        SendMessageA(m_hCommand, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(line));
        if (std::strlen(line) < LineRoom)
            WriteStringSetting(key.get(), HistoryName(i).text, line);
    }
}
