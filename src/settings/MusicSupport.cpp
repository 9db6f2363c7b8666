#include "settings/MusicSupport.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "settings/TermSettings.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace {

void FreeTable(TermSettings& settings) {
    for (std::int32_t i = 0; settings.m_MusicRows && i < settings.m_MusicSupportExt; ++i) {
        const MusicRow& row = settings.m_MusicRows[i];
        for (char* text : {row.ext, row.converter, row.newExt, row.command})
            std::free(text);
    }
    std::free(settings.m_MusicRows);
    settings.m_MusicRows = nullptr;
    settings.m_MusicSupportExt = 0;
}

bool AppendRow(TermSettings& settings) {
    const std::int32_t rows = settings.m_MusicSupportExt;
    if (rows >= MostMusicRows)
        return false;
    const auto size = static_cast<std::size_t>(rows + 1) * sizeof(MusicRow);
    auto* const grown = static_cast<MusicRow*>(std::realloc(settings.m_MusicRows, size));
    if (!grown)
        return false;
    grown[rows] = {};
    settings.m_MusicRows = grown;
    ++settings.m_MusicSupportExt;
    return true;
}

constexpr char Section[] = "Music Support";
constexpr std::size_t IniTextRoom = 1000;
constexpr int LeaveAsItIs = 2;

// The values of the section; the names of a row's values end in its number.
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
std::int32_t FindRow(const TermSettings& settings, const char* ext) {
    std::int32_t row = 0;
    while (row < settings.m_MusicSupportExt &&
           std::strcmp(MusicText(settings.m_MusicRows[row].ext), ext) != 0)
        ++row;
    return row;
}

void MergeRow(TermSettings& settings, IniSection& ini, std::int32_t iniRow) {
    const char* const ext = ini.Text("MusicSupportExt", iniRow);
    if (!ext[0])
        return;
    const std::int32_t found = FindRow(settings, ext);
    if (found == settings.m_MusicSupportExt && !AppendRow(settings))
        return;
    MusicRow& row = settings.m_MusicRows[found];
    SetMusicText(row.ext, ext);
    SetMusicText(row.converter, ini.Text("MusicSupportConverter", iniRow));
    row.converterNewExt =
        static_cast<std::uint32_t>(ini.Number("MusicSupportConverterNewExt", iniRow, 1));
    SetMusicText(row.newExt, ini.Text("MusicSupportNewExt", iniRow));
    SetMusicText(row.command, ini.Text("MusicSupportCommand", iniRow));
}

} // namespace

TermSettings::~TermSettings() {
    FreeTable(*this);
}

bool ResizeMusicSupport(TermSettings& settings, std::int32_t rows) {
    FreeTable(settings);
    if (rows <= 0)
        return true;
    settings.m_MusicRows =
        static_cast<MusicRow*>(std::calloc(static_cast<std::size_t>(rows), sizeof(MusicRow)));
    if (!settings.m_MusicRows)
        return false;
    settings.m_MusicSupportExt = rows;
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

void MergeMusicSupportIni(TermSettings& settings, const char* path) {
    IniSection ini(path);
    const int use = ini.Number("MusicSupport", LeaveAsItIs);
    if (use >= LeaveAsItIs)
        return;
    settings.m_MusicSupport = use > 0 ? 1 : 0;
    const int rows = std::min(ini.Number("MusicSupportExt", 0), MostMusicRows);
    for (std::int32_t row = 0; row < rows; ++row)
        MergeRow(settings, ini, row);
}
