#include "base/FileNames.h"

#include "base/Text.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>

namespace {

constexpr char Unspellable = '?'; // not in any path but in the prefix of a verbatim one
constexpr wchar_t ShortNameMark = L'~';

using WidePath = wchar_t[MAX_PATH];

// True when the text fits and the code page spells it exactly, so that it converts back to itself.
// This works for every code page, and rejects look-alikes.
bool Spell(const wchar_t* wide, char (&narrow)[MAX_PATH]) {
    WidePath back;
    return WideCharToMultiByte(CP_ACP, 0, wide, -1, narrow, MAX_PATH, nullptr, nullptr) > 0 &&
           MultiByteToWideChar(CP_ACP, 0, narrow, -1, back, MAX_PATH) > 0 &&
           std::wcscmp(wide, back) == 0;
}

bool SpellShort(const wchar_t* path, char (&narrow)[MAX_PATH]) {
    WidePath shortPath;
    const DWORD length = GetShortPathNameW(path, shortPath, MAX_PATH);
    return length > 0 && length < MAX_PATH && Spell(shortPath, narrow);
}

const wchar_t* WideBaseName(const wchar_t* path) {
    const wchar_t* const backslash = std::wcsrchr(path, L'\\');
    return backslash ? backslash + 1 : path;
}

// The folder by its short names, the file by its own.
bool SpellFolderShort(const wchar_t* path, char (&narrow)[MAX_PATH]) {
    const wchar_t* const name = WideBaseName(path);
    const auto length = static_cast<std::size_t>(name - path);
    WidePath folder = {};
    char spelledFolder[MAX_PATH];
    char spelledName[MAX_PATH];
    if (length >= MAX_PATH)
        return false;
    std::copy_n(path, length, folder);
    return Spell(name, spelledName) && SpellShort(folder, spelledFolder) &&
           FormatText(narrow, "%s%s", spelledFolder, spelledName);
}

// Takes only a short name that the system generated: one that a user chose is a different name.
bool SpellMadeUpName(const wchar_t* path, char (&narrow)[MAX_PATH]) {
    WidePath shortPath;
    const DWORD length = GetShortPathNameW(path, shortPath, MAX_PATH);
    return length > 0 && length < MAX_PATH && std::wcschr(WideBaseName(shortPath), ShortNameMark) &&
           Spell(shortPath, narrow);
}

// Converts character by character, to keep look-alikes out. Appends an Unspellable if the text has
// none, so that it opens no file.
void ShowPath(const wchar_t* path, char (&narrow)[MAX_PATH]) {
    constexpr int LongestCharacter = 8; // bytes
    std::size_t length = 0;
    bool marked = false;
    for (const wchar_t* at = path; *at && length + LongestCharacter + 1 < MAX_PATH;) {
        const bool pair = IS_SURROGATE_PAIR(at[0], at[1]);
        const wchar_t character[] = {at[0], pair ? at[1] : L'\0', L'\0'};
        char spelled[MAX_PATH];
        const bool known = Spell(character, spelled);
        marked = marked || !known;
        for (const char* byte = known ? spelled : "?"; *byte; ++byte)
            narrow[length++] = *byte;
        at += pair ? 2 : 1;
    }
    if (!marked)
        narrow[length++] = Unspellable;
    narrow[length] = '\0';
}

} // namespace

bool NarrowPath(const wchar_t* path, Spelling spelling, char (&narrow)[MAX_PATH]) {
    WidePath full;
    const DWORD length = GetFullPathNameW(path, MAX_PATH, full, nullptr);
    if (length > 0 && length < MAX_PATH &&
        (Spell(full, narrow) || SpellFolderShort(full, narrow) ||
         (spelling == Spelling::MayBeShort && SpellMadeUpName(full, narrow))))
        return true;
    ShowPath(length > 0 && length < MAX_PATH ? full : path, narrow);
    return false;
}

void WidenPath(const char* path, wchar_t (&wide)[MAX_PATH]) {
    WidePath known;
    if (MultiByteToWideChar(CP_ACP, 0, path, -1, known, MAX_PATH) == 0)
        known[0] = L'\0';
    const bool mayBeShort = std::wcschr(known, ShortNameMark) != nullptr;
    const DWORD length = mayBeShort ? GetLongPathNameW(known, wide, MAX_PATH) : 0;
    if (length == 0 || length >= MAX_PATH)
        std::copy(std::begin(known), std::end(known), wide);
}

PathList::~PathList() {
    std::free(m_List);
}

bool PathList::Add(const wchar_t* path) {
    if (!*path)
        return true;
    if (GetFullPathNameW(path, 0, nullptr, nullptr) > MAX_PATH)
        return AddLong(path);
    char narrow[MAX_PATH];
    NarrowPath(path, Spelling::MayBeShort, narrow);
    return Append(narrow);
}

// Keeps a path that is too long to be opened whole, for display.
bool PathList::AddLong(const wchar_t* path) {
    const DWORD room = GetFullPathNameW(path, 0, nullptr, nullptr);
    const std::unique_ptr<wchar_t[]> full(new (std::nothrow) wchar_t[room]);
    if (!full || GetFullPathNameW(path, room, full.get(), nullptr) >= room)
        return false;
    const int size = WideCharToMultiByte(CP_ACP, 0, full.get(), -1, nullptr, 0, nullptr, nullptr);
    const std::unique_ptr<char[]> narrow(new (std::nothrow) char[static_cast<std::size_t>(size)]);
    return narrow &&
           WideCharToMultiByte(CP_ACP, 0, full.get(), -1, narrow.get(), size, nullptr, nullptr) &&
           Append(narrow.get());
}

bool PathList::Append(const char* narrow) {
    const std::size_t size = std::strlen(narrow) + 1;
    auto* const grown = static_cast<char*>(std::realloc(m_List, m_Size + size));
    if (!grown)
        return false;
    m_List = grown;
    std::memcpy(m_List + m_Size - 1, narrow, size);
    m_Size += size;
    m_List[m_Size - 1] = '\0';
    ++m_Count;
    return true;
}
