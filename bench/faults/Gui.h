#pragma once

// The thread that owns the windows, as the other threads of the fault runs reach it: by posted
// messages, so that what they ask for happens where a person's doing would.

#include <windows.h>

#include <functional>

// On the GUI thread, once.
bool StartGuiCalls();

// Any other thread. Carries the function out on the GUI thread, between two messages. False when
// that has not happened within half a minute; then it never will.
bool OnGui(std::function<void()> function);
