// Macros: an ini file, each section of which is an item of the Macros menu. Choosing one sends the
// section's lines to the device.

#include "base/Text.h"
#include "batch/PackedList.h"
#include "resources/resource.h"
#include "terminal/FileDialog.h"
#include "terminal/ModalScope.h"
#include "terminal/Sounds.h"
#include "terminal/TopMenu.h"
#include "terminal/ZoTerm.h"

#include <cstring>

namespace {

constexpr wchar_t MacrosFiles[] = L"Macros Files (*.txt)\0*.txt\0All Files (*.*)\0*.*\0";
constexpr UINT Separator = 1;          // its place in the Macros menu, behind Load Macros
constexpr unsigned KeyedItems = 10;    // items with a key, Alt+1 to Alt+9 and Alt+0
constexpr std::size_t LabelRoom = 256; // characters of an item's label
constexpr std::size_t KeyRoom = 8;     // of them for the key
constexpr unsigned MostItems = CMD_MACRO_LAST - CMD_MACRO_FIRST + 1;

// The file's full path, since the ini functions look for a bare name in the system's folder. False
// when there is no such file.
bool FindMacrosFile(const char* file, char (&path)[MAX_PATH]) {
    const DWORD length = GetFullPathNameA(file, MAX_PATH, path, nullptr);
    if (length == 0 || length >= MAX_PATH)
        return false;
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && !(attributes & FILE_ATTRIBUTE_DIRECTORY);
}

// The ini functions' lists end here, whatever they cut.
template <std::size_t Size> void EndList(char (&list)[Size]) {
    list[Size - 2] = list[Size - 1] = '\0';
}

// A section's name as a menu shows it: an ampersand is doubled, or it would underline what
// follows; a tab, which would pass for the one before the key, becomes a space.
void FormatLabel(char (&label)[LabelRoom], const char* name, unsigned item) {
    char shown[LabelRoom - KeyRoom];
    std::size_t length = 0;
    for (; *name && length + 2 < sizeof(shown); ++name) {
        if (*name == '&')
            shown[length++] = '&';
        shown[length++] = static_cast<unsigned char>(*name) < ' ' ? ' ' : *name;
    }
    shown[length] = '\0';
    if (item < KeyedItems)
        FormatText(label, "%s\tAlt+%u", shown, (item + 1) % KeyedItems);
    else
        CopyText(label, shown);
}

// Removes the items of an earlier file, and the separator before them.
void RemoveItems(HMENU menu) {
    for (UINT item = 0; item < MostItems; ++item)
        if (!RemoveMenu(menu, CMD_MACRO_FIRST + item, MF_BYCOMMAND))
            break;
    RemoveMenu(menu, Separator, MF_BYPOSITION);
}

} // namespace

bool ZoTerm::ChooseMacrosFile() {
    OPENFILENAMEW dialog = FileDialog(m_hWnd, L"Load Macros", MacrosFiles);
    dialog.lpstrDefExt = L"TXT";
    dialog.Flags |= OFN_FILEMUSTEXIST;
    const ModalScope scope(*this);
    const Choice choice =
        ChoosePath(dialog, &GetOpenFileNameW, Spelling::MayBeShort, Settings.m_MacrosFile);
    if (choice == Choice::Unspellable)
        SetStatusText("Wrong file name");
    return choice == Choice::Made;
}

bool ZoTerm::BuildMacrosMenu() {
    const HMENU menu = GetSubMenu(GetMenu(m_hWnd), MacrosMenu);
    RemoveItems(menu);
    m_MacroNames[0] = '\0';
    char path[MAX_PATH];
    if (!FindMacrosFile(Settings.m_MacrosFile, path))
        return false;
    GetPrivateProfileSectionNamesA(m_MacroNames, sizeof(m_MacroNames), path);
    EndList(m_MacroNames);

    unsigned item = 0;
    for (const char* name = m_MacroNames; *name && item < MostItems; name = NextName(name)) {
        if (item == 0)
            AppendMenuA(menu, MF_SEPARATOR, 0, nullptr);
        char label[LabelRoom];
        FormatLabel(label, name, item);
        AppendMenuA(menu, MF_STRING, CMD_MACRO_FIRST + item, label);
        ++item;
    }
    return true;
}

const char* ZoTerm::MacroName(unsigned index) const {
    const char* name = m_MacroNames;
    for (; *name && index > 0; --index)
        name = NextName(name);
    return *name ? name : nullptr;
}

// A section without lines sends its name as the line.
void ZoTerm::RunMacro(unsigned index) {
    const char* const name = MacroName(index);
    char path[MAX_PATH];
    if (!name || (GetMenuState(GetMenu(m_hWnd), MacrosMenu, MF_BYPOSITION) & MF_GRAYED) ||
        !FindMacrosFile(Settings.m_MacrosFile, path))
        return;
    char lines[MacroRoom] = {};
    GetPrivateProfileSectionA(name, lines, sizeof(lines), path);
    EndList(lines);
    if (!lines[0]) {
        CopyText(lines, name);
        EndAsList(lines);
    }
    SendMacroLines(lines);
}

// Queues all lines at once, so that no other line comes between them. A line in which a character
// became a line end on its way through the code pages is left out: it would end early.
void ZoTerm::SendMacroLines(char* lines) {
    char* kept = lines;
    bool refused = false;
    for (const char* line = lines; *line;) {
        const std::size_t size = std::strlen(line) + 1;
        const bool good = !std::strpbrk(line, "\r\n");
        refused = refused || !good;
        std::memmove(kept, line, size);
        line += size;
        kept += good ? size : 0;
    }
    *kept = '\0';
    if (refused)
        PlayWav(Settings.m_CmdErrWav);
    QueueLines(lines, LineAloud);
}
