#pragma once

// The settings of a terminal: one record each, in the order of reading, and the order of saving.

#include <windows.h>

struct TermSettings;

enum class SettingKind {
    Number,    // a number of 32 bits, which `get` and `set` fetch and store
    Text,      // a char array of `capacity` bytes, which `chars` finds
    ListHead,  // no field: the first entry of the batch's list
    MusicRows, // no value of its own: the place of the music-support table's rows
};

struct Setting {
    const char* name;
    SettingKind kind;
    DWORD number = 0;              // default of a number
    DWORD (*computed)() = nullptr; // gives the default instead, where the system decides it
    DWORD (*get)(const TermSettings& settings) = nullptr;
    void (*set)(TermSettings& settings, DWORD value) = nullptr;
    const char* text = ""; // default of a text
    DWORD capacity = 0;    // of a text, in bytes with the NUL
    char* (*chars)(TermSettings& settings) = nullptr;
};

// A walk over settings in one of the two orders.
struct SettingOrder {
    const Setting* const* first;
    const Setting* const* last; // one beyond
    const Setting* const* begin() const { return first; }
    const Setting* const* end() const { return last; }
};

SettingOrder ReadingOrder();
SettingOrder SavingOrder();
