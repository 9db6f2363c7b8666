// Process entry: forwards files to running terminals and ends, or runs as a new instance.

#include "base/FileNames.h"
#include "link/SystemCodePage.h"
#include "resources/resource.h"
#include "shell/Dispatcher.h"
#include "shell/Forwarding.h"
#include "terminal/MessageLoop.h"

#include <windows.h>

#include <shellapi.h>

#include <cwchar>

extern "C" int _dowildcard; // of the runtime
int _dowildcard = 0;        // no wildcards: they would send files that nobody named

namespace {

// True when anything follows the program's name, which may be quoted.
bool HasArguments(const wchar_t* line) {
    for (bool quoted = false; *line && (quoted || (*line != L' ' && *line != L'\t')); ++line)
        quoted = quoted != (*line == L'"');
    return line[std::wcsspn(line, L" \t")] != L'\0';
}

// Reads arguments 1 and up, as paths from this process's folder, whichever process sends them.
// False without memory.
bool ReadArguments(PathList& files) {
    if (!HasArguments(GetCommandLineW())) // the system's parser comes with a large library
        return true;
    int count = 0;
    wchar_t** const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    bool read = arguments != nullptr;
    for (int i = 1; i < count; ++i)
        read = files.Add(arguments[i]) && read;
    LocalFree(arguments);
    return read;
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    SetErrorMode(SEM_FAILCRITICALERRORS); // a drive without a disk fails without a message box

    // Libraries loaded later come from the system's folder, never from the current one.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);

    UseSystemCodePage();
    PathList files;
    if (!ReadArguments(files))
        return 1;
    const StartKind start = ForwardFiles(files);
    if (start != StartKind::Instance)
        return start == StartKind::ForwardedAll ? 0 : 1;

    const HWND dispatcher = CreateDispatcher(instance, &files);
    if (!dispatcher)
        return 0;
    PrepareMessageLoop(dispatcher, LoadAcceleratorsA(instance, MAKEINTRESOURCEA(IDR_ACCELERATORS)));
    while (MessageStep()) {
    }
    return 0;
}
