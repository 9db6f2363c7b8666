#pragma once

class ZoTerm;

// Batches whose first file goes through a converter: the converter runs, the batch sends the file
// that it wrote, and the device gets a command for that file. GUI thread.

// Starts the converter of the batch's first file. False when the file needs none; otherwise the
// batch begins by itself: when the converter has ended or, if it did not start, at once.
bool ConvertFirst(ZoTerm& terminal);

// Sends the device's command for the file that was converted and sent, if After says that one was.
void SendMusicCommand(ZoTerm& terminal);
