#pragma once

#include <string>

// Measures a terminal program from outside: start, memory, idle CPU, CPU for each MB of text and
// what it loses at 921600 bits per second. It is started by `commandLine`, which makes it open the
// null modem's near end. `log`, when it has one, is a file to which it writes what it receives;
// without it only what it never took off the line counts as lost.
void MeasurePeer(const std::string& label, const std::string& commandLine, const std::string& log);
