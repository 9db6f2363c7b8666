// The output pane, and the way of the device's text from the link into pane, log and gauge.

#include "link/codec/CodePage.h"
#include "terminal/Module.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <iterator>

namespace {

constexpr std::uint32_t ChunkSize = 255;    // bytes taken from the link at a time
constexpr std::uint32_t DrainLimit = 16384; // bytes of one drain; the next follows by message
constexpr DWORD AppendPeriod = 30;          // ms between appends to the pane
constexpr UINT GaugePeriod = 100;           // ms
constexpr int BehindAllText = INT_MAX;      // a position: the control takes its end for it
constexpr std::uint32_t GaugeRestarts = 10;

} // namespace

LRESULT CALLBACK ZoTerm::OutputEditProc(HWND pane, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* terminal = reinterpret_cast<ZoTerm*>(GetWindowLongPtrW(GetParent(pane), GWLP_USERDATA));
    if (!terminal)
        return DefWindowProcW(pane, message, wParam, lParam);
    if (message == WM_DROPFILES)
        return terminal->OnDropFiles(reinterpret_cast<HDROP>(wParam));
    if (TakeTab(message, wParam, terminal->m_hCommand))
        return 0;
    return CallWindowProcW(terminal->m_OldOutputProc, pane, message, wParam, lParam);
}

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

    const std::uint64_t since = GetTickCount64() - m_PaneAppendedAt;
    if (since >= AppendPeriod)
        FlushPaneText();
    else if (!m_PaneTimerRuns)
        m_PaneTimerRuns =
            SetTimer(m_hWnd, PaneTimerId, AppendPeriod - static_cast<UINT>(since), nullptr) != 0;
    RestartGaugeTimer();
}

// The pane is a text control and cannot hold NULs; what does not fit into it is not shown. A
// character whose last bytes have not come yet waits for them.
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
    for (int i = 0; i < length && m_PaneTextCount < PaneLimit; ++i)
        if (wide[i])
            m_PaneText[m_PaneTextCount++] = wide[i];
}

// Appends what is queued, as one text: a control's append costs much the same for any length. The
// control itself is asked where its text ends, since its length may be counted in bytes.
void ZoTerm::FlushPaneText() {
    if (m_PaneTimerRuns)
        KillTimer(m_hWnd, PaneTimerId);
    m_PaneTimerRuns = false;
    if (m_PaneTextCount == 0)
        return;

    DWORD end = 0;
    SendMessageW(m_hOutput, EM_SETSEL, BehindAllText, BehindAllText);
    SendMessageW(m_hOutput, EM_GETSEL, 0, reinterpret_cast<LPARAM>(&end));
    const std::uint32_t shown =
        std::min(m_PaneTextCount, PaneLimit - std::min<std::uint32_t>(end, PaneLimit));
    m_PaneTextCount = 0;
    if (shown == 0)
        return;
    m_PaneText[shown] = L'\0';
    SendMessageW(m_hOutput, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(m_PaneText));
    m_PaneAppendedAt = GetTickCount64();
}

void ZoTerm::EmptyOutputPane() {
    m_PaneTextCount = 0;
    SetWindowTextA(m_hOutput, "");
}

// Brings the gauge up to date 100 ms after the last burst of text, and at the latest 100 ms
// after the tenth burst since its last update.
void ZoTerm::RestartGaugeTimer() {
    if (m_TimerRestarts >= GaugeRestarts)
        return;
    // Setting a timer that runs starts it anew.
    m_Timer = static_cast<std::uint32_t>(SetTimer(m_hWnd, GaugeTimerId, GaugePeriod, nullptr));
    ++m_TimerRestarts;
}

LRESULT ZoTerm::OnGaugeTimer() {
    KillTimer(m_hWnd, m_Timer);
    m_Timer = 0;
    m_TimerRestarts = 0;
    m_OutputCount = std::min(m_OutputCount, PaneLimit);
    if (m_OutputCount != m_ShownFill) // a full gauge need not be drawn again and again
        SetStatusFill(m_OutputCount);
    return 0;
}
