#pragma once

class ZoTerm;

// A batch whose first file is one for a converter: the converter runs, the file that it wrote is
// sent, and the device gets a command for it. GUI thread.

// Starts the converter of the batch's first file. False when the file needs none; otherwise the
// batch begins by itself: when the converter has ended or, if it did not start, at once.
bool ConvertFirst(ZoTerm& terminal);

// Sends the device's command for the file that was converted and sent, if After says that one was.
void SendMusicCommand(ZoTerm& terminal);
