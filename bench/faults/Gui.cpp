#include "bench/faults/Gui.h"

#include "base/Owned.h"

#include <memory>
#include <mutex>
#include <utility>

namespace {

constexpr UINT CallMessage = WM_APP;
constexpr DWORD Patience = 30000; // ms
constexpr DWORD Again = 1000;     // ms; a modal loop that ends may drop a message

HWND Window = nullptr;

struct Call {
    explicit Call(std::function<void()> what) : function(std::move(what)) {}

    std::mutex lock; // of the function
    std::function<void()> function;
    OwnedHandle done{CreateEventA(nullptr, TRUE, FALSE, nullptr)};
};

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != CallMessage)
        return DefWindowProcA(window, message, wParam, lParam);
    const std::unique_ptr<std::shared_ptr<Call>> call(
        reinterpret_cast<std::shared_ptr<Call>*>(lParam));
    std::function<void()> function;
    {
        const std::lock_guard<std::mutex> guard((*call)->lock);
        function = std::exchange((*call)->function, nullptr);
    }
    if (!function) // posted again
        return 0;
    function();
    SetEvent((*call)->done.get());
    return 0;
}

} // namespace

bool StartGuiCalls() {
    Window =
        CreateWindowExA(0, "STATIC", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    if (Window)
        SetWindowLongPtrA(Window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Procedure));
    return Window != nullptr;
}

bool OnGui(std::function<void()> function) {
    const auto call = std::make_shared<Call>(std::move(function));
    for (DWORD waited = 0; waited < Patience; waited += Again) {
        auto* const posted = new std::shared_ptr<Call>(call);
        if (!PostMessageA(Window, CallMessage, 0, reinterpret_cast<LPARAM>(posted))) {
            delete posted;
            return false;
        }
        if (WaitForSingleObject(call->done.get(), Again) == WAIT_OBJECT_0)
            return true;
    }
    {
        const std::lock_guard<std::mutex> guard(call->lock);
        if (std::exchange(call->function, nullptr))
            return false;
    }
    return WaitForSingleObject(call->done.get(), INFINITE) == WAIT_OBJECT_0; // it has begun
}
