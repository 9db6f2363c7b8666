#pragma once

// One terminal: a window, its controls and settings, and the serial link that it owns.
// For the .cpp files of the program only; headers declare `class ZoTerm;`.

#include "link/ComPort.h"

#include <windows.h>

#include <commctrl.h>
#include <shellapi.h>

#include <cstdint>

// The first title of every terminal window and part of every later one. Windows whose title
// holds it count as terminals.
constexpr char ProductTitle[] = "Zorbel Console Terminal";

constexpr char TerminalClassName[] = "cs_zoterm";
constexpr std::uint32_t BatchBufferSize = 10000; // bytes of each file-operation buffer
constexpr UINT LinkMessage = WM_APP;             // the link's notifications, NotifyKind in wParam
constexpr UINT BatchEndedMessage = WM_APP + 1;   // see FinishBatch: wParam summary, lParam complete

// Everything runs on the GUI thread. Window messages reach one named handler each; commands are
// the rows of a table (Commands.cpp).
class ZoTerm {
public:
    static constexpr std::uint32_t PaneLimit = 65535; // characters the output pane holds
    static constexpr std::uint32_t HistoryLines = 10; // lines the command box remembers
    static constexpr std::size_t LineRoom = 256;      // a typed line and its NUL
    static constexpr WORD EnterPressed = 13;          // the command box's notification code
    static constexpr std::size_t MacroRoom = 4096;    // bytes of the macros' names, or one's lines
    static constexpr std::size_t ConvertedFileRoom = 1000;

    // Settings (settings/SettingsStore.cpp). Missing and unusable values are replaced by their
    // defaults, in memory and in the registry. Failures are silent.
    void LoadSettings();
    void LoadCommandHistory(); // needs the command box
    void SaveSettings();       // needs the command box

    // Window messages (TerminalWindow.cpp).
    LRESULT OnCreate(HWND window);
    LRESULT OnDestroy();
    LRESULT OnActivate(WPARAM wParam);
    LRESULT OnClose();
    LRESULT OnCopyData(const COPYDATASTRUCT& data);
    LRESULT OnTimer(WPARAM timer);
    LRESULT OnLinkNotice(WPARAM kind, LPARAM status);
    LRESULT OnDeviceChange(WPARAM event, LPARAM device);
    void LosePort();

    // Commands (Commands.cpp). Answers what the window procedure answers.
    LRESULT OnCommand(WORD command, WORD notification);
    void Reboot(WORD command);
    void RunMenuMacro(WORD command);
    void LoadMacros(WORD command);
    void ChooseFont(WORD command);
    void ShowOptions(WORD command);
    void Exit(WORD command);
    void SelectMenuBaudRate(WORD command);
    void OpenMenuPort(WORD command);
    void ClearOutput(WORD command);
    void NewWindow(WORD command);
    void SelectMenuDevice(WORD command);
    void SendFiles(WORD command);
    void SendImage(WORD command);
    void BootFile(WORD command);
    void ReceiveFile(WORD command);
    void ChoosePort(WORD command);
    void ChooseDevice(WORD command);
    void ShowSummary(WORD command);
    void ShowAbout(WORD command);
    LRESULT OnBatchEnded(bool summary, bool complete);

    // Start an operation with a list (Commands.cpp). True when it runs; false, with nothing
    // disturbed, while another one does. The list is checked; `list` may have any origin.
    bool StartSendList(const char* list, std::size_t size);
    bool StartReceiveList();
    bool StartSendBatch(bool image);
    LRESULT OnDropFiles(HDROP drop);

    // File lists (FileLists.cpp). The dialogs answer whether the user chose and the choice may be
    // acted upon.
    bool TakesLists() const; // no operation runs
    bool ChooseSendFiles();  // into m_FileList
    bool ChooseBootFile();
    bool ChooseImageFile();
    bool ChooseReceiveFile();
    bool TakeDroppedFiles(HDROP drop); // into m_FileList
    bool ResetBatch(); // empties the results of the last batch, with room for those of the next
    bool TakeFileList(const char* list, std::size_t size, std::size_t room);
    static bool GrowBuffer(char*& buffer, std::uint32_t& size, std::size_t needed);

    // Controls and layout (Controls.cpp). CreateControls answers zero when one is missing.
    bool CreateControls(HWND window);
    void DestroyControls();
    LRESULT OnSize(WPARAM wParam, LPARAM lParam);
    void LayOutPane(int width, int height);
    void RememberWindow();
    LRESULT OnControlColor(HDC context, HWND control);

    // Rebar and toolbar (Toolbar.cpp).
    void CreateRebar();
    void CreateToolbar();
    void FillToolbar();
    void InsertToolbarBand();
    LRESULT OnNotify(NMHDR* notification);

    // Status bar (StatusBar.cpp).
    bool CreateStatusBar();
    void LayOutStatusBar(int width);
    void SetStatusText(const char* text);
    void SetStatusFill(std::uint32_t value);
    void SetStatusPort(std::int32_t number);
    LRESULT OnDrawItem(const DRAWITEMSTRUCT& item);

    // Port, baud rate and device menus (PortMenus.cpp).
    bool OpenPort(std::int32_t number, std::uint32_t baud); // true when COMn is open afterwards
    bool SelectBaudRate(std::uint32_t baud);                // true when the rate was taken
    void SelectDevice(const char* name);
    void EnableCommands(bool enable); // false: a file operation starts; true: it has ended
    void ShowConnection(bool connected);

    // Command box (CommandBox.cpp).
    bool CreateCommandBox();
    void SubclassCommandEdit();
    LRESULT SendTypedLine();                 // answers nonzero when the device accepted it
    bool SendCommandAloud(const char* line); // the answer sounds, too
    void RememberLine(const char* line);

    // Output pane (OutputPane.cpp).
    bool CreateOutputPane();
    void SubclassOutput();
    void ShowPortOutput(); // moves what the link received into pane, log and counter
    void QueuePaneText(const char* bytes, std::uint32_t count);
    void FlushPaneText();
    void EmptyOutputPane();
    void RestartGaugeTimer();
    LRESULT OnGaugeTimer();

    // Output log (OutputLog.cpp). One that cannot be opened leaves the terminal without.
    void OpenLog();
    void WriteLog(const char* bytes, std::uint32_t count);
    void CloseLog();

    // Font (TextFont.cpp).
    void ChooseTextFont(HWND owner);
    void TakeTextFont(COLORREF color); // that of m_Font

    // Macros (Macros.cpp). A macro's lines go out one by one, while the window lives on.
    bool ChooseMacrosFile(); // into m_MacrosFile; true when the user has chosen
    bool BuildMacrosMenu();  // anew from m_MacrosFile; false without such a file
    const char* MacroName(unsigned index) const; // null when the menu has no such item
    void RunMacro(unsigned index);
    void QueueMacroLines(const char* lines);
    void SendMacroLine();
    void ForgetMacroLines();

    // Converts a file whose extension is registered (settings/MusicSupport.cpp). True when it is:
    // then `output` is a list of the file that the converter should have written, which may be
    // missing when it failed, and m_MusicSupportCurrentExtention is its row. Returns when the
    // converter has ended.
    bool ConvertFile(const char* source, char (&output)[ConvertedFileRoom]);

    HWND m_hWnd;
    HWND m_hOutput;
    std::uint32_t m_MusicSupport = 0;
    std::int32_t m_MusicSupportCurrentExtention = -1;
    std::int32_t m_MusicSupportExt = 0;
    std::int32_t m_MusicSupportCurExt = 0;
    char** m_MusicSupportExts = nullptr;
    char** m_MusicSupportConverters = nullptr;
    std::uint32_t* m_MusicSupportConverterNewExts = nullptr;
    char** m_MusicSupportNewExts = nullptr;
    char** m_MusicSupportCommands = nullptr;
    std::uint32_t m_Busy;
    HWND m_hCommand;
    std::uint32_t m_ListOn;
    std::int32_t m_WindowX;
    std::int32_t m_WindowY;
    std::int32_t m_WindowWidth;
    std::int32_t m_WindowHeight;
    std::int32_t m_ShowCmd;
    LOGFONTA m_Font;
    std::uint32_t m_TextColor;
    HFONT m_hFont = nullptr;
    WNDPROC m_OldCommandEditProc;
    WNDPROC m_OldOutputProc;
    char m_RegKeyPath[100];
    char m_BootFile[MAX_PATH];
    char m_ReceiveFile[MAX_PATH];
    char m_ImageFile[MAX_PATH];
    char* m_FileList = nullptr;
    char* m_DeviceNames = nullptr;
    std::uint32_t m_FileListSize = 0;
    char* m_Results = nullptr;
    char m_MacrosFile[MAX_PATH];
    std::uint32_t m_BaudRate;
    std::int32_t m_PortNumber;
    const char* m_CurrentFile;
    char* m_CurrentDeviceName;
    char* m_CurrentResult;
    char m_DeviceName[MAX_PATH];
    char m_DeviceFileName[MAX_PATH];
    HWND m_ProgressDialog = nullptr;
    std::uint16_t m_Slot;
    HWND m_Dispatcher = nullptr;
    HWND m_hToolbar = nullptr;
    HWND m_hRebar = nullptr;
    HWND m_hStatus = nullptr;
    HIMAGELIST m_ToolbarImages = nullptr;
    std::uint32_t m_BatchBytesDone;
    std::uint32_t m_BatchBytesTotal;
    HANDLE m_LogHandle = nullptr;
    char m_CmdWav[MAX_PATH];
    char m_CmdErrWav[MAX_PATH];
    char m_CompleteWav[MAX_PATH];
    char m_SendMid[MAX_PATH];
    char m_LogFile[MAX_PATH];
    std::uint32_t m_ImageBlockSize;
    std::uint32_t m_AskBeforeSendWrongFile;
    std::uint32_t m_DisplaySummary;
    std::uint32_t m_ShowProgress;
    std::uint32_t m_UseLogFile;
    std::uint32_t m_CancelRequested;
    std::uint32_t m_ImageMode;
    std::uint32_t m_OutputCount;
    HIMAGELIST m_SummaryImages = nullptr;
    std::uint32_t m_Timer = 0;
    std::uint32_t m_TimerRestarts = 0;
    RECT m_SummaryRect;
    std::int32_t m_SummaryColumnWidths[6];
    ComPort* Port = nullptr;

    std::uint32_t m_ResultsSize = 0;     // bytes of m_Results and of m_DeviceNames, which grow
    std::uint32_t m_DeviceNamesSize = 0; // with the batch's list
    bool m_ClipPlays = false;            // in m_ProgressDialog
    bool m_ConvertedBatch = false;       // the batch is one converted file
    bool m_MusicCommandWaits = false;    // the device's command of the last batch is still to come
    HWND m_SummaryDialog = nullptr;

    std::uint32_t m_ShownFill = 0;  // the gauge's value
    HBITMAP m_BandBitmap = nullptr; // background of the rebar's band

    // Text on its way into the pane, joined until the next append is due.
    char* m_PaneText = nullptr; // PaneLimit + 1 characters
    std::uint32_t m_PaneTextCount = 0;
    std::uint64_t m_PaneAppendedAt = 0; // GetTickCount64 of the last append
    bool m_PaneTimerRuns = false;

    char m_MacroNames[MacroRoom] = {};     // what the items of the Macros menu stand for, a list
    char m_MacroQueue[2 * MacroRoom] = {}; // lines of macros that are still to be sent, a list
    char ConvertedFile[ConvertedFileRoom] = {};
};
