#include "link/PortOpening.h"

#include "base/Owned.h"
#include "base/Text.h"

#include <atomic>
#include <new>
#include <utility>

// Both sides hold it; whoever leaves last frees it.
struct PortOpening {
    ~PortOpening() { DestroyComPort(port); }

    std::atomic<int> holders{2};
    std::atomic<bool> left{false};
    PortRequest request;
    ComPort* port = nullptr;
    OwnedHandle ended; // manual-reset event
    OwnedHandle hurry; // auto-reset event
    HWND window = nullptr;
    UINT message = 0;
};

namespace {

constexpr int MostTries = 5;
constexpr DWORD TryPause = 50; // ms

void Release(PortOpening* opening) {
    if (--opening->holders == 0)
        delete opening;
}

// What drivers say until they are done with the close before.
bool MayPass(DWORD error) {
    return error == ERROR_ACCESS_DENIED || error == ERROR_GEN_FAILURE;
}

bool OpenOnce(PortOpening& opening) {
    const PortRequest& request = opening.request;
    char path[32];
    FormatText(path, "\\\\.\\COM%d", static_cast<int>(request.number));
    for (int tries = request.afterClose ? MostTries : 1; !opening.left; Sleep(TryPause)) {
        if (opening.port->Open(path, request.baud, request.inSize))
            return true;
        if (--tries == 0 || !MayPass(opening.port->LastError()))
            break;
    }
    return false;
}

void OpenPort(PortOpening& opening) {
    while (!OpenOnce(opening) && opening.request.period > 0 && !opening.left)
        WaitForSingleObject(opening.hurry.get(), opening.request.period);
}

DWORD WINAPI OpeningThread(void* parameter) {
    auto* const opening = static_cast<PortOpening*>(parameter);
    OpenPort(*opening);
    SetEvent(opening->ended.get());
    if (!opening->left)
        PostMessageA(opening->window, opening->message, 0, 0);
    Release(opening);
    return 0;
}

} // namespace

PortOpening* StartOpening(const PortRequest& request, HWND window, UINT message) {
    auto* const opening = new (std::nothrow) PortOpening;
    if (!opening)
        return nullptr;
    opening->request = request;
    opening->port = CreateComPort();
    opening->ended.reset(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    opening->hurry.reset(CreateEventA(nullptr, FALSE, FALSE, nullptr));
    opening->window = window;
    opening->message = message;
    const bool made = opening->port && opening->ended && opening->hurry;
    const OwnedHandle thread(made ? CreateThread(nullptr, 0, &OpeningThread, opening, 0, nullptr)
                                  : nullptr);
    if (thread)
        return opening;
    delete opening;
    return nullptr;
}

void HurryOpening(const PortOpening* opening) {
    SetEvent(opening->hurry.get());
}

bool OpeningEnded(const PortOpening* opening, DWORD limit) {
    return WaitForSingleObject(opening->ended.get(), limit) == WAIT_OBJECT_0;
}

ComPort* TakePort(PortOpening* opening) {
    ComPort* const port = std::exchange(opening->port, nullptr);
    Release(opening);
    return port;
}

void LeaveOpening(PortOpening* opening) {
    if (!opening)
        return;
    opening->left = true;
    HurryOpening(opening);
    Release(opening);
}
