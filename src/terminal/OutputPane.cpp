// The output pane, and the way of the device's text from the link into pane, log and gauge.

#include "link/codec/CodePage.h"
#include "resources/resource.h"
#include "terminal/Module.h"
#include "terminal/PaneView.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <utility>

namespace {

constexpr std::uint32_t ChunkSize = 255;    // bytes taken from the link at a time
constexpr std::uint32_t DrainLimit = 16384; // bytes of one drain; the next follows by message
constexpr UINT GaugePeriod = 100;           // ms
constexpr std::uint32_t GaugeRestarts = 10;
constexpr char FullPane[] = "The output is full: Clear (F5), or View > Drop Oldest Text";

// In ms of a running clock.
double Now() {
    LARGE_INTEGER now;
    LARGE_INTEGER frequency;
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return 1000.0 * static_cast<double>(now.QuadPart) / static_cast<double>(frequency.QuadPart);
}

} // namespace

bool ZoTerm::CreateOutputPane() {
    m_OutputLabel = CreateLabel("Device output");
    m_hOutput = CreateWindowExA(WS_EX_CLIENTEDGE | WS_EX_ACCEPTFILES, "EDIT", "",
                                WS_CHILD | WS_VISIBLE | WS_BORDER | WS_VSCROLL | WS_HSCROLL |
                                    ES_MULTILINE | ES_AUTOVSCROLL | ES_NOHIDESEL,
                                0, 0, 0, 0, m_hWnd, nullptr, ProgramModule, nullptr);
    SendMessageA(m_hOutput, EM_LIMITTEXT, PaneLimit, 0);
    return m_hOutput != nullptr;
}

void ZoTerm::SubclassOutput() {
    m_OldOutputProc = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(m_hOutput, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&OutputEditProc)));
}

void ZoTerm::ShowPortOutput() {
    Port->TakeTextNotice();
    char text[DrainLimit];
    std::uint32_t drained = 0;
    std::uint32_t count = ChunkSize;
    while (drained + ChunkSize <= DrainLimit && Port->ReadText(text + drained, &count) &&
           count > 0) {
        drained += count;
        count = ChunkSize;
    }
    QueuePaneText(text, drained);
    WriteLog(text, drained);
    m_OutputCount += drained;
    if (drained + ChunkSize > DrainLimit) // other messages come first
        PostMessageA(m_hWnd, LinkMessage, NotifyText, 0);

    const double wait = m_PanePace.Due() - Now();
    if (wait <= 0)
        FlushPaneText();
    else if (!m_PaneTimerRuns)
        m_PaneTimerRuns = SetTimer(m_hWnd, PaneTimerId, static_cast<UINT>(wait), nullptr) != 0;
    RestartGaugeTimer();
}

// Leaves out NULs, which a text control cannot hold, and text that does not fit unless older text
// makes room. Keeps the first bytes of a character that is not complete yet.
void ZoTerm::QueuePaneText(const char* bytes, std::uint32_t count) {
    char text[sizeof(m_SplitCharacter) + DrainLimit];
    wchar_t wide[std::size(text)];
    std::memcpy(text, m_SplitCharacter, m_SplitCount);
    std::memcpy(text + m_SplitCount, bytes, count);
    const std::uint32_t size = m_SplitCount + count;
    const auto whole = static_cast<std::uint32_t>(WholeCharacters(text, size));
    m_SplitCount = size - whole;
    std::memcpy(m_SplitCharacter, text + whole, m_SplitCount);

    const int length = MultiByteToWideChar(CP_ACP, 0, text, static_cast<int>(whole), wide,
                                           static_cast<int>(std::size(wide)));
    const auto shown = static_cast<std::uint32_t>(std::remove(wide, wide + length, L'\0') - wide);
    MakeQueueRoom(shown);
    const std::uint32_t taken = std::min(shown, PaneLimit - m_PaneTextCount);
    std::wmemcpy(m_PaneText + m_PaneTextCount, wide, taken);
    m_PaneTextCount += taken;
}

// The queue holds one full pane at most; the pane then drops all of its own text.
void ZoTerm::MakeQueueRoom(std::uint32_t count) {
    if (m_PaneTextCount + count <= PaneLimit)
        return;
    if (!Settings.m_DropOldestText) {
        ReportFullPane();
        return;
    }
    const std::uint32_t drop =
        OldestLines(m_PaneText, m_PaneTextCount, m_PaneTextCount + count - PaneLimit);
    m_PaneTextCount -= drop;
    std::wmemmove(m_PaneText, m_PaneText + drop, m_PaneTextCount);
    m_PaneGap = true;
}

// Appends the queued text at once: a control's append costs much the same for any length.
void ZoTerm::FlushPaneText() {
    if (m_PaneTimerRuns)
        KillTimer(m_hWnd, PaneTimerId);
    m_PaneTimerRuns = false;
    const std::uint32_t queued = std::exchange(m_PaneTextCount, 0);
    if (queued == 0)
        return;
    const std::uint32_t end = PaneEnd(m_hOutput);
    const std::uint32_t room = PaneLimit - std::min(end, PaneLimit);
    std::uint32_t shown = queued;
    std::uint32_t drop = 0;
    if (std::exchange(m_PaneGap, false))
        drop = end;
    else if (queued > room && Settings.m_DropOldestText)
        drop = OldestPaneLines(m_hOutput, end, queued - room);
    else if (queued > room) {
        shown = room;
        ReportFullPane();
    }
    if (shown == 0)
        return;
    m_PaneText[shown] = L'\0';
    const double began = Now();
    AppendToPane(m_PaneText, drop);
    m_PanePace.Appended(began, Now());
    if (drop > 0)
        RestartGaugeTimer(); // it may count the queued text twice
}

void ZoTerm::EmptyOutputPane() {
    m_PaneTextCount = 0;
    m_PaneGap = false;
    SetWindowTextA(m_hOutput, "");
    m_FollowedLine = 0;
    m_FollowedLineCount = 1;
    m_PaneFullReported = false;
    ForgetStatusText(FullPane);
}

// Reports it once, until there is room again.
void ZoTerm::ReportFullPane() {
    if (!std::exchange(m_PaneFullReported, true))
        SetStatusText(FullPane);
}

void ZoTerm::ToggleDropOldest(WORD) {
    Settings.m_DropOldestText = Settings.m_DropOldestText ? 0 : 1;
    CheckDropOldest();
    if (!Settings.m_DropOldestText)
        return;
    m_PaneFullReported = false;
    ForgetStatusText(FullPane);
}

void ZoTerm::CheckDropOldest() {
    CheckMenuItem(GetMenu(m_hWnd), CMD_DROP_OLDEST,
                  Settings.m_DropOldestText ? MF_CHECKED : MF_UNCHECKED);
}

// Brings the gauge up to date 100 ms after the last burst of text, and at the latest 100 ms
// after the tenth burst since its last update.
void ZoTerm::RestartGaugeTimer() {
    if (m_TimerRestarts >= GaugeRestarts)
        return;
    // SetTimer restarts a running timer.
    m_Timer = static_cast<std::uint32_t>(SetTimer(m_hWnd, GaugeTimerId, GaugePeriod, nullptr));
    ++m_TimerRestarts;
}

LRESULT ZoTerm::OnGaugeTimer() {
    KillTimer(m_hWnd, m_Timer);
    m_Timer = 0;
    m_TimerRestarts = 0;
    if (Settings.m_DropOldestText) // dropped characters do not count
        m_OutputCount = PaneEnd(m_hOutput) + m_PaneTextCount;
    m_OutputCount = std::min(m_OutputCount, PaneLimit);
    if (m_OutputCount != m_ShownFill) // a full gauge need not be drawn again and again
        SetStatusFill(m_OutputCount);
    return 0;
}
