#pragma once

#include <windows.h>

// The program's message loop, in steps: whoever has to wait within a handler takes steps, too.
// GUI thread.

// Accelerators are translated on behalf of the dispatcher, which knows the active terminal.
void PrepareMessageLoop(HWND dispatcher, HACCEL accelerators);

// Waits for a message and carries it out. False when the program is to end; then the message that
// says so is in the queue again.
bool MessageStep();

// True when another thread or process sent the message at hand and waits for its answer.
bool SenderWaits();

// Stands in a handler that takes steps until it can answer such a sender. To the system, all that
// is carried out in these steps is a part of the sent message.
class SenderWait {
public:
    SenderWait();
    ~SenderWait();
    SenderWait(const SenderWait&) = delete;
    SenderWait& operator=(const SenderWait&) = delete;

    static bool TooMany(); // one more would wait too deep on the stack
};
