#pragma once

#include <windows.h>

// A running converter, started and awaited on a thread of its own: both may take any time.
struct Conversion;

// GUI thread. Starts the program that a command line names. When it has ended, or could not be
// started, `message` is posted to the window. Null without memory or thread.
Conversion* StartConversion(const char* commandLine, HWND window, UINT message);

// True when it has ended.
bool ConversionEnded(const Conversion* conversion);

// Releases it, and ends the program if it still runs. Null is allowed.
void LeaveConversion(Conversion* conversion);
