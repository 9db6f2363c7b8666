#pragma once

// A terminal's settings on their way between memory and its registry key under HKEY_CURRENT_USER.
// GUI thread. When the key cannot be opened, loading gives the defaults and saving does nothing.

#include <cstddef>
#include <cstdint>

struct TermSettings;

// The command box's history, the latest line first.
struct CommandHistory {
    static constexpr std::uint32_t Most = 10;
    static constexpr std::size_t LineRoom = 256; // bytes of a line with its NUL

    char lines[Most][LineRoom] = {};
    std::uint32_t count = 0;
};

// Loads every setting; a missing or unusable value becomes its default, in memory and in the key.
// The first file of the last batch goes into `sendFile`, a packed list of `room` bytes.
void LoadSettings(const char* keyPath, TermSettings& settings, char* sendFile, std::uint32_t room);

// Saves every setting, the first file of `sendFile` and the history. Leaves the key's values of
// empty lines and of lines beyond `count` as they are.
void SaveSettings(const char* keyPath, TermSettings& settings, const char* sendFile,
                  const CommandHistory& history);

// Loads the history, up to its first empty line.
void LoadCommandHistory(const char* keyPath, CommandHistory& history);
