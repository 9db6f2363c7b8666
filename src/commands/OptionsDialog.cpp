#include "commands/OptionsDialog.h"

#include "base/Owned.h"
#include "base/Text.h"
#include "link/codec/BlockFrame.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/FileDialog.h"
#include "terminal/ModalScope.h"
#include "terminal/Module.h"
#include "terminal/ZoTerm.h"

#include <initializer_list>
#include <iterator>
#include <new>

namespace {

struct Sound {
    const char* text;
    char (TermSettings::*path)[MAX_PATH];
};

constexpr Sound Sounds[] = {
    {"Play WAV on command", &TermSettings::m_CmdWav},
    {"Play WAV on command failure", &TermSettings::m_CmdErrWav},
    {"Play WAV on send complete", &TermSettings::m_CompleteWav},
    {"Play WAV during send", &TermSettings::m_SendMid},
};

struct Switch {
    int control;
    std::uint32_t TermSettings::*on;
};

constexpr Switch Switches[] = {
    {IDC_DISPLAY_SUMMARY, &TermSettings::m_DisplaySummary},
    {IDC_ASK_NAME, &TermSettings::m_AskBeforeSendWrongFile},
    {IDC_USE_LOG, &TermSettings::m_UseLogFile},
    {IDC_LOG_TIMES, &TermSettings::m_LogTimes},
    {IDC_SHOW_PROGRESS, &TermSettings::m_ShowProgress},
};

constexpr wchar_t WaveFiles[] = L"Wav Files (*.wav)\0*.wav\0All Files (*.*)\0*.*\0";
constexpr wchar_t LogFiles[] = L"Log Files (*.log)\0*.log\0All Files (*.*)\0*.*\0";

enum SoundImage { SilentImage, SoundingImage };

constexpr int NoRow = -1;

// A dialog's values until OK.
struct Options {
    char sounds[std::size(Sounds)][MAX_PATH];
    int row = NoRow; // the selected one, whose path is in the edit field
};

Options* OptionsOf(HWND dialog) {
    return reinterpret_cast<Options*>(GetWindowLongPtrA(dialog, DWLP_USER));
}

void EnableControl(HWND dialog, int control, bool enable) {
    EnableWindow(GetDlgItem(dialog, control), enable);
}

void ShowRowImage(HWND list, int row, bool sounds) {
    LVITEMA item = {};
    item.mask = LVIF_IMAGE;
    item.iItem = row;
    item.iImage = sounds ? SoundingImage : SilentImage;
    SendMessageA(list, LVM_SETITEMA, 0, reinterpret_cast<LPARAM>(&item));
    SendMessageA(list, LVM_UPDATE, static_cast<WPARAM>(row), 0);
}

// The list owns its images and frees them.
void SetImages(HWND list) {
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    const HIMAGELIST images = ImageList_Create(width, height, ILC_COLOR32 | ILC_MASK, 2, 1);
    for (const int icon : {IDI_OPTION_OFF, IDI_OPTION_ON}) { // SilentImage, SoundingImage
        const HANDLE handle = LoadImageA(ProgramModule, MAKEINTRESOURCEA(icon), IMAGE_ICON, width,
                                         height, LR_DEFAULTCOLOR);
        const Owned<HICON, &DestroyIcon> image(static_cast<HICON>(handle));
        ImageList_AddIcon(images, image.get());
    }
    SendMessageA(list, LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(images));
}

void FillSoundList(HWND list, const Options& options) {
    SetImages(list);
    RECT client = {};
    GetClientRect(list, &client);
    char nothing[] = "";
    LVCOLUMNA column = {};
    column.mask = LVCF_TEXT | LVCF_WIDTH;
    column.pszText = nothing;
    column.cx = client.right;
    SendMessageA(list, LVM_INSERTCOLUMNA, 0, reinterpret_cast<LPARAM>(&column));
    for (std::size_t row = 0; row < std::size(Sounds); ++row) {
        char text[64];
        CopyText(text, Sounds[row].text);
        LVITEMA item = {};
        item.mask = LVIF_TEXT | LVIF_IMAGE;
        item.iItem = static_cast<int>(row);
        item.pszText = text;
        item.iImage = options.sounds[row][0] ? SoundingImage : SilentImage;
        SendMessageA(list, LVM_INSERTITEMA, 0, reinterpret_cast<LPARAM>(&item));
    }
}

void EnableLogFile(HWND dialog) {
    const bool used = IsDlgButtonChecked(dialog, IDC_USE_LOG) == BST_CHECKED;
    for (const int control : {IDC_LOG_FILE, IDC_LOG_BROWSE, IDC_LOG_TIMES})
        EnableControl(dialog, control, used);
}

void ShowSettings(HWND dialog, const ZoTerm& terminal) {
    for (const int edit : {IDC_SOUND_FILE, IDC_LOG_FILE}) // nothing is cut silently
        SendDlgItemMessageA(dialog, edit, EM_LIMITTEXT, MAX_PATH - 1, 0);
    SetDlgItemInt(dialog, IDC_IMAGE_BLOCK_SIZE, terminal.Settings.m_ImageBlockSize, FALSE);
    for (const Switch& option : Switches)
        CheckDlgButton(dialog, option.control,
                       terminal.Settings.*option.on ? BST_CHECKED : BST_UNCHECKED);
    SetDlgItemTextA(dialog, IDC_LOG_FILE, terminal.Settings.m_LogFile);
    EnableLogFile(dialog);
}

INT_PTR OnInitDialog(HWND dialog) {
    const ZoTerm& terminal = TerminalOfDialog(dialog);
    auto* options = new (std::nothrow) Options;
    if (!options) {
        DestroyWindow(dialog);
        return FALSE;
    }
    for (std::size_t row = 0; row < std::size(Sounds); ++row)
        CopyText(options->sounds[row], terminal.Settings.*Sounds[row].path);
    SetWindowLongPtrA(dialog, DWLP_USER, reinterpret_cast<LONG_PTR>(options));
    MakeRoomForCheckBox(dialog, IDC_ASK_NAME);
    CenterOverTerminal(dialog);
    const HWND list = GetDlgItem(dialog, IDC_SOUND_LIST);
    FillSoundList(list, *options);
    FocusControl(dialog, IDC_SOUND_LIST);
    ShowSettings(dialog, terminal);
    return FALSE; // the focus is where it belongs
}

INT_PTR OnDestroy(HWND dialog) {
    delete OptionsOf(dialog);
    SetWindowLongPtrA(dialog, DWLP_USER, 0);
    return TRUE;
}

void KeepTypedSound(HWND dialog, Options& options) {
    if (options.row != NoRow)
        GetDlgItemTextA(dialog, IDC_SOUND_FILE, options.sounds[options.row], MAX_PATH);
}

void SelectRow(HWND dialog, Options& options, int row) {
    KeepTypedSound(dialog, options);
    options.row = row;
    EnableControl(dialog, IDC_SOUND_FILE, row != NoRow);
    EnableControl(dialog, IDC_SOUND_BROWSE, row != NoRow);
    if (row != NoRow)
        SetDlgItemTextA(dialog, IDC_SOUND_FILE, options.sounds[row]);
}

// The list may report the row that lost the selection before or after the one that got it.
INT_PTR OnSoundChanged(HWND dialog, const NMLISTVIEW& change) {
    Options* const options = OptionsOf(dialog);
    if (!options || change.hdr.code != LVN_ITEMCHANGED || change.iItem < 0 ||
        change.iItem >= static_cast<int>(std::size(Sounds)))
        return FALSE;
    const bool was = (change.uOldState & LVIS_SELECTED) != 0;
    const bool is = (change.uNewState & LVIS_SELECTED) != 0;
    if (is && !was)
        SelectRow(dialog, *options, change.iItem);
    else if (was && !is && options->row == change.iItem)
        SelectRow(dialog, *options, NoRow);
    return TRUE;
}

INT_PTR OnSoundTyped(HWND dialog) {
    const Options* const options = OptionsOf(dialog);
    if (options && options->row != NoRow)
        ShowRowImage(GetDlgItem(dialog, IDC_SOUND_LIST), options->row,
                     GetWindowTextLengthA(GetDlgItem(dialog, IDC_SOUND_FILE)) > 0);
    return TRUE;
}

// Lets the user choose a file for an edit field, with the terminal's window disabled, too.
INT_PTR Browse(HWND dialog, int edit, const OPENFILENAMEW& settings) {
    const HWND terminal = GetParent(dialog);
    char path[MAX_PATH];
    GetDlgItemTextA(dialog, edit, path, MAX_PATH);
    const ModalScope scope(TerminalOfDialog(dialog));
    const bool wasHeld = EnableWindow(terminal, FALSE) != 0;
    const Choice choice = ChoosePath(settings, &GetOpenFileNameW, Spelling::MayBeShort, path);
    if (!wasHeld)
        EnableWindow(terminal, TRUE);
    if (choice == Choice::Made)
        SetDlgItemTextA(dialog, edit, path);
    else if (choice == Choice::Unspellable)
        TerminalOfDialog(dialog).SetStatusText("Wrong file name");
    return TRUE;
}

INT_PTR BrowseSound(HWND dialog) {
    OPENFILENAMEW settings = FileDialog(dialog, L"Open Wav File", WaveFiles);
    settings.lpstrDefExt = L"wav";
    settings.Flags |= OFN_FILEMUSTEXIST;
    return Browse(dialog, IDC_SOUND_FILE, settings);
}

INT_PTR BrowseLog(HWND dialog) {
    OPENFILENAMEW settings = FileDialog(dialog, L"Open Log File", LogFiles);
    settings.lpstrDefExt = L"log";
    return Browse(dialog, IDC_LOG_FILE, settings);
}

// Keeps the old size when the new one is out of range.
void TakeImageBlockSize(HWND dialog, ZoTerm& terminal) {
    BOOL isNumber = FALSE;
    const UINT size = GetDlgItemInt(dialog, IDC_IMAGE_BLOCK_SIZE, &isNumber, FALSE);
    if (isNumber && size >= 1 && size <= LargestBlockSize)
        terminal.Settings.m_ImageBlockSize = size;
}

INT_PTR TakeOptions(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    Options& options = *OptionsOf(dialog);
    KeepTypedSound(dialog, options);
    for (std::size_t row = 0; row < std::size(Sounds); ++row)
        CopyText(terminal.Settings.*Sounds[row].path, options.sounds[row]);
    GetDlgItemTextA(dialog, IDC_LOG_FILE, terminal.Settings.m_LogFile, MAX_PATH);
    TakeImageBlockSize(dialog, terminal);
    for (const Switch& option : Switches)
        terminal.Settings.*option.on = IsDlgButtonChecked(dialog, option.control) == BST_CHECKED;
    terminal.OpenLog();
    DestroyWindow(dialog);
    return TRUE;
}

INT_PTR OnCommand(HWND dialog, WORD control, WORD notification) {
    switch (control) {
    case IDOK: return TakeOptions(dialog);
    case IDCANCEL: return DestroyWindow(dialog);
    case IDC_SOUND_FILE: return notification == EN_CHANGE ? OnSoundTyped(dialog) : FALSE;
    case IDC_SOUND_BROWSE: return BrowseSound(dialog);
    case IDC_LOG_BROWSE: return BrowseLog(dialog);
    case IDC_USE_LOG: EnableLogFile(dialog); return TRUE;
    }
    return FALSE;
}

INT_PTR CALLBACK OptionsDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam), HIWORD(wParam));
    case WM_NOTIFY:
        return wParam == IDC_SOUND_LIST
                   ? OnSoundChanged(dialog, *reinterpret_cast<const NMLISTVIEW*>(lParam))
                   : FALSE;
    case WM_DESTROY: return OnDestroy(dialog);
    }
    return FALSE;
}

} // namespace

void OpenOptionsDialog(ZoTerm& terminal) {
    CreateDialogParamA(ProgramModule, MAKEINTRESOURCEA(IDD_OPTIONS), terminal.m_hWnd,
                       &OptionsDialog, 0);
}
