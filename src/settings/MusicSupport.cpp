#include "settings/MusicSupport.h"

#include "terminal/ZoTerm.h"

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
