#pragma once

// The record of a pty's output lines: DIR/lines/pts-N holds the text below, and DIR/lines/of-COM1
// is a link to it. nullmodem makes and removes the record, the preload library changes its two
// digits. A digit is one byte at a fixed place, so that writers need no lock and a reader always
// finds a whole line.

#include <cstddef>

constexpr char LinesFolder[] = "lines";
constexpr char LinesPrefix[] = "pts-";
constexpr char LinesAtRest[] = "DTR=0 RTS=0\n";
constexpr std::size_t LinesLength = sizeof LinesAtRest - 1;
constexpr std::size_t DtrPlace = 4;
constexpr std::size_t RtsPlace = 10;
