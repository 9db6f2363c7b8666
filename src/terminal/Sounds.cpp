#include "terminal/Sounds.h"

#include <windows.h>

#include <mmsystem.h>

namespace {

// Without a default sound for a missing file, and without waiting for a device that is busy.
constexpr DWORD FromFile = SND_FILENAME | SND_ASYNC | SND_NODEFAULT | SND_NOWAIT;

void Start(const char* path, DWORD flags) {
    StopSounds();
    if (path[0])
        PlaySoundA(path, nullptr, flags);
}

} // namespace

void PlayWav(const char* path) {
    Start(path, FromFile);
}

void LoopWav(const char* path) {
    Start(path, FromFile | SND_LOOP);
}

void StopSounds() {
    PlaySoundA(nullptr, nullptr, SND_PURGE);
}
