#include "terminal/Sounds.h"

#include <windows.h>

#include <mmsystem.h>

#include <utility>

namespace {

// Loads the sound library from the system's folder: the system looks for a program's imports beside
// the program first, where anyone may have put a file of that name.
bool PlaySoundOfSystem(const char* path, DWORD flags) {
    using PlaySoundProc = BOOL(WINAPI*)(LPCSTR, HMODULE, DWORD);
    static const HMODULE library =
        LoadLibraryExA("winmm.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    static const auto play = library ? reinterpret_cast<PlaySoundProc>(reinterpret_cast<void*>(
                                           GetProcAddress(library, "PlaySoundA")))
                                     : nullptr;
    return play && play(path, nullptr, flags);
}

// Without a default sound for a missing file, and without waiting for a device that is busy.
constexpr DWORD FromFile = SND_FILENAME | SND_ASYNC | SND_NODEFAULT | SND_NOWAIT;

bool MayPlay = false; // a sound has been started since the last stop

void Start(const char* path, DWORD flags) {
    StopSounds();
    if (!path[0])
        return;
    MayPlay = true;
    PlaySoundOfSystem(path, flags);
}

} // namespace

void PlayWav(const char* path) {
    Start(path, FromFile);
}

void LoopWav(const char* path) {
    Start(path, FromFile | SND_LOOP);
}

// Whoever plays nothing need not load the library.
void StopSounds() {
    if (std::exchange(MayPlay, false))
        PlaySoundOfSystem(nullptr, SND_PURGE);
}
