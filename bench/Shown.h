#pragma once

// Text that shows, all of it: the pane is cleared before it is full, or drops its oldest.

class Console;

// CPU of a program that shows text at this speed, in percent of one core. A pane that would fill is
// cleared from outside; with `clears` off the program has to make room.
double ShowingPercent(const Console& console, int pace, bool clears, double seconds);

// The longest time from a line's last byte on the wire until a terminal's pane holds it, in ms,
// while text comes at this speed; at 0 a line comes twice a second. The terminal drops its oldest
// text: what is cleared might have shown.
double SlowestLag(const Console& console, int pace, double seconds);
