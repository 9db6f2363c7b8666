// Writes PATH.loaded as soon as something loads it.

#include <windows.h>

#include <fstream>
#include <string>

// What the program wants of the library that this one poses as.
extern "C" __declspec(dllexport) BOOL WINAPI PlaySoundA(LPCSTR, HMODULE, DWORD) {
    return FALSE;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, void*) {
    char path[MAX_PATH];
    if (reason == DLL_PROCESS_ATTACH && GetModuleFileNameA(module, path, MAX_PATH))
        std::ofstream(std::string(path) + ".loaded") << "loaded";
    return TRUE;
}
