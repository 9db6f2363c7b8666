#pragma once

// Wave files. One sound at a time plays in the process; a file that is missing or cannot be played
// is silence. GUI thread.

// Stops the current sound and starts the file at `path`, if that is not empty. Returns at once.
void PlayWav(const char* path);

// The same over and over, until the next sound or StopSounds.
void LoopWav(const char* path);

void StopSounds();
