#pragma once

#include <windows.h>

// What a terminal asks of its dispatcher: DispatcherRequest sent with the code in the low word
// of wParam and the terminal's slot in the high word. The answer is always 0.
constexpr UINT DispatcherRequest = WM_APP;

enum DispatcherRequestCode : WORD {
    RequestNewTerminal = 0,
    RequestCloseTerminal = 1, // the terminal is gone when the request returns
};
