// The terminal's port: how it is opened, closed and lost. A driver may take half a minute to open a
// port, so a worker does that; the window goes on meanwhile, disconnected.

#include "base/SystemText.h"
#include "base/Text.h"
#include "link/PortOpening.h"
#include "terminal/MessageLoop.h"
#include "terminal/ModalScope.h"
#include "terminal/Timers.h"
#include "terminal/ZoTerm.h"

#include <dbt.h>

#include <utility>

namespace {

constexpr std::uint32_t InputBufferSize = 4096;
constexpr DWORD QuickOpening = 40; // ms; most ports are open by then
constexpr UINT LookPeriod = 2000;  // ms between two attempts to open a port that is gone

// "COM3", and its state in words.
struct PortSentence {
    char text[256];
    PortSentence(std::int32_t number, const char* words) {
        FormatText(text, "COM%d %s", static_cast<int>(number), words);
    }
};

bool IsNotThere(DWORD error) {
    return error == ERROR_FILE_NOT_FOUND;
}

// Why a port cannot be opened, to follow its name.
struct WhyNotOpen {
    char text[200];
    explicit WhyNotOpen(DWORD error) {
        char reason[160];
        FormatSystemError(reason, error);
        if (IsNotThere(error))
            CopyText(text, "is not there");
        else if (error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION)
            CopyText(text, "is used by another program");
        else
            FormatText(text, "cannot be opened: %s", reason);
    }
};

} // namespace

// For callers that need the outcome at once: they wait in the program's own message loop.
bool ZoTerm::OpenPort(std::int32_t number, std::uint32_t baud) {
    BeginOpening(number, baud, PortReason::Chosen);
    AwaitOpening();
    return number > 0 && Settings.m_PortNumber == number;
}

// Abandons an opening that is under way, unless it is for the same port and rate.
void ZoTerm::BeginOpening(std::int32_t number, std::uint32_t baud, PortReason reason) {
    const bool same = OpensPort() && m_OpeningNumber == number && m_OpeningBaud == baud;
    const bool left = m_Opening && !same;
    if (left)
        LeaveOpening(std::exchange(m_Opening, nullptr));
    StopWaiting();
    const bool wasOpen = ClosePort();
    if (number > 0 && !same)
        StartToOpen(number, baud, 0, wasOpen || left);
    m_PortReason = reason;
    ++m_OpeningCount;
    SetActivity(m_Activity == Activity::Opening ? Activity::Idle : m_Activity);
    if (!m_Opening || OpeningEnded(m_Opening, QuickOpening)) {
        FinishOpening(number);
        return;
    }
    ShowPort(0);
    char text[32];
    FormatText(text, "Opening COM%d...", static_cast<int>(number));
    ShowNote(m_PortNote, text);
}

void ZoTerm::StartToOpen(std::int32_t number, std::uint32_t baud, DWORD period, bool afterClose) {
    m_OpeningNumber = number;
    m_OpeningBaud = baud;
    m_BaudBefore = Settings.m_BaudRate;
    m_Opening =
        StartOpening({number, baud, InputBufferSize, period, afterClose}, m_hWnd, LookMessage);
}

// Takes the port over, open or not. This may come at any moment, so another window keeps the focus.
void ZoTerm::FinishOpening(std::int32_t number) {
    const bool tried = m_Opening != nullptr;
    if (tried) {
        ComPort* const opened = TakePort(std::exchange(m_Opening, nullptr));
        if (opened && number == m_LastPort)
            opened->TakeDeviceOf(*Port);
        ReplacePort(opened);
    }
    const DWORD error = tried ? Port->LastError() : DWORD{ERROR_SUCCESS};
    const bool connected =
        tried && Port->SetNotify(m_hWnd, LinkMessage, NotifyText | NotifyTransfer);
    Port->SetFast(Settings.m_FastTransfers != 0);
    if (connected) {
        m_LastPort = number;
        StopWaiting();
    }
    if (connected && Settings.m_BaudRate == m_BaudBefore) // else the user has chosen another
        Settings.m_BaudRate = m_OpeningBaud;
    ShowNote(m_PortNote, "");
    ShowPort(connected ? number : 0);
    if (tried && !connected)
        TakeFailedOpening(number, error);
    if (GetActiveWindow() == m_hWnd)
        SetFocus(m_hCommand);
    if (m_Activity == Activity::Opening)
        SetActivity(Activity::Idle);
    if (std::exchange(m_SendsWhenOpen, false))
        StartSendBatch(false);
}

void ZoTerm::TakeFailedOpening(std::int32_t number, DWORD error) {
    if (m_PortReason == PortReason::Saved && IsNotThere(error))
        WaitForPort(number);
    else
        ShowNote(m_PortNote, PortSentence(number, WhyNotOpen(error).text).text);
}

// Reopens a port that is gone as soon as it is back. A worker looks for it; meanwhile the terminal
// works as without a port. The timer stands in for a lost message of the worker.
void ZoTerm::WaitForPort(std::int32_t number) {
    m_AwaitedPort = number;
    m_PortReason = PortReason::Awaited;
    StartToOpen(number, Settings.m_BaudRate, LookPeriod, false);
    SetTimer(m_hWnd, PortTimerId, LookPeriod, nullptr);
    ShowNote(m_PortNote, PortSentence(number, "is gone, waiting for it").text);
}

void ZoTerm::StopWaiting() {
    if (std::exchange(m_AwaitedPort, 0) == 0)
        return;
    KillTimer(m_hWnd, PortTimerId);
    ShowNote(m_PortNote, "");
}

bool ZoTerm::OpensPort() const {
    return m_Opening && m_PortReason != PortReason::Awaited;
}

// The port that is being opened or waited for; 0: none.
std::int32_t ZoTerm::WantedPort() const {
    return OpensPort() ? m_OpeningNumber : m_AwaitedPort;
}

// Returns when the driver is done, or at once when too many waits are on the stack already.
void ZoTerm::AwaitOpening() {
    if (!OpensPort() || SenderWait::TooMany())
        return;
    const ModalScope scope(*this, ModalScope::Wait);
    const SenderWait wait;
    const std::uint32_t mine = m_OpeningCount;
    while (OpensPort() && m_OpeningCount == mine && !m_CloseWanted && MessageStep()) {
    }
}

void ZoTerm::LookAtOpening() {
    if (m_Opening && OpeningEnded(m_Opening))
        FinishOpening(m_OpeningNumber);
}

// Discards queued lines, which were for this port's device. True when a port was open. A port that
// its driver does not release is given up.
bool ZoTerm::ClosePort() {
    const bool wasOpen = Port->Close() || Port->IsGivenUp();
    TakeLineResults();
    if (Port->IsGivenUp())
        ReplacePort(CreateComPort());
    return wasOpen;
}

// Null, for no memory, keeps the old port.
void ZoTerm::ReplacePort(ComPort* port) {
    if (!port)
        return;
    DestroyComPort(std::exchange(Port, port));
    RefuseAwaitedLines();
}

// Title, menus, controls and status bar follow the port that is open; 0: none.
void ZoTerm::ShowPort(std::int32_t number) {
    Settings.m_PortNumber = number;
    CheckPort(number);
    ShowConnection(number != 0);
    TakeBaudRate(Settings.m_BaudRate);
    SetStatusPort(number);
    char title[64];
    if (number)
        FormatText(title, " Port: COM%d, %s", static_cast<int>(number), ProductTitle);
    else
        FormatText(title, " Port: NONE, %s", ProductTitle);
    SetWindowTextA(m_hWnd, title);
}

// The driver of an unplugged adapter may leave the open handle silent, so the system's notice
// counts, and every device change is a reason to check the port, or to look for it.
LRESULT ZoTerm::OnDeviceChange(WPARAM event, LPARAM device) {
    if (m_AwaitedPort && m_Opening)
        HurryOpening(m_Opening);
    if (Settings.m_PortNumber == 0)
        return TRUE;
    const auto* removed = reinterpret_cast<const DEV_BROADCAST_PORT_A*>(device);
    char name[16];
    FormatText(name, "COM%d", static_cast<int>(Settings.m_PortNumber));
    const bool named = event == DBT_DEVICEREMOVECOMPLETE && removed &&
                       removed->dbcp_devicetype == DBT_DEVTYP_PORT &&
                       _stricmp(removed->dbcp_name, name) == 0;
    if (named || !Port->Answers()) {
        Port->Lose(); // it may not have noticed yet
        LosePort();
    }
    return TRUE;
}

// Ends the operation that runs on the port; one that has just completed still ends well. The
// terminal shows the disconnection last, since the operation's end enables what needs a port.
void ZoTerm::LosePort() {
    const std::int32_t number = Settings.m_PortNumber;
    LookAtOperation();
    ClosePort();
    LookAtOperation();
    Operation.m_PortLost = OperationRuns();
    BeginOpening(0, Settings.m_BaudRate, PortReason::Chosen);
    WaitForPort(number);
}
