#pragma once

// File names on their way between the system, whose characters are wide, and the program, whose
// texts are 8-bit in the system's code page. Every name from the system comes through these.

#include <windows.h>

#include <cstddef>

// How a name may be spelled. A short name opens the file, but does not serve as its name on the
// device.
enum class Spelling { Exact, MayBeShort };

// Writes the full path of `path` in 8 bits. Folders that the code page cannot spell get their short
// names, the file itself only with MayBeShort. False when the result opens no file: then it is for
// display, with a '?' for each character that the code page lacks.
bool NarrowPath(const wchar_t* path, Spelling spelling, char (&narrow)[MAX_PATH]);

// Writes a path in wide characters, with long names in place of short ones. Empty when it is too
// long.
void WidenPath(const char* path, wchar_t (&wide)[MAX_PATH]);

// A packed list of paths that grows.
class PathList {
public:
    PathList() = default;
    ~PathList();
    PathList(const PathList&) = delete;
    PathList& operator=(const PathList&) = delete;

    // Appends a path as NarrowPath spells it, even if it opens no file; skips an empty one. False
    // without memory.
    bool Add(const wchar_t* path);

    const char* List() const { return m_List ? m_List : ""; }
    std::size_t Size() const { return m_Size; } // bytes, the empty string at its end included
    std::size_t Count() const { return m_Count; }

private:
    bool AddLong(const wchar_t* path);
    bool Append(const char* narrow);

    char* m_List = nullptr;
    std::size_t m_Size = 1;
    std::size_t m_Count = 0;
};
