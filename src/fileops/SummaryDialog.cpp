// The records of the last send batch, a row for each file.

#include "fileops/SummaryDialog.h"

#include "base/FileNames.h"
#include "base/Text.h"
#include "batch/PackedList.h"
#include "batch/TransferResult.h"
#include "fileops/ListCells.h"
#include "resources/resource.h"
#include "terminal/Dialogs.h"
#include "terminal/Module.h"
#include "terminal/Placement.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <iterator>

namespace {

enum ColumnIndex {
    NameColumn,
    StatusColumn,
    DeviceNameColumn,
    SizeColumn,
    BlocksColumn,
    ErrorsColumn
};

struct Column {
    const char* title;
    int format;
    int width; // pixels, when none is stored
};

constexpr Column Columns[] = {
    {"Name", LVCFMT_LEFT, 140}, {"Status", LVCFMT_LEFT, 100}, {"Zorbel name", LVCFMT_LEFT, 120},
    {"Size", LVCFMT_RIGHT, 70}, {"Blocks", LVCFMT_RIGHT, 50}, {"Errors", LVCFMT_RIGHT, 50},
};

// The list's images, in this order; a status has its own.
constexpr WORD Images[] = {IDI_WARNING_SIGN, IDI_WARNING_SIGN, IDI_ERROR_SIGN, IDI_ERROR_SIGN,
                           IDI_INFORMATION_SIGN};
constexpr int SentImage = 4;

struct Status {
    ResultCode code;
    const char* text;
    int image;
};

constexpr Status Statuses[] = {
    {ResultWrongName, "Wrong file name", 0},
    {ResultSendError, "Error during sending file", 1},
    {ResultApiError, "Win32 API return error", 2},
    {ResultCancelled, "Cancelled by user", 3},
};
constexpr Status SentStatus = {ResultEnd, "Sent", SentImage};

constexpr int Margin = 5;        // pixels around the list
constexpr int ButtonMargin = 4;  // pixels below the button
constexpr LONG LeastWidth = 120; // of the client area, in dialog units: the button and a name,
constexpr LONG LeastHeight = 90; // the list's head and scroll bar, and some rows between them

const Status& StatusOf(const TransferResult& result) {
    for (const Status& status : Statuses)
        if (status.code == result.code)
            return status;
    return SentStatus;
}

HWND ListOf(HWND dialog) {
    return GetDlgItem(dialog, IDC_SUMMARY_LIST);
}

void SetCell(HWND list, int row, int column, const char* text) {
    LVITEMA item = {};
    item.iSubItem = column;
    item.pszText = const_cast<char*>(text); // only read
    SendMessageA(list, LVM_SETITEMTEXTA, static_cast<WPARAM>(row), reinterpret_cast<LPARAM>(&item));
}

void SetNumber(HWND list, int row, int column, std::uint32_t number) {
    char text[16];
    FormatText(text, "%u", number);
    SetCell(list, row, column, text);
}

// Shows the file's long name, if that fits.
void InsertRow(HWND list, int row, const char* name, const Status& status) {
    LVITEMW item = {};
    item.mask = LVIF_TEXT | LVIF_IMAGE;
    item.iItem = row;
    item.iImage = status.image;
    wchar_t path[MAX_PATH];
    WidenPath(name, path);
    item.pszText = path;
    SendMessageA(list, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    if (!path[0])
        SetCell(list, row, NameColumn, name);
    SetCell(list, row, StatusColumn, status.text);
}

// Without drawing between two rows, which takes longer the more rows there are.
void FillRows(const ZoTerm& terminal, HWND list) {
    SendMessageA(list, WM_SETREDRAW, FALSE, 0);
    SendMessageA(list, LVM_DELETEALLITEMS, 0, 0);
    const char* file = terminal.Batch.m_FileList;
    const char* deviceName = terminal.Batch.m_DeviceNames;
    const char* at = terminal.Batch.m_Results;
    TransferResult result;
    for (int row = 0; (at = GetResult(at, result)) != nullptr; ++row) {
        InsertRow(list, row, file, StatusOf(result));
        file = *file ? NextName(file) : file;
        if (!result.Sent())
            continue;
        SetCell(list, row, DeviceNameColumn, deviceName);
        deviceName = *deviceName ? NextName(deviceName) : deviceName;
        SetNumber(list, row, SizeColumn, result.size);
        SetNumber(list, row, BlocksColumn, result.code);
        SetNumber(list, row, ErrorsColumn, result.errors);
    }
    SendMessageA(list, WM_SETREDRAW, TRUE, 0);
}

void InsertColumns(const ZoTerm& terminal, HWND list) {
    const bool stored = std::any_of(std::begin(terminal.Settings.m_SummaryColumnWidths),
                                    std::end(terminal.Settings.m_SummaryColumnWidths),
                                    [](int width) { return width != 0; });
    for (int i = 0; i < static_cast<int>(std::size(Columns)); ++i) {
        LVCOLUMNA column = {};
        column.mask = LVCF_FMT | LVCF_TEXT | LVCF_WIDTH;
        column.fmt = Columns[i].format;
        column.cx = stored ? terminal.Settings.m_SummaryColumnWidths[i] : Columns[i].width;
        column.pszText = const_cast<char*>(Columns[i].title); // only read
        SendMessageA(list, LVM_INSERTCOLUMNA, static_cast<WPARAM>(i),
                     reinterpret_cast<LPARAM>(&column));
    }
}

HIMAGELIST MakeImages() {
    const int width = GetSystemMetrics(SM_CXSMICON);
    const int height = GetSystemMetrics(SM_CYSMICON);
    const HIMAGELIST images =
        ImageList_Create(width, height, ILC_MASK | ILC_COLOR4, std::size(Images), 1);
    for (const WORD id : Images) {
        const HANDLE icon =
            LoadImageA(ProgramModule, MAKEINTRESOURCEA(id), IMAGE_ICON, width, height, LR_SHARED);
        ImageList_AddIcon(images, static_cast<HICON>(icon));
    }
    return images;
}

// Moves the dialog to where it was left, if a monitor still shows that place.
void Place(const ZoTerm& terminal, HWND dialog) {
    const RECT& rect = terminal.Settings.m_SummaryRect;
    const bool stored = rect.left != 0 || rect.top != 0;
    if (stored && IsInSight(rect))
        MoveTo(dialog, FitIfLarger(rect));
    else
        CenterOverTerminal(dialog);
}

INT_PTR OnInitDialog(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    const HWND list = ListOf(dialog);
    terminal.m_SummaryDialog = dialog;
    Place(terminal, dialog);
    terminal.m_SummaryImages = MakeImages();
    SendMessageA(list, LVM_SETIMAGELIST, LVSIL_SMALL,
                 reinterpret_cast<LPARAM>(terminal.m_SummaryImages));
    SendMessageA(list, LVM_SETEXTENDEDLISTVIEWSTYLE, LVS_EX_FULLROWSELECT, LVS_EX_FULLROWSELECT);
    ShowClippedCells(list);
    InsertColumns(terminal, list);
    FillRows(terminal, list);
    return TRUE;
}

void Remember(HWND dialog) {
    GetWindowRect(dialog, &TerminalOfDialog(dialog).Settings.m_SummaryRect);
}

// Moves list and button together: a list that moved first would cover the button, which would then
// not be drawn in its new place.
INT_PTR OnSize(HWND dialog, int width, int height) {
    const HWND button = GetDlgItem(dialog, IDOK);
    RECT rect = {};
    GetWindowRect(button, &rect);
    const int buttonWidth = rect.right - rect.left;
    const int buttonHeight = rect.bottom - rect.top;
    constexpr UINT flags = SWP_NOZORDER | SWP_NOACTIVATE;
    HDWP moves = BeginDeferWindowPos(2);
    if (moves)
        moves = DeferWindowPos(moves, ListOf(dialog), nullptr, Margin, Margin, width - 2 * Margin,
                               height - buttonHeight - 3 * Margin, flags);
    if (moves)
        moves = DeferWindowPos(moves, button, nullptr, (width - buttonWidth) / 2,
                               height - buttonHeight - ButtonMargin, buttonWidth, buttonHeight,
                               flags | SWP_NOCOPYBITS);
    if (moves)
        EndDeferWindowPos(moves);
    Remember(dialog);
    return TRUE;
}

INT_PTR OnGetMinMaxInfo(HWND dialog, MINMAXINFO& limits) {
    RECT rect = {0, 0, LeastWidth, LeastHeight};
    MapDialogRect(dialog, &rect);
    AdjustWindowRectEx(&rect, static_cast<DWORD>(GetWindowLongPtrA(dialog, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongPtrA(dialog, GWL_EXSTYLE)));
    limits.ptMinTrackSize = {rect.right - rect.left, rect.bottom - rect.top};
    return TRUE;
}

INT_PTR OnMove(HWND dialog) {
    Remember(dialog);
    return TRUE;
}

INT_PTR OnDestroy(HWND dialog) {
    ZoTerm& terminal = TerminalOfDialog(dialog);
    for (int i = 0; i < static_cast<int>(std::size(Columns)); ++i)
        terminal.Settings.m_SummaryColumnWidths[i] = static_cast<std::int32_t>(
            SendMessageA(ListOf(dialog), LVM_GETCOLUMNWIDTH, static_cast<WPARAM>(i), 0));
    terminal.m_SummaryDialog = nullptr;
    terminal.m_SummaryImages = nullptr; // the list destroys them
    return TRUE;
}

INT_PTR OnCommand(HWND dialog, WORD command) {
    if (command != IDOK && command != IDCANCEL)
        return FALSE;
    return CloseCover(dialog);
}

INT_PTR OnListKey(HWND dialog, const NMLVKEYDOWN& key) {
    if (key.wVKey == 'C' && GetKeyState(VK_CONTROL) < 0)
        CopyRows(ListOf(dialog));
    return TRUE;
}

INT_PTR OnNotify(HWND dialog, const NMHDR& header) {
    if (header.idFrom != IDC_SUMMARY_LIST || header.code != LVN_KEYDOWN)
        return FALSE;
    return OnListKey(dialog, reinterpret_cast<const NMLVKEYDOWN&>(header));
}

INT_PTR CALLBACK SummaryDialog(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    switch (message) {
    case WM_INITDIALOG: return OnInitDialog(dialog);
    case WM_SIZE: return OnSize(dialog, LOWORD(lParam), HIWORD(lParam));
    case WM_GETMINMAXINFO: return OnGetMinMaxInfo(dialog, *reinterpret_cast<MINMAXINFO*>(lParam));
    case WM_MOVE: return OnMove(dialog);
    case WM_DESTROY: return OnDestroy(dialog);
    case WM_COMMAND: return OnCommand(dialog, LOWORD(wParam));
    case WM_NOTIFY: return OnNotify(dialog, *reinterpret_cast<const NMHDR*>(lParam));
    }
    return FALSE;
}

} // namespace

void OpenSummaryDialog(ZoTerm& terminal) {
    if (terminal.m_SummaryDialog)
        FillRows(terminal, ListOf(terminal.m_SummaryDialog));
    else
        OpenCover(terminal, IDD_SUMMARY, &SummaryDialog);
}
