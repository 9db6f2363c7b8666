#include "terminal/Taskbar.h"

#include "base/SystemLibrary.h"

#include <shobjidl.h>

namespace {

ITaskbarList3* Taskbar = nullptr;
bool Tried = false;

ITaskbarList3* MakeTaskbar() {
    const auto initialize =
        SystemFunction<decltype(&CoInitializeEx)>("ole32.dll", "CoInitializeEx");
    const auto create =
        SystemFunction<decltype(&CoCreateInstance)>("ole32.dll", "CoCreateInstance");
    if (!initialize || !create || FAILED(initialize(nullptr, COINIT_APARTMENTTHREADED)))
        return nullptr;
    ITaskbarList3* taskbar = nullptr;
    if (FAILED(create(CLSID_TaskbarList, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskbarList3,
                      reinterpret_cast<void**>(&taskbar))))
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
    if (state == TaskbarState::None && !Taskbar) // nothing has been shown yet
        return;
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

void ForgetTaskbar() {
    if (Taskbar)
        Taskbar->Release();
    Taskbar = nullptr;
    Tried = false;
}
