#pragma once

// One port in use by ZoLink: its text, its lines and its transfers, waited for on the main thread.

#include "companion/ExitCodes.h"
#include "companion/Report.h"
#include "link/ComPort.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

class Session {
public:
    // The result of a line.
    enum class Answer { Accepted, Refused, None, Lost, Canceled };

    // `canceled` is a manual-reset event: Ctrl+C.
    Session(Report& report, HANDLE canceled);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // ExitDone, or ExitPort with what is wrong reported.
    ExitCode Open(std::int32_t number, std::uint32_t baud);

    // Sends one line and waits for its result.
    Answer Line(const std::string& line);

    // Waits, at most `limit` ms, until the condition holds; the device's text is shown meanwhile.
    // False when it does not hold, the port is lost, or Ctrl+C was pressed.
    bool WaitUntil(const std::function<bool()>& holds, DWORD limit);

    // Waits until the device has been silent for that many ms.
    void AwaitSilence(DWORD silence);

    // Waits for the end of the transfer that was just started, with `onProgress` at every notice.
    // Ctrl+C cancels it, and then its end is waited for. Returns the snapshot at its end.
    TransferInfo AwaitTransfer(const std::function<void(const TransferInfo&)>& onProgress);

    // What a transfer's end means, with what is wrong reported.
    ExitCode Judge(const TransferInfo& info, const std::string& subject);

    // The listener gets all text too: for a caller that waits for a certain one.
    void Overhear(std::function<void(std::string_view)> listener) {
        m_Listener = std::move(listener);
    }

    bool IsLost() const { return m_Port->IsLost(); }
    bool IsCanceled() const;
    ExitCode ReportLoss(); // or that Ctrl+C was pressed
    ComPort& Port() { return *m_Port; }

private:
    struct PortOwner {
        void operator()(ComPort* port) const { DestroyComPort(port); }
    };

    void Step(DWORD limit, bool canCancel);
    void TakeText();

    Report& m_Report;
    const HANDLE m_Canceled;
    HWND m_Window = nullptr; // for the port's notices; never shown
    std::unique_ptr<ComPort, PortOwner> m_Port;
    std::string m_Name;
    std::uint64_t m_TextAt = 0; // GetTickCount64 of the last text
    std::function<void(std::string_view)> m_Listener;
};
