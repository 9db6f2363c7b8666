#pragma once

// The commands of ZoLink. Each returns the exit code, with what is wrong reported.

#include "companion/ExitCodes.h"
#include "companion/Options.h"
#include "companion/Report.h"

#include <windows.h>

// `canceled` is a manual-reset event: Ctrl+C.
ExitCode RunCommand(const LinkOptions& options, Report& report, HANDLE canceled);
