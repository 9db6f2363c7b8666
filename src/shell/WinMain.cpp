// Process entry: hand files to running terminals and end, or run as an instance of its own.

#include "resources/resource.h"
#include "shell/Dispatcher.h"
#include "shell/Forwarding.h"
#include "terminal/MessageLoop.h"

#include <windows.h>

#include <cstdlib>

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    // What is loaded later comes from the system's folder, never from where the user stands.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);

    const StartKind start = ForwardFiles(__argc, __argv);
    if (start != StartKind::Instance)
        return start == StartKind::ForwardedAll ? 0 : 1;

    const HWND dispatcher = CreateDispatcher(instance, {__argc - 1, __argv + 1});
    if (!dispatcher)
        return 0;
    PrepareMessageLoop(dispatcher, LoadAcceleratorsA(instance, MAKEINTRESOURCEA(IDR_ACCELERATORS)));
    while (MessageStep()) {
    }
    return 0;
}
