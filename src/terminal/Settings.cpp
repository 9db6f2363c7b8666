// A terminal's registry key: the settings, the first file of its list, and the command box's
// lines.

#include "base/Text.h"
#include "settings/SettingsStore.h"
#include "terminal/ZoTerm.h"

#include <cstring>

void ZoTerm::LoadSettings() {
    ::LoadSettings(m_RegKeyPath, Settings, Batch.m_FileList, Batch.m_FileListSize);
}

void ZoTerm::LoadCommandHistory() {
    CommandHistory history;
    ::LoadCommandHistory(m_RegKeyPath, history);
    for (std::uint32_t i = 0; i < history.count; ++i)
        SendMessageA(m_hCommand, CB_INSERTSTRING, i, reinterpret_cast<LPARAM>(history.lines[i]));
}

void ZoTerm::SaveSettings() {
    if (Settings.m_PortNumber == 0)
        Settings.m_PortNumber = WantedPort();
    CommandHistory history;
    const LRESULT count = SendMessageA(m_hCommand, CB_GETCOUNT, 0, 0);
    for (std::uint32_t i = 0; i < HistoryLines && static_cast<LRESULT>(i) < count; ++i) {
        char line[2 * LineRoom] = {}; // a length may be announced twice as large as it is
        history.count = i + 1;
        if (SendMessageA(m_hCommand, CB_GETLBTEXTLEN, i, 0) >= static_cast<LRESULT>(sizeof(line)))
            continue;
        SendMessageA(m_hCommand, CB_GETLBTEXT, i, reinterpret_cast<LPARAM>(line));
        if (std::strlen(line) < LineRoom)
            CopyText(history.lines[i], line);
    }
    ::SaveSettings(m_RegKeyPath, Settings, Batch.m_FileList, history);
}
