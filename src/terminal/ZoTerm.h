#pragma once

// One terminal: a window, its controls and settings, and the serial link that it owns.
// For the .cpp files of the program only; headers declare `class ZoTerm;`.

#include "batch/TransferBatch.h"
#include "link/ComPort.h"
#include "link/codec/LogStamp.h"
#include "settings/SettingsStore.h"
#include "settings/TermSettings.h"
#include "terminal/AppendPace.h"
#include "terminal/Operation.h"

#include <windows.h>

#include <commctrl.h>
#include <commdlg.h>
#include <shellapi.h>

#include <cstdint>

// The first title of every terminal window and part of every later one. Windows whose title
// holds it count as terminals.
constexpr char ProductTitle[] = "Zorbel Console Terminal";

constexpr char TerminalClassName[] = "cs_zoterm";
constexpr UINT LinkMessage = WM_APP;     // the link's notifications, NotifyKind in wParam
constexpr UINT LookMessage = WM_APP + 1; // something waits: see LookAgain

// What the terminal does with a queued line's result: nothing, or sounds and a status text. Tags
// from NewTag are their owner's.
enum LineTag : std::uint32_t { LineSilent = 0, LineAloud = 1, FirstOwnTag = 16 };

struct PortOpening;
class PathList;

// Everything runs on the GUI thread. Window messages reach one named handler each; commands are
// the rows of a table (commands/Commands.cpp). Nothing here waits: not for the device, a worker, a
// converter or a pause.
class ZoTerm {
public:
    static constexpr std::uint32_t PaneLimit = 65535; // characters the output pane holds
    static constexpr std::uint32_t HistoryLines = CommandHistory::Most;
    static constexpr std::size_t LineRoom = CommandHistory::LineRoom; // a typed line and its NUL
    static constexpr WORD EnterPressed = 13;       // the command box's notification code
    static constexpr std::size_t MacroRoom = 4096; // bytes of the macros' names, or one's lines
    static constexpr std::size_t ConvertedFileRoom = 1000;
    static constexpr WORD FindRoom = 512; // characters of a text to find and its NUL

    ~ZoTerm();

    // The shell makes a terminal in these steps, with the window between the last two.
    bool MakeParts();     // the link and the buffers; false without memory
    void LoadSettings();  // from m_RegKeyPath; missing or unusable values become defaults
    void ApplySettings(); // device, port, macros, log

    // The window's messages, for TerminalClassProc.
    LRESULT TerminalWindowProc(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

    // Starts a batch of the files of a packed list, which may have any origin, as soon as an
    // opening port is open. False, with nothing changed, while another operation runs.
    bool StartSendList(const char* list, std::size_t size);

    // Does what follows a batch (fileops/SendBatch.cpp): opens the summary if the settings ask for
    // it; when that is closed, and if the batch is complete, sends the device's command for a
    // converted file. Call it again until the terminal is idle: it does nothing while another
    // dialog covers the window.
    void FinishBatch();

    // The activity (Activity.cpp).
    void SetActivity(Activity activity);
    bool OperationRuns() const; // a converter or a file operation
    bool TakesLists() const;    // an operation may begin
    bool Closes() const { return m_CloseWanted; }
    bool MayChangeLine() const { return !OperationRuns(); }     // port, rate, device
    void LookLater();                                           // posts LookMessage: see LookAgain
    bool IsCovered() const { return !IsWindowEnabled(m_hWnd); } // by a modal dialog, or OpenCover's
    bool SummaryIsOpen() const { return m_SummaryDialog != nullptr; }
    void EnterModal(); // ModalScope's
    void LeaveModal();
    void EnterCover(); // OpenCover's
    void LeaveCover();

    // Command lines (CommandLines.cpp). They go to the end of the port's queue; the tag says what
    // happens to a line's result. False when the port is closed or its queue is full.
    bool QueueLine(const char* line, std::uint32_t tag);
    bool QueueLines(const char* lines, std::uint32_t tag); // a packed list: all or none
    std::uint32_t NewTag();

    // The port (Connection.cpp). OpenPort returns true when COMn is open afterwards; the driver's
    // time passes in steps of the message loop.
    bool OpenPort(std::int32_t number, std::uint32_t baud);

    // Baud rate and device (PortMenus.cpp).
    bool SelectBaudRate(std::uint32_t baud); // true when the rate was taken
    void SelectDevice(const char* name);
    void EnableCommands(bool enable); // false: a file operation starts; true: it has ended
    void ShowConnection(bool connected);

    void ShowPortOutput(); // moves received text from the link into pane, log and gauge
    void SetStatusText(const char* text);
    // A note in the status bar about one subject, which the subject's next note replaces. An empty
    // text clears the note if the bar still shows it.
    using StatusNote = char[256];
    void ShowNote(StatusNote& note, const char* text);
    void OpenLog(); // opens it again: the settings may name another file

    // Plans the conversion of a file whose extension is registered (fileops/ConvertFile.cpp).
    // True when it is: then `output` is a list of the file that the converter is to write,
    // m_MusicSupportCurrentExtention is its row, and `commandLine` starts the converter; it is
    // empty when there is none to start.
    bool ConvertFile(const char* source, char (&output)[ConvertedFileRoom],
                     char (&commandLine)[ConvertedFileRoom]);

    TermSettings Settings;
    TransferBatch Batch;
    FileOperationState Operation;
    AfterOperation After;
    ComPort* Port = nullptr;

    HWND m_hWnd = nullptr;
    std::uint16_t m_Slot = 0;
    HWND m_Dispatcher = nullptr;
    char m_RegKeyPath[100] = {};
    std::int32_t m_MusicSupportCurrentExtention = -1;
    char ConvertedFile[ConvertedFileRoom] = {};
    HIMAGELIST m_SummaryImages = nullptr;
    HWND m_SummaryDialog = nullptr;

private:
    struct AwaitedLine;

    // Settings (Settings.cpp); both need the command box.
    void LoadCommandHistory();
    void SaveSettings();

    // Window messages (TerminalWindow.cpp).
    LRESULT OnCreate(HWND window);
    LRESULT OnDestroy();
    LRESULT OnActivate(WPARAM wParam);
    LRESULT OnRegisteredMessage(UINT message, WPARAM wParam, LPARAM lParam);
    LRESULT OnCopyData(const COPYDATASTRUCT& data);
    LRESULT OnTimer(WPARAM timer);
    LRESULT OnLinkNotice(WPARAM kind, LPARAM notification);

    // The port on its way (Connection.cpp).
    enum class PortReason { Chosen, Saved, Awaited }; // why a port is opened
    void BeginOpening(std::int32_t number, std::uint32_t baud, PortReason reason);
    void StartToOpen(std::int32_t number, std::uint32_t baud, DWORD period, bool afterClose);
    void FinishOpening(std::int32_t number);
    void TakeFailedOpening(std::int32_t number, DWORD error);
    void WaitForPort(std::int32_t number);
    void StopWaiting();
    bool OpensPort() const;
    std::int32_t WantedPort() const;
    void AwaitOpening();
    void LookAtOpening();
    bool ClosePort();
    void ReplacePort(ComPort* port);
    void ShowPort(std::int32_t number);
    LRESULT OnDeviceChange(WPARAM event, LPARAM device);
    void LosePort();

    // Whatever waits (Activity.cpp).
    void Watch();
    void OnWatchTimer();
    LRESULT OnLook();
    void LookAgain();
    void LookAtOperation();
    void LookAtConverter(); // begins the batch when it has ended (fileops/BatchConversion.cpp)
    void AskForName();      // and goes on with the batch (fileops/SendBatch.cpp)
    LRESULT OnClose();
    void CloseIfDue();
    LRESULT OnEndSession(WPARAM ends);

    // Commands (commands/Commands.cpp). OnCommand returns what the window procedure returns.
    LRESULT OnCommand(WORD command, WORD notification);
    void Reboot(WORD command);
    void RunMenuMacro(WORD command);
    void LoadMacros(WORD command);
    void ShowFonts(WORD command);
    void ShowOptions(WORD command);
    void Exit(WORD command);
    void SelectMenuBaudRate(WORD command);
    void OpenMenuPort(WORD command);
    void OpenFoundPort(WORD command);
    void ChooseBaudRate(WORD command);
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
    void ShowGuide(WORD command);
    void ShowAbout(WORD command);

    // Files for an operation (fileops/ChooseFiles.cpp, DroppedFiles.cpp, SendLists.cpp). True when
    // there are some and the terminal may act on them.
    bool ChooseSendFiles(); // into the batch's list
    bool ChooseBootFile();
    bool ChooseImageFile();
    bool ChooseReceiveFile();
    bool TakeDroppedFiles(HDROP drop); // into the batch's list
    bool TakePaths(const PathList& list);
    LRESULT OnDropFiles(HDROP drop);
    bool StartSendBatch(bool image); // true when it runs
    void OnSettled();                // a receive's end (fileops/ReceiveFileDialog.cpp)

    // Controls and layout (Controls.cpp). CreateControls returns false when one is missing.
    bool CreateControls(HWND window);
    void DestroyControls();
    void LayOutHidden();
    LRESULT OnSize(WPARAM wParam, LPARAM lParam);
    void LayOut(WPARAM wParam, LPARAM lParam);
    void LayOutPane(int width, int height);
    void RememberWindow();
    HWND CreateLabel(const char* text);
    LRESULT OnControlColor(HDC context, HWND control);
    LRESULT OnLookChange(UINT message, WPARAM wParam, LPARAM lParam);
    static bool TakeTab(UINT message, WPARAM key, HWND next); // true: the message ends here

    // Rebar and toolbar (Toolbar.cpp).
    void CreateRebar();
    void CreateToolbar();
    void FillToolbar();
    void InsertToolbarBand();
    HBITMAP BandPicture() const; // null: none
    void ShowBandPicture();
    void OpenChevronMenu(const NMREBARCHEVRON& chevron);
    LRESULT OnNotify(NMHDR* notification);

    // Status bar (StatusBar.cpp).
    bool CreateStatusBar();
    void LayOutStatusBar(int width);
    void ForgetStatusText(const char* beginning);
    void SetStatusFill(std::uint32_t value);
    void SetStatusPort(std::int32_t number);
    LRESULT OnDrawItem(const DRAWITEMSTRUCT& item);

    LRESULT OnInitMenuPopup(HMENU menu); // PortMenus.cpp
    void CheckPort(std::int32_t number);
    bool TakeBaudRate(std::uint32_t baud);

    // Command box (CommandBox.cpp) and lines (CommandLines.cpp).
    static LRESULT CALLBACK CommandEditProc(HWND edit, UINT message, WPARAM wParam, LPARAM lParam);
    bool CreateCommandBox();
    void SubclassCommandEdit();
    LRESULT SendTypedLine(); // nonzero when it is queued or, if its sender waits, accepted
    void RememberLine(const char* line);
    bool LinesQueued(bool queued, const char* line, std::uint32_t tag);
    void TakeLineResults();
    void TakeLineResult(const LineResult& result);
    void RefuseAwaitedLines();
    void ReportLine(const char* what, const char* line);
    bool PasteLines(HWND edit); // PastedLines.cpp
    LRESULT AwaitAnswer(const char* line);

    // Output pane (OutputPane.cpp).
    bool CreateOutputPane();
    void SubclassOutput();
    void QueuePaneText(const char* bytes, std::uint32_t count);
    void MakeQueueRoom(std::uint32_t count);
    void FlushPaneText();
    void EmptyOutputPane();
    void ReportFullPane();
    void ToggleDropOldest(WORD command);
    void CheckDropOldest();
    void RestartGaugeTimer();
    LRESULT OnGaugeTimer();

    // The visible part of the pane (PaneView.cpp).
    bool PaneFollows() const;
    void NoteCaret();
    void AppendToPane(const wchar_t* text, std::uint32_t drop);

    // The keyboard in the pane (PaneKeys.cpp).
    static LRESULT CALLBACK OutputEditProc(HWND pane, UINT message, WPARAM wParam, LPARAM lParam);
    bool TakePaneInput(UINT message, WPARAM wParam, LPARAM lParam); // true: it ends here
    bool TakePaneCharacter(WPARAM character, LPARAM lParam);
    void PassToCommandBox(UINT message, WPARAM wParam, LPARAM lParam);

    // Find (PaneFind.cpp).
    static UINT FindMessage(); // that of the system's find dialog
    void ShowFindDialog(WORD command);
    void FindAgain(WORD command);
    LRESULT OnFindMessage();
    void FindInPane(bool down);
    void ReportNotFound();

    void SaveOutput(WORD command); // PaneSave.cpp
    DWORD WriteOutput(const char* path);

    // Output log (OutputLog.cpp). The terminal works without one that cannot be opened.
    void ReportLog(DWORD error);
    void WriteLog(const char* bytes, std::uint32_t count);
    bool AppendStamped(const char* bytes, std::size_t count);
    void AppendToLog(const char* bytes, std::size_t count);
    void CloseLog();

    // Font (TextFont.cpp).
    static UINT_PTR CALLBACK FontApplyHook(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam);
    void ChooseTextFont(HWND owner);
    void TakeTextFont(COLORREF color); // that of m_Font

    // Macros (Macros.cpp).
    bool ChooseMacrosFile(); // into m_MacrosFile; true when the user has chosen
    bool BuildMacrosMenu();  // rebuilds it from m_MacrosFile; false without such a file
    const char* MacroName(unsigned index) const; // null when the menu has no such item
    void RunMacro(unsigned index);
    void SendMacroLines(char* lines);

    HWND m_hOutput = nullptr;
    HWND m_hCommand = nullptr;
    HFONT m_hFont = nullptr;
    LPARAM m_HiddenSize = -1; // as in WM_SIZE: laid out for it before the window showed; -1: none
    WNDPROC m_OldCommandEditProc = nullptr;
    WNDPROC m_OldOutputProc = nullptr;
    HWND m_hToolbar = nullptr;
    HWND m_hRebar = nullptr;
    HWND m_hStatus = nullptr;
    HWND m_OutputLabel = nullptr;
    HWND m_CommandLabel = nullptr;
    HIMAGELIST m_ToolbarImages = nullptr;
    HANDLE m_LogHandle = nullptr;
    LogStamp m_LogStamp;
    bool m_LogFails = false; // reported in the status bar
    std::uint32_t m_OutputCount = 0;
    std::uint32_t m_Timer = 0;
    std::uint32_t m_TimerRestarts = 0;

    PortOpening* m_Opening = nullptr; // none: the port is open, or closed for good
    std::uint32_t m_OpeningCount = 0;
    std::int32_t m_OpeningNumber = 0;
    std::int32_t m_LastPort = 0; // the number of the port that was open last
    std::uint32_t m_OpeningBaud = 0;
    std::uint32_t m_BaudBefore = 0; // the setting when the opening began
    PortReason m_PortReason = PortReason::Chosen;
    std::int32_t m_AwaitedPort = 0; // gone, to be reopened when it is back; 0: none
    StatusNote m_PortNote = {};
    bool m_SendsWhenOpen = false; // the command line's files

    Activity m_Activity = Activity::Idle;
    int m_ModalDepth = 0;        // ModalScopes of this terminal on the stack
    int m_Covers = 0;            // OpenCover's dialogs over the window
    bool m_CloseWanted = false;  // as soon as that can be
    std::uint64_t m_CloseBy = 0; // GetTickCount64: the wait for a running operation ends
    bool m_Watches = false;      // the watch timer runs
    std::uint32_t m_LastTag = 0;
    AwaitedLine* m_AwaitedLines = nullptr;

    StatusNote m_StatusText = {};
    StatusNote m_LineNote = {};     // of the last line that was not accepted
    std::uint32_t m_ShownFill = 0;  // the gauge's value
    HBITMAP m_BandBitmap = nullptr; // background of the rebar's band
    bool m_HighContrast = false;    // the user wants the system's colors and no pictures

    // Text on its way into the pane, joined until the next append is due.
    wchar_t* m_PaneText = nullptr; // PaneLimit + 1 characters
    std::uint32_t m_PaneTextCount = 0;
    char m_SplitCharacter[4] = {}; // the first bytes of an incomplete character
    std::uint32_t m_SplitCount = 0;
    AppendPace m_PanePace;
    bool m_PaneTimerRuns = false;
    bool m_PaneGap = false;          // text between the pane's and this was dropped
    bool m_PaneFullReported = false; // by the status bar
    bool m_PaneCaretFirst = false;   // the caret stands at the selection's beginning
    LRESULT m_FollowedLine = 0;      // the pane's first visible line when it followed last,
    LRESULT m_FollowedLineCount = 1; // and its number of lines

    HWND m_FindDialog = nullptr;
    FINDREPLACEW m_Find = {};
    DWORD m_FindChoices = FR_DOWN; // of the last search: direction, letter case, whole words
    wchar_t m_FindText[FindRoom] = {};
    char m_OutputFile[MAX_PATH] = {}; // where the output was saved last

    char m_MacroNames[MacroRoom] = {}; // a packed list, in the order of the Macros menu
};
