#pragma once

// The settings of a terminal: one record each, in the order of reading, and the order of saving.

#include <windows.h>

#include <cstddef>

enum class SettingKind {
    Dword,    // a 32-bit field
    Byte,     // an 8-bit field; the low byte of the stored value
    Extent,   // a 32-bit field stored as its distance from `base`
    Text,     // a char array of `capacity` bytes
    ListHead, // no field: the first entry of the batch's list
    MusicRows // no value of its own: the place of the music-support table's rows
};

struct Setting {
    const char* name;
    SettingKind kind;
    std::size_t field = 0;         // offset in TermSettings
    DWORD number = 0;              // default of a number
    DWORD (*computed)() = nullptr; // gives the default instead, where the system decides it
    const char* text = "";         // default of a text
    DWORD capacity = 0;            // of a text, in bytes with the NUL
    std::size_t base = 0;          // offset in TermSettings, of an extent
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
