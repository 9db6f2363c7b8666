#pragma once

#include <windows.h>

// The program's module, for its resources and dialogs. Set by CreateTerminal.
inline HINSTANCE ProgramModule = nullptr;
