#pragma once

// How fast a terminal's window answers another process while everything happens, and what several
// terminals lose at once. Both print their rows.

void MeasureAnswers();
void MeasureFourStreams();
