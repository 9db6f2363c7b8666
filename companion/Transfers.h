#pragma once

// The commands of ZoLink that move files; see Commands.h.

#include "companion/ExitCodes.h"
#include "companion/Options.h"
#include "companion/Report.h"

#include <windows.h>

ExitCode SendFiles(const LinkOptions& options, Report& report, HANDLE canceled);
ExitCode SendImage(const LinkOptions& options, Report& report, HANDLE canceled);
ExitCode ReceiveFile(const LinkOptions& options, Report& report, HANDLE canceled);
ExitCode BootDevice(const LinkOptions& options, Report& report, HANDLE canceled);
