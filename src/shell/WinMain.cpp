// Process entry: hand files to running terminals and end, or run as an instance of its own.

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
int _dowildcard = 0;        // a name with a wildcard is nobody's: no file is sent unasked

namespace {

// The program's name, which may stand in quotes, is no argument.
bool HasArguments(const wchar_t* line) {
    for (bool quoted = false; *line && (quoted || (*line != L' ' && *line != L'\t')); ++line)
        quoted = quoted != (*line == L'"');
    return line[std::wcsspn(line, L" \t")] != L'\0';
}

// Arguments 1 and up. A name means a file of this start's folder, whoever gets it. False without
// memory for all of them.
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
    SetErrorMode(SEM_FAILCRITICALERRORS); // a drive without a disk fails, and asks for none

    // What is loaded later comes from the system's folder, never from where the user stands.
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
