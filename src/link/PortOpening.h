#pragma once

// Opens a port on a thread of its own: a driver may take half a minute for that.

#include "link/ComPort.h"

struct PortOpening;

struct PortRequest {
    std::int32_t number = 0;  // n of COMn
    std::uint32_t baud = 0;   // bits per second
    std::uint32_t inSize = 0; // bytes of the input buffer
    DWORD period = 0;         // ms after which a try that failed is repeated; 0: only one counts
    bool afterClose = false;  // a port was closed just before: its driver may still be busy
};

// GUI thread. Begins to open a port. When that is done, `message` is posted to the window. Null
// without memory or thread.
PortOpening* StartOpening(const PortRequest& request, HWND window, UINT message);

// Any thread. Has an opening that is repeated try again at once.
void HurryOpening(const PortOpening* opening);

// Any thread. Waits at most `limit` ms for the end. True when it is done.
bool OpeningEnded(const PortOpening* opening, DWORD limit = 0);

// GUI thread, when it is done. Forgets it and returns the port, which is the caller's: open, or
// closed with the reason in LastError.
ComPort* TakePort(PortOpening* opening);

// GUI thread. Forgets it: a port that is open later is closed again. Null is allowed.
void LeaveOpening(PortOpening* opening);
