#pragma once

#include <windows.h>

// The program's message loop, in steps: a handler that has to wait takes steps, too. GUI thread.

// Accelerators are translated on behalf of the dispatcher, which knows the active terminal.
void PrepareMessageLoop(HWND dispatcher, HACCEL accelerators);

bool IsDialog(HWND window);

// Waits for a message and dispatches it. False for WM_QUIT, which it posts again for the outer
// loop.
bool MessageStep();

// True when another thread or process sent the current message and waits for its return.
bool SenderWaits();

// Marks a handler that takes steps before it returns to such a sender. To the system, all that is
// dispatched in these steps is part of the sent message. Its end carries out what is in the queue,
// so that the loop below loses no message.
class SenderWait {
public:
    SenderWait();
    ~SenderWait();
    SenderWait(const SenderWait&) = delete;
    SenderWait& operator=(const SenderWait&) = delete;

    static bool TooMany(); // the stack has no room for another wait
};
