// Which file goes through which converter, and under which command line.

#include "base/Text.h"
#include "link/codec/PathName.h"
#include "settings/MusicSupport.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstring>

namespace {

// True when the path ends with a dot and the extension, in any letter case.
bool HasExtension(const char* path, const char* ext) {
    const std::size_t length = std::strlen(path);
    const std::size_t extLength = std::strlen(ext);
    return length > extLength && path[length - extLength - 1] == '.' &&
           lstrcmpiA(path + length - extLength, ext) == 0;
}

std::int32_t MatchingRow(const TermSettings& settings, const char* path) {
    for (std::int32_t row = 0; row < settings.m_MusicSupportExt; ++row)
        if (HasExtension(path, MusicText(settings.m_MusicRows[row].ext)))
            return row;
    return -1;
}

// True when the path stays one argument between quotes: a quote would end it, and a backslash at
// its end would escape the closing quote.
bool StaysOneArgument(const char* path) {
    return !std::strchr(path, '"') && *BaseName(path);
}

// A list of a file that cannot exist, under the name of the file that cannot be converted.
template <std::size_t Size> void MakeMissing(char (&output)[Size], const char* source) {
    FormatText(output, "|\\%s", BaseName(source));
    EndAsList(output);
}

} // namespace

bool ZoTerm::ConvertFile(const char* source, char (&output)[ConvertedFileRoom],
                         char (&commandLine)[ConvertedFileRoom]) {
    commandLine[0] = '\0';
    if (!Settings.m_MusicSupport)
        return false;
    const std::int32_t row = MatchingRow(Settings, source);
    m_MusicSupportCurrentExtention = row;
    if (row < 0)
        return false;
    const MusicRow& music = Settings.m_MusicRows[row];
    const std::size_t stem = std::strlen(source) - std::strlen(MusicText(music.ext));
    const char* const converter = MusicText(music.converter);
    const bool fits =
        FormatText(output, "%.*s%s", static_cast<int>(std::min(stem, ConvertedFileRoom)), source,
                   MusicText(music.newExt)) &&
        std::strlen(output) + 2 <= ConvertedFileRoom &&
        (music.converterNewExt
             ? FormatText(commandLine, "%s \"%s\" \"%s\"", converter, source, output)
             : FormatText(commandLine, "%s \"%s\"", converter, source));
    if (!fits || !StaysOneArgument(source) || !StaysOneArgument(output)) {
        MakeMissing(output, source);
        commandLine[0] = '\0';
        return true;
    }
    EndAsList(output);
    if (!converter[std::strspn(converter, " \t")]) // CreateProcess would start the source itself
        commandLine[0] = '\0';
    return true;
}
