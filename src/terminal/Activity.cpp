// What the terminal does, and what has to wait. LookAgain does what has become due; it runs on a
// posted message and, in case that is lost, on a slow timer while anything is awaited.

#include "terminal/DispatcherRequest.h"
#include "terminal/ModalScope.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

namespace {

constexpr UINT WatchPeriod = 250;          // ms
constexpr std::uint64_t LongestEnd = 3000; // ms that a canceled operation gets before a close

} // namespace

void ZoTerm::SetActivity(Activity activity) {
    m_Activity = activity == Activity::Idle && OpensPort() ? Activity::Opening : activity;
    if (m_Activity != Activity::Idle)
        Watch();
    else if (m_CloseWanted)
        LookLater();
}

bool ZoTerm::OperationRuns() const {
    return m_Activity != Activity::Idle && m_Activity != Activity::Opening &&
           m_Activity != Activity::Ending;
}

bool ZoTerm::TakesLists() const {
    return m_Activity == Activity::Idle && !m_CloseWanted;
}

void ZoTerm::Watch() {
    if (!m_Watches)
        m_Watches = SetTimer(m_hWnd, WatchTimerId, WatchPeriod, nullptr) != 0;
}

void ZoTerm::LookLater() {
    PostMessageA(m_hWnd, LookMessage, 0, 0);
    Watch();
}

// The terminal may be gone when this returns.
void ZoTerm::OnWatchTimer() {
    if (m_Activity == Activity::Idle && !m_CloseWanted && !Port->AwaitsResults() &&
        m_ModalDepth == 0) {
        KillTimer(m_hWnd, WatchTimerId);
        m_Watches = false;
    }
    LookAgain();
}

// The terminal may be gone when this returns.
LRESULT ZoTerm::OnLook() {
    LookAgain();
    return 0;
}

// The terminal may be gone when this returns.
void ZoTerm::LookAgain() {
    ModalScope::ShowDialogsOf(*this);
    LookAtOpening();
    if (Port->IsLost())
        LosePort();
    TakeLineResults();
    LookAtOperation();
    LookAtConverter();
    if (Operation.m_WantsName && !IsCovered())
        AskForName();
    if (m_Activity == Activity::Ending && !After.consoleWaits)
        FinishBatch();
    CloseIfDue();
}

void ZoTerm::LookAtOperation() {
    if (Operation.m_ProgressDialog)
        SendMessageA(Operation.m_ProgressDialog, LinkMessage, NotifyTransfer, 0);
}

void ZoTerm::EnterModal() {
    ++m_ModalDepth;
}

// Only posts a look: the function that ran the loop still uses the terminal.
void ZoTerm::LeaveModal() {
    --m_ModalDepth;
    if (m_Covers > 0) // the system's dialog has enabled the window
        EnableWindow(m_hWnd, FALSE);
    if (m_ModalDepth == 0 && (m_CloseWanted || m_Activity != Activity::Idle))
        LookLater();
}

void ZoTerm::EnterCover() {
    ++m_Covers;
    EnableWindow(m_hWnd, FALSE);
}

void ZoTerm::LeaveCover() {
    --m_Covers;
    if (m_Covers > 0)
        return;
    EnableWindow(m_hWnd, TRUE);
    if (m_CloseWanted || m_Activity != Activity::Idle)
        LookLater();
}

// Brings an open dialog to the front instead; cancels a running operation first.
LRESULT ZoTerm::OnClose() {
    const bool behindDialog = m_Covers > 0 || ModalScope::DialogOnTopIs(*this);
    if (behindDialog)
        SetForegroundWindow(GetLastActivePopup(m_hWnd));
    if (behindDialog && m_Activity != Activity::Ending)
        return 0;
    if (!m_CloseWanted)
        m_CloseBy = GetTickCount64() + LongestEnd;
    m_CloseWanted = true;
    Watch();
    if (OperationRuns() && Operation.m_ProgressDialog)
        SendMessageA(Operation.m_ProgressDialog, WM_COMMAND, IDCANCEL, 0);
    CloseIfDue();
    return 0; // the terminal may be gone: do not touch it here
}

// The terminal may be gone when this returns.
void ZoTerm::CloseIfDue() {
    if (!m_CloseWanted || m_ModalDepth > 0 || m_Covers > 0)
        return;
    const bool waits = m_Activity != Activity::Idle && m_Activity != Activity::Opening;
    if (waits && GetTickCount64() < m_CloseBy)
        return;
    SendMessageA(m_Dispatcher, DispatcherRequest, MAKEWPARAM(RequestCloseTerminal, m_Slot), 0);
}

// The session ends without a WM_CLOSE.
LRESULT ZoTerm::OnEndSession(WPARAM ends) {
    if (!ends)
        return 0;
    SaveSettings();
    Port->FinishTransfer();
    return 0;
}
