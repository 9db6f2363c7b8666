#include "shell/Forwarding.h"

#include "base/FileNames.h"
#include "terminal/ZoTerm.h"

#include <cstring>
#include <new>

namespace {

constexpr int ClassNameRoom = 260;

// Has the layout of COPYDATASTRUCT, so that the message carries the request itself. The thread that
// delivers it frees it.
struct ForwardRequest {
    HWND target;
    DWORD size; // bytes of the list
    char* list;
};

static_assert(sizeof(ForwardRequest) == sizeof(COPYDATASTRUCT) &&
                  offsetof(ForwardRequest, size) == offsetof(COPYDATASTRUCT, cbData) &&
                  offsetof(ForwardRequest, list) == offsetof(COPYDATASTRUCT, lpData),
              "the request is the message's descriptor");

// The files to forward, and the threads that do it. One wait covers MAXIMUM_WAIT_OBJECTS threads;
// when that many run, they are awaited before the next starts.
struct Forwarder {
    const PathList* files;
    HANDLE ForwardThreads[MAXIMUM_WAIT_OBJECTS];
    DWORD ForwardCount;
    bool forwarded;
    bool refused;
};

DWORD WINAPI ForwardThreadProc(void* parameter) {
    auto* request = static_cast<ForwardRequest*>(parameter);
    const LRESULT taken =
        SendMessageA(request->target, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(request));
    delete[] request->list;
    delete request;
    return taken ? 0 : 1;
}

// Null when memory is exhausted.
ForwardRequest* MakeRequest(const Forwarder& forwarder, HWND target) {
    auto* request = new (std::nothrow) ForwardRequest;
    const std::size_t size = forwarder.files->Size();
    auto* list = new (std::nothrow) char[size];
    if (!request || !list) {
        delete request;
        delete[] list;
        return nullptr;
    }
    std::memcpy(list, forwarder.files->List(), size);
    *request = {target, static_cast<DWORD>(size), list};
    return request;
}

void AwaitThreads(Forwarder& forwarder) {
    if (forwarder.ForwardCount == 0)
        return;
    WaitForMultipleObjects(forwarder.ForwardCount, forwarder.ForwardThreads, TRUE, INFINITE);
    for (DWORD i = 0; i < forwarder.ForwardCount; ++i) {
        DWORD exitCode = 1;
        GetExitCodeThread(forwarder.ForwardThreads[i], &exitCode);
        forwarder.refused = forwarder.refused || exitCode != 0;
        CloseHandle(forwarder.ForwardThreads[i]);
    }
    forwarder.ForwardCount = 0;
}

void ForwardTo(Forwarder& forwarder, HWND target) {
    forwarder.forwarded = true;
    if (forwarder.ForwardCount == MAXIMUM_WAIT_OBJECTS)
        AwaitThreads(forwarder);
    ForwardRequest* request = MakeRequest(forwarder, target);
    const HANDLE thread =
        request ? CreateThread(nullptr, 0, &ForwardThreadProc, request, 0, nullptr) : nullptr;
    if (thread) {
        forwarder.ForwardThreads[forwarder.ForwardCount++] = thread;
        return;
    }
    forwarder.refused = true;
    if (request)
        delete[] request->list;
    delete request;
}

BOOL CALLBACK FindRunningTerminal(HWND window, LPARAM parameter) {
    auto& forwarder = *reinterpret_cast<Forwarder*>(parameter);
    char className[ClassNameRoom];
    if (!GetClassNameA(window, className, ClassNameRoom) ||
        std::strcmp(className, TerminalClassName) != 0)
        return TRUE;
    SetForegroundWindow(window);
    if (forwarder.files->Count() == 0)
        return FALSE;
    ForwardTo(forwarder, window);
    return TRUE;
}

} // namespace

StartKind ForwardFiles(const PathList& files) {
    Forwarder forwarder = {};
    forwarder.files = &files;
    EnumWindows(&FindRunningTerminal, reinterpret_cast<LPARAM>(&forwarder));
    AwaitThreads(forwarder);
    if (!forwarder.forwarded)
        return StartKind::Instance;
    return forwarder.refused ? StartKind::ForwardedSome : StartKind::ForwardedAll;
}
