#include "settings/SettingsStore.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "settings/MusicSupport.h"
#include "settings/SettingsTable.h"
#include "settings/TermSettings.h"

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

// The first file of the batch's list, a list itself.
struct SendFile {
    char* list;
    DWORD room;
};

void ReadSendFile(const SendFile& file, HKEY key, const Setting& setting) {
    ReadStringSetting(key, setting.name, file.list, file.room, "");
    file.list[file.room - 2] = '\0'; // the list's own end
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
    settings.m_MusicSupportExt = 0; // only the count has been read: no table yet
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[MusicTextRoom]);
    if (!buffer || !ResizeMusicSupport(settings, rows))
        return;
    for (std::int32_t row = 0; row < rows; ++row)
        ReadMusicRow(settings.m_MusicRows[row], key, row, buffer.get());
}

// Adds the rows of an ini file in the current folder.
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

void ReadSetting(TermSettings& settings, const SendFile& file, HKEY key, const Setting& setting) {
    switch (setting.kind) {
    case SettingKind::Number: {
        const DWORD fallback = setting.computed ? setting.computed() : setting.number;
        setting.set(settings, ReadDwordSetting(key, setting.name, fallback));
        break;
    }
    case SettingKind::Text:
        ReadStringSetting(key, setting.name, setting.chars(settings), setting.capacity,
                          setting.text);
        break;
    case SettingKind::ListHead: ReadSendFile(file, key, setting); break;
    case SettingKind::MusicRows:
        ReadMusicRows(settings, key);
        if (key)
            MergeIni(settings);
        break;
    }
}

void WriteSetting(TermSettings& settings, const char* sendFile, HKEY key, const Setting& setting) {
    switch (setting.kind) {
    case SettingKind::Number: WriteDwordSetting(key, setting.name, setting.get(settings)); break;
    case SettingKind::Text: WriteStringSetting(key, setting.name, setting.chars(settings)); break;
    case SettingKind::ListHead: WriteStringSetting(key, setting.name, sendFile); break;
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

void LoadSettings(const char* keyPath, TermSettings& settings, char* sendFile, std::uint32_t room) {
    const OwnedKey key = OpenKey(keyPath);
    settings.m_Font = {};
    for (const Setting* setting : ReadingOrder())
        ReadSetting(settings, {sendFile, room}, key.get(), *setting);
}

void SaveSettings(const char* keyPath, TermSettings& settings, const char* sendFile,
                  const CommandHistory& history) {
    const OwnedKey key = OpenKey(keyPath);
    if (!key)
        return;
    for (const Setting* setting : SavingOrder())
        WriteSetting(settings, sendFile, key.get(), *setting);
    for (std::uint32_t i = 0; i < history.count; ++i)
        if (history.lines[i][0])
            WriteStringSetting(key.get(), HistoryName(i).text, history.lines[i]);
}

void LoadCommandHistory(const char* keyPath, CommandHistory& history) {
    history.count = 0;
    const OwnedKey key = OpenKey(keyPath);
    if (!key)
        return;
    for (char(&line)[CommandHistory::LineRoom] : history.lines) {
        ReadStringSetting(key.get(), HistoryName(history.count).text, line, sizeof(line), "");
        if (!line[0])
            return;
        ++history.count;
    }
}
