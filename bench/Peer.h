#pragma once

#include <cstddef>
#include <string>

// Measures another terminal program beside this one, five times in turn, and prints the medians of
// the first so many figures: start and its CPU, idle CPU, private memory, CPU while text shows, CPU
// for each MB of a flood and what of it is lost. The command line makes the peer open the null
// modem's near end at 921600 bits per second. This program drops its oldest text, as others do.
void MeasureBeside(const std::string& peer, std::size_t figures);
