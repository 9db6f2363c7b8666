// Process entry: hand files to running terminals and end, or run as an instance of its own.

#include "resources/resource.h"
#include "shell/Dispatcher.h"
#include "shell/Forwarding.h"

#include <windows.h>

#include <cstdlib>

namespace {

// The modeless dialog that has the keyboard, if one has it.
HWND ActiveDialog() {
    const HWND active = GetActiveWindow();
    const ATOM dialogClass = 32770; // the system's own
    return active && GetClassLongPtrA(active, GCW_ATOM) == dialogClass ? active : nullptr;
}

// Every message goes through the accelerators on behalf of the dispatcher, which knows the
// active terminal. One that they took still reaches its own window, but makes no character.
// Dialogs get their keys: Tab, Enter, Esc.
void RunMessageLoop(HWND dispatcher, HACCEL accelerators) {
    MSG message;
    while (GetMessageA(&message, nullptr, 0, 0) > 0) {
        const bool taken = TranslateAcceleratorA(dispatcher, accelerators, &message) != 0;
        const HWND dialog = ActiveDialog();
        if (dialog && IsDialogMessageA(dialog, &message))
            continue;
        if (!taken)
            TranslateMessage(&message);
        DispatchMessageA(&message);
    }
}

} // namespace

int WINAPI WinMain(HINSTANCE instance, HINSTANCE, LPSTR, int) {
    // What is loaded later comes from the system's folder, never from where the user stands.
    SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);

    const StartKind start = ForwardFiles(__argc, __argv);
    if (start != StartKind::Instance)
        return start == StartKind::ForwardedAll ? 0 : 1;

    const HWND dispatcher = CreateDispatcher(instance, {__argc - 1, __argv + 1});
    if (!dispatcher)
        return 0;
    RunMessageLoop(dispatcher, LoadAcceleratorsA(instance, MAKEINTRESOURCEA(IDR_ACCELERATORS)));
    return 0;
}
