// The terminal's port: how it is opened, closed and lost. A driver may take half a minute to open a
// port, so a worker does that; the window goes on meanwhile, disconnected.

#include "base/Text.h"
#include "link/PortOpening.h"
#include "terminal/MessageLoop.h"
#include "terminal/ModalScope.h"
#include "terminal/ZoTerm.h"

#include <dbt.h>

#include <utility>

namespace {

constexpr std::uint32_t InputBufferSize = 4096;
constexpr DWORD QuickOpening = 40; // ms; most ports are open by then

} // namespace

// The answer is for callers that need it at once: they wait in the program's own message loop.
bool ZoTerm::OpenPort(std::int32_t number, std::uint32_t baud) {
    BeginOpening(number, baud);
    AwaitOpening();
    return number > 0 && Settings.m_PortNumber == number;
}

// One that is under way is left.
void ZoTerm::BeginOpening(std::int32_t number, std::uint32_t baud) {
    LeaveOpening(std::exchange(m_Opening, nullptr));
    ++m_OpeningCount;
    m_OpeningNumber = number;
    m_OpeningBaud = baud;
    m_BaudBefore = Settings.m_BaudRate;
    const bool wasOpen = ClosePort();
    if (number > 0)
        m_Opening = StartOpening({number, baud, InputBufferSize, wasOpen}, m_hWnd, LookMessage);
    SetActivity(m_Activity == Activity::Opening ? Activity::Idle : m_Activity);
    if (!m_Opening || OpeningEnded(m_Opening, QuickOpening)) {
        FinishOpening();
        return;
    }
    char text[32];
    FormatText(text, "Opening COM%d...", static_cast<int>(number));
    SetStatusText(text);
    m_OpeningShown = true;
    ShowPort(0);
}

// The port is open, or it is not. This may come at any moment: another window keeps the keyboard.
void ZoTerm::FinishOpening() {
    bool connected = false;
    if (m_Opening) {
        ReplacePort(TakePort(std::exchange(m_Opening, nullptr)));
        connected = Port->SetNotify(m_hWnd, LinkMessage, NotifyText | NotifyTransfer);
    }
    if (connected && Settings.m_BaudRate == m_BaudBefore) // else the user has chosen another
        Settings.m_BaudRate = m_OpeningBaud;
    if (std::exchange(m_OpeningShown, false))
        SetStatusText("");
    ShowPort(connected ? m_OpeningNumber : 0);
    if (GetActiveWindow() == m_hWnd)
        SetFocus(m_hCommand);
    if (m_Activity == Activity::Opening)
        SetActivity(Activity::Idle);
    if (std::exchange(m_SendsWhenOpen, false))
        StartSendBatch(false);
}

// As long as a driver takes. Without a place on the stack for one more wait, it ends later.
void ZoTerm::AwaitOpening() {
    if (!m_Opening || SenderWait::TooMany())
        return;
    const ModalScope scope(*this, ModalScope::Wait);
    const SenderWait wait;
    const std::uint32_t mine = m_OpeningCount;
    while (m_Opening && m_OpeningCount == mine && !m_CloseWanted && MessageStep()) {
    }
}

void ZoTerm::LookAtOpening() {
    if (m_Opening && OpeningEnded(m_Opening))
        FinishOpening();
}

// What waited was for the device that goes. True when a port was open. One that its driver holds is
// left to it.
bool ZoTerm::ClosePort() {
    const bool wasOpen = Port->Close() || Port->IsGivenUp();
    TakeAnswers();
    if (Port->IsGivenUp())
        ReplacePort(CreateComPort());
    return wasOpen;
}

// Without another one, the old one stays.
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

// A pulled adapter's driver may leave the open handle silent, so the system's own word counts, and
// every change among the devices is a reason to ask the port.
LRESULT ZoTerm::OnDeviceChange(WPARAM event, LPARAM device) {
    if (Settings.m_PortNumber == 0)
        return TRUE;
    const auto* removed = reinterpret_cast<const DEV_BROADCAST_PORT_A*>(device);
    char name[16];
    FormatText(name, "COM%d", static_cast<int>(Settings.m_PortNumber));
    const bool named = event == DBT_DEVICEREMOVECOMPLETE && removed &&
                       removed->dbcp_devicetype == DBT_DEVTYP_PORT &&
                       _stricmp(removed->dbcp_name, name) == 0;
    if (named || !Port->Answers())
        LosePort();
    return TRUE;
}

// What runs on the port ends with it: well, if it has come to its end just before. Only then the
// terminal shows that it is disconnected, or the operation's end would enable what needs a port.
void ZoTerm::LosePort() {
    LookAtOperation();
    ClosePort();
    LookAtOperation();
    Operation.m_PortLost = OperationRuns();
    BeginOpening(0, Settings.m_BaudRate);
}
