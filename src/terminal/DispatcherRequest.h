#pragma once

#include <windows.h>

// A terminal's requests to its dispatcher: DispatcherRequest, sent with the code in the low word of
// wParam and the terminal's slot in the high word. Returns 0.
constexpr UINT DispatcherRequest = WM_APP;

enum DispatcherRequestCode : WORD {
    RequestNewTerminal = 0,
    RequestCloseTerminal = 1, // the terminal is gone when the request returns
};
