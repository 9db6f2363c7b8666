#include "settings/MusicSupport.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "link/codec/PackedList.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

void FreeColumn(char**& column, std::int32_t rows) {
    for (std::int32_t i = 0; column && i < rows; ++i)
        std::free(column[i]);
    std::free(column);
    column = nullptr;
}

void FreeTable(ZoTerm& terminal) {
    for (char*** column : {&terminal.m_MusicSupportExts, &terminal.m_MusicSupportConverters,
                           &terminal.m_MusicSupportNewExts, &terminal.m_MusicSupportCommands})
        FreeColumn(*column, terminal.m_MusicSupportExt);
    std::free(terminal.m_MusicSupportConverterNewExts);
    terminal.m_MusicSupportConverterNewExts = nullptr;
    terminal.m_MusicSupportExt = 0;
}

template <typename Entry> bool MakeColumn(Entry*& column, std::int32_t rows) {
    column = static_cast<Entry*>(std::calloc(static_cast<std::size_t>(rows), sizeof(Entry)));
    return column != nullptr;
}

template <typename Entry> bool GrowColumn(Entry*& column, std::int32_t rows) {
    const auto size = static_cast<std::size_t>(rows + 1) * sizeof(Entry);
    auto* grown = static_cast<Entry*>(std::realloc(column, size));
    if (!grown)
        return false;
    column = grown;
    column[rows] = Entry();
    return true;
}

bool AppendRow(ZoTerm& terminal) {
    const std::int32_t rows = terminal.m_MusicSupportExt;
    if (rows >= MostMusicRows || !GrowColumn(terminal.m_MusicSupportExts, rows) ||
        !GrowColumn(terminal.m_MusicSupportConverters, rows) ||
        !GrowColumn(terminal.m_MusicSupportConverterNewExts, rows) ||
        !GrowColumn(terminal.m_MusicSupportNewExts, rows) ||
        !GrowColumn(terminal.m_MusicSupportCommands, rows))
        return false;
    ++terminal.m_MusicSupportExt;
    return true;
}

constexpr char Section[] = "Music Support";
constexpr std::size_t IniTextRoom = 1000;
constexpr int LeaveAsItIs = 2;

// The values of the section; those of a row have its number behind their name.
class IniSection {
public:
    explicit IniSection(const char* path) : m_Path(path) {}

    int Number(const char* key, int fallback) const {
        return static_cast<int>(GetPrivateProfileIntA(Section, key, fallback, m_Path));
    }
    int Number(const char* key, std::int32_t row, int fallback) const {
        return Number(RowKey(key, row).text, fallback);
    }
    const char* Text(const char* key, std::int32_t row) {
        GetPrivateProfileStringA(Section, RowKey(key, row).text, "", m_Text, IniTextRoom, m_Path);
        return m_Text; // until the next one
    }

private:
    struct RowKey {
        char text[48];
        RowKey(const char* key, std::int32_t row) {
            FormatText(text, "%s%d", key, static_cast<int>(row));
        }
    };

    const char* m_Path;
    char m_Text[IniTextRoom] = {};
};

// The first row with exactly this extension; the number of rows when there is none.
std::int32_t FindRow(const ZoTerm& terminal, const char* ext) {
    std::int32_t row = 0;
    while (row < terminal.m_MusicSupportExt &&
           std::strcmp(MusicText(terminal.m_MusicSupportExts[row]), ext) != 0)
        ++row;
    return row;
}

void MergeRow(ZoTerm& terminal, IniSection& ini, std::int32_t iniRow) {
    const char* const ext = ini.Text("MusicSupportExt", iniRow);
    if (!ext[0])
        return;
    const std::int32_t row = FindRow(terminal, ext);
    if (row == terminal.m_MusicSupportExt && !AppendRow(terminal))
        return;
    SetMusicText(terminal.m_MusicSupportExts[row], ext);
    SetMusicText(terminal.m_MusicSupportConverters[row], ini.Text("MusicSupportConverter", iniRow));
    terminal.m_MusicSupportConverterNewExts[row] =
        static_cast<std::uint32_t>(ini.Number("MusicSupportConverterNewExt", iniRow, 1));
    SetMusicText(terminal.m_MusicSupportNewExts[row], ini.Text("MusicSupportNewExt", iniRow));
    SetMusicText(terminal.m_MusicSupportCommands[row], ini.Text("MusicSupportCommand", iniRow));
}

// True when the path ends with a dot and the extension, in any letter case.
bool HasExtension(const char* path, const char* ext) {
    const std::size_t length = std::strlen(path);
    const std::size_t extLength = std::strlen(ext);
    return length > extLength && path[length - extLength - 1] == '.' &&
           lstrcmpiA(path + length - extLength, ext) == 0;
}

std::int32_t MatchingRow(const ZoTerm& terminal, const char* path) {
    for (std::int32_t row = 0; row < terminal.m_MusicSupportExt; ++row)
        if (HasExtension(path, MusicText(terminal.m_MusicSupportExts[row])))
            return row;
    return -1;
}

// True when the path stays one argument between quotes: a quote would end it, and a backslash
// before the closing quote would make that one a part of it.
bool StaysOneArgument(const char* path) {
    return !std::strchr(path, '"') && path[0] && path[std::strlen(path) - 1] != '\\';
}

// A list of a file that cannot exist, under the name of the file that cannot be converted.
template <std::size_t Size> void MakeMissing(char (&output)[Size], const char* source) {
    FormatText(output, "?\\%s", BaseName(source));
    EndAsList(output);
}

// Waits for the program that a command line starts. One that does not start is as one that fails.
void RunConverter(char* commandLine) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, commandLine, nullptr, nullptr, FALSE, CREATE_DEFAULT_ERROR_MODE,
                        nullptr, nullptr, &startup, &process))
        return;
    const OwnedHandle thread(process.hThread);
    const OwnedHandle running(process.hProcess);
    WaitForSingleObject(running.get(), INFINITE);
}

} // namespace

bool ResizeMusicSupport(ZoTerm& terminal, std::int32_t rows) {
    FreeTable(terminal);
    if (rows <= 0)
        return true;
    const bool made = MakeColumn(terminal.m_MusicSupportExts, rows) &&
                      MakeColumn(terminal.m_MusicSupportConverters, rows) &&
                      MakeColumn(terminal.m_MusicSupportConverterNewExts, rows) &&
                      MakeColumn(terminal.m_MusicSupportNewExts, rows) &&
                      MakeColumn(terminal.m_MusicSupportCommands, rows);
    if (!made) {
        FreeTable(terminal);
        return false;
    }
    terminal.m_MusicSupportExt = rows;
    return true;
}

void SetMusicText(char*& entry, const char* text) {
    const std::size_t size = std::strlen(text) + 1;
    auto* copy = static_cast<char*>(std::malloc(size));
    if (!copy)
        return;
    std::memcpy(copy, text, size);
    std::free(entry);
    entry = copy;
}

const char* MusicText(const char* entry) {
    return entry ? entry : "";
}

void MergeMusicSupportIni(ZoTerm& terminal, const char* path) {
    IniSection ini(path);
    const int use = ini.Number("MusicSupport", LeaveAsItIs);
    if (use >= LeaveAsItIs)
        return;
    terminal.m_MusicSupport = use > 0 ? 1 : 0;
    const int rows = std::min(ini.Number("MusicSupportExt", 0), MostMusicRows);
    for (std::int32_t row = 0; row < rows; ++row)
        MergeRow(terminal, ini, row);
}

bool ZoTerm::ConvertFile(const char* source, char (&output)[ConvertedFileRoom]) {
    if (!m_MusicSupport)
        return false;
    const std::int32_t row = MatchingRow(*this, source);
    m_MusicSupportCurrentExtention = row;
    if (row < 0)
        return false;
    const std::size_t stem = std::strlen(source) - std::strlen(MusicText(m_MusicSupportExts[row]));
    const char* const converter = MusicText(m_MusicSupportConverters[row]);
    char commandLine[ConvertedFileRoom];
    const bool fits =
        FormatText(output, "%.*s%s", static_cast<int>(std::min(stem, ConvertedFileRoom)), source,
                   MusicText(m_MusicSupportNewExts[row])) &&
        std::strlen(output) + 2 <= ConvertedFileRoom &&
        (m_MusicSupportConverterNewExts[row]
             ? FormatText(commandLine, "%s \"%s\" \"%s\"", converter, source, output)
             : FormatText(commandLine, "%s \"%s\"", converter, source));
    if (!fits || !StaysOneArgument(source) || !StaysOneArgument(output)) {
        MakeMissing(output, source);
        return true;
    }
    EndAsList(output);
    if (converter[std::strspn(converter, " \t")]) // else the source itself would be started
        RunConverter(commandLine);
    return true;
}
