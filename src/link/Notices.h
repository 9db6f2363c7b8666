#pragma once

// What the link reports to its window.

#include <cstdint>

// A snapshot of a transfer. Status is a Win32 error number: ERROR_IO_PENDING while it runs, 0 at
// its end, another number when it failed. Sizes are in bytes.
struct TransferInfo {
    std::uint32_t Status;
    std::uint32_t Size;
    std::uint32_t Block;
    std::uint32_t Done;
    std::uint32_t Errors;
};

// What a notification of the link says, in wParam. It only says "look": what it speaks of stays in
// the port until it is taken, since a posted message may get lost. The low half of lParam is the
// transfer's Status; the high half is the number of the transfer for NotifyTransfer.
enum NotifyKind : std::uint32_t {
    NotifyText = 1,     // device text waits in the input buffer
    NotifyTransfer = 2, // a transfer progressed or ended
    NotifyLost = 3,     // the port stopped working; repeated until it is closed
    NotifyAnswer = 4,   // a queued line has its result
};
