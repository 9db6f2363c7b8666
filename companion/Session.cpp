#include "companion/Session.h"

#include "companion/Texts.h"

namespace {

constexpr UINT NoticeMessage = WM_APP;
constexpr std::uint32_t InputBufferSize = 4096;
constexpr DWORD LongestStep = 100;    // ms; a notice may get lost
constexpr DWORD LongestCancel = 6000; // ms for a canceled transfer to end

std::string WhyNotOpen(DWORD error) {
    if (error == ERROR_FILE_NOT_FOUND)
        return "there is no such port";
    if (error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION)
        return "it is used by another program";
    return SystemWords(error);
}

} // namespace

Session::Session(Report& report, HANDLE canceled)
    : m_Report(report), m_Canceled(canceled),
      m_Window(
          CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr)),
      m_Port(CreateComPort()) {}

Session::~Session() {
    m_Port.reset();
    if (m_Window)
        DestroyWindow(m_Window);
}

ExitCode Session::Open(std::int32_t number, std::uint32_t baud) {
    m_Name = "COM" + std::to_string(number);
    const std::string path = "\\\\.\\" + m_Name;
    if (!m_Port || !m_Window) {
        m_Report.Error("there is no memory");
        return ExitPort;
    }
    if (!m_Port->Open(path.c_str(), baud, InputBufferSize)) {
        m_Report.Error(m_Name + " cannot be opened: " + WhyNotOpen(m_Port->LastError()));
        return ExitPort;
    }
    m_Port->SetNotify(m_Window, NoticeMessage, NotifyText | NotifyTransfer);
    m_TextAt = GetTickCount64();
    return ExitDone;
}

bool Session::IsCanceled() const {
    return WaitForSingleObject(m_Canceled, 0) == WAIT_OBJECT_0;
}

void Session::TakeText() {
    m_Port->TakeTextNotice();
    char text[4096];
    std::uint32_t count = sizeof(text);
    while (m_Port->ReadText(text, &count) && count > 0) {
        m_TextAt = GetTickCount64();
        m_Report.Text({text, count});
        if (m_Listener)
            m_Listener({text, count});
        count = sizeof(text);
    }
}

// Waits for the next notice, and takes the text that has come.
void Session::Step(DWORD limit, bool canCancel) {
    MsgWaitForMultipleObjects(canCancel ? 1 : 0, &m_Canceled, FALSE, limit, QS_ALLINPUT);
    MSG message;
    while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE))
        DispatchMessageA(&message);
    TakeText();
}

bool Session::WaitUntil(const std::function<bool()>& holds, DWORD limit) {
    const std::uint64_t start = GetTickCount64();
    for (;;) {
        if (holds())
            return true;
        const std::uint64_t passed = GetTickCount64() - start;
        if (IsLost() || IsCanceled() || (limit != INFINITE && passed >= limit))
            return false;
        const std::uint64_t left = limit == INFINITE ? LongestStep : limit - passed;
        Step(static_cast<DWORD>(left < LongestStep ? left : LongestStep), true);
    }
}

Session::Answer Session::Line(const std::string& line) {
    LineResult result;
    if (!m_Port->QueueCommand(line.c_str(), 0))
        return Answer::Refused;
    if (!WaitUntil([&] { return m_Port->TakeResult(&result); }, INFINITE))
        return IsLost() ? Answer::Lost : Answer::Canceled;
    TakeText();
    if (IsLost())
        return Answer::Lost;
    return result.accepted ? Answer::Accepted : result.answered ? Answer::Refused : Answer::None;
}

void Session::AwaitSilence(DWORD silence) {
    m_TextAt = GetTickCount64();
    WaitUntil([&] { return GetTickCount64() - m_TextAt >= silence; }, INFINITE);
}

TransferInfo Session::AwaitTransfer(const std::function<void(const TransferInfo&)>& onProgress) {
    TransferInfo info = {};
    TransferInfo before = {};
    std::uint64_t cancelBy = 0;
    for (;;) {
        if (!m_Port->GetTransferInfo(&info) || info.Status != ERROR_IO_PENDING)
            break;
        if (info.Done != before.Done || info.Errors != before.Errors)
            onProgress(info);
        before = info;
        if (cancelBy == 0 && (IsCanceled() || IsLost())) {
            cancelBy = GetTickCount64() + LongestCancel;
            m_Port->StopSend();
            m_Port->StopReceive();
        }
        if (cancelBy != 0 && GetTickCount64() > cancelBy)
            break;
        Step(LongestStep, cancelBy == 0);
    }
    TakeText();
    return info;
}

ExitCode Session::ReportLoss() {
    if (IsLost()) {
        m_Report.Error(m_Name + " was lost");
        return ExitPort;
    }
    m_Report.Error("canceled");
    return ExitCanceled;
}

ExitCode Session::Judge(const TransferInfo& info, const std::string& subject) {
    if (info.Status == ERROR_SUCCESS)
        return ExitDone;
    if (IsLost() || IsCanceled())
        return ReportLoss();
    if (m_Port->IsRefused()) {
        m_Report.Error("the device refused " + subject);
        return ExitRefused;
    }
    if (info.Status == ERROR_BAD_COMMAND) {
        m_Report.Error(subject + " failed: the device does not answer");
        return ExitFailed;
    }
    if (info.Status == ERROR_CANCELLED || info.Status == ERROR_IO_PENDING) {
        m_Report.Error(subject + " failed: the device gave up or fell silent");
        return ExitFailed;
    }
    m_Report.Error(subject + ": " + SystemWords(info.Status));
    return ExitFile;
}
