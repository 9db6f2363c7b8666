#pragma once

// The exit codes of ZoLink, the same for all commands.
enum ExitCode {
    ExitDone = 0,
    ExitRefused = 1, // the device said no
    ExitUsage = 2,   // nothing was opened
    ExitPort = 3,    // the port cannot be opened, or was lost
    ExitFailed = 4,  // no answer, a transfer that failed, a text that did not come
    ExitFile = 5,    // a local file cannot be read or written
    ExitCanceled = 130,
};
