#include "terminal/Taskbar.h"

#include "base/Owned.h"

#include <shobjidl.h>

namespace {

ITaskbarList3* Taskbar = nullptr;
bool Tried = false;

using OwnedLibrary = Owned<HMODULE, &FreeLibrary>;

template <typename Pointer> Pointer Function(HMODULE library, const char* name) {
    return reinterpret_cast<Pointer>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// The library that makes such objects is loaded with the first operation: the program starts
// without. It stays as long as the object does, which is to the end.
ITaskbarList3* MakeTaskbar() {
    OwnedLibrary library(LoadLibraryExA("ole32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32));
    if (!library)
        return nullptr;
    const auto initialize = Function<decltype(&CoInitializeEx)>(library.get(), "CoInitializeEx");
    const auto create = Function<decltype(&CoCreateInstance)>(library.get(), "CoCreateInstance");
    if (!initialize || !create || FAILED(initialize(nullptr, COINIT_APARTMENTTHREADED)))
        return nullptr;
    ITaskbarList3* taskbar = nullptr;
    const HRESULT made = create(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
                                reinterpret_cast<void**>(&taskbar));
    static_cast<void>(library.release());
    if (FAILED(made))
        return nullptr;
    if (SUCCEEDED(taskbar->HrInit()))
        return taskbar;
    taskbar->Release();
    return nullptr;
}

ITaskbarList3* TheTaskbar() {
    if (!Tried)
        Taskbar = MakeTaskbar();
    Tried = true;
    return Taskbar;
}

} // namespace

void ShowTaskbarState(HWND window, TaskbarState state) {
    constexpr TBPFLAG flags[] = {TBPF_NOPROGRESS, TBPF_INDETERMINATE, TBPF_NORMAL, TBPF_ERROR};
    if (ITaskbarList3* const taskbar = TheTaskbar())
        taskbar->SetProgressState(window, flags[static_cast<int>(state)]);
}

void ShowTaskbarProgress(HWND window, std::uint64_t done, std::uint64_t total) {
    if (ITaskbarList3* const taskbar = TheTaskbar())
        taskbar->SetProgressValue(window, total ? done : 1, total ? total : 1);
}

UINT TaskbarButtonMessage() {
    static const UINT message = RegisterWindowMessageA("TaskbarButtonCreated");
    return message;
}

// The object of a taskbar that was is no good for the one that is.
void ForgetTaskbar() {
    if (Taskbar)
        Taskbar->Release();
    Taskbar = nullptr;
    Tried = false;
}
