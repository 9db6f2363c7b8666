#include "fileops/Converter.h"

#include "base/Owned.h"
#include "base/Text.h"

#include <atomic>
#include <new>

// Shared by the terminal and the thread; the last to release it frees it.
struct Conversion {
    std::atomic<int> holders{2};
    OwnedHandle left; // manual-reset events
    OwnedHandle ended;
    OwnedHandle job; // the program and its children
    HWND window = nullptr;
    UINT message = 0;
    char commandLine[1000] = {};
};

namespace {

void Release(Conversion* conversion) {
    if (--conversion->holders == 0)
        delete conversion;
}

// A program that does not start counts as one that fails.
void RunProgram(Conversion& conversion) {
    STARTUPINFOA startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessA(nullptr, conversion.commandLine, nullptr, nullptr, FALSE,
                        CREATE_DEFAULT_ERROR_MODE | CREATE_SUSPENDED, nullptr, nullptr, &startup,
                        &process))
        return;
    const OwnedHandle thread(process.hThread);
    const OwnedHandle running(process.hProcess);
    AssignProcessToJobObject(conversion.job.get(), running.get());
    ResumeThread(thread.get());
    const HANDLE either[] = {running.get(), conversion.left.get()};
    if (WaitForMultipleObjects(2, either, FALSE, INFINITE) == WAIT_OBJECT_0)
        return;
    TerminateJobObject(conversion.job.get(), ERROR_CANCELLED);
    TerminateProcess(running.get(), ERROR_CANCELLED); // if it is not in the job
}

DWORD WINAPI ConverterThread(void* parameter) {
    auto* const conversion = static_cast<Conversion*>(parameter);
    RunProgram(*conversion);
    SetEvent(conversion->ended.get());
    if (WaitForSingleObject(conversion->left.get(), 0) != WAIT_OBJECT_0)
        PostMessageA(conversion->window, conversion->message, 0, 0);
    Release(conversion);
    return 0;
}

} // namespace

Conversion* StartConversion(const char* commandLine, HWND window, UINT message) {
    auto* const conversion = new (std::nothrow) Conversion;
    if (!conversion)
        return nullptr;
    conversion->left.reset(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    conversion->ended.reset(CreateEventA(nullptr, TRUE, FALSE, nullptr));
    conversion->job.reset(CreateJobObjectA(nullptr, nullptr));
    conversion->window = window;
    conversion->message = message;
    const bool made = conversion->left && conversion->ended && conversion->job &&
                      CopyText(conversion->commandLine, commandLine);
    const OwnedHandle thread(
        made ? CreateThread(nullptr, 0, &ConverterThread, conversion, 0, nullptr) : nullptr);
    if (thread)
        return conversion;
    delete conversion;
    return nullptr;
}

bool ConversionEnded(const Conversion* conversion) {
    return WaitForSingleObject(conversion->ended.get(), 0) == WAIT_OBJECT_0;
}

void LeaveConversion(Conversion* conversion) {
    if (!conversion)
        return;
    if (!ConversionEnded(conversion))
        TerminateJobObject(conversion->job.get(), ERROR_CANCELLED);
    SetEvent(conversion->left.get());
    Release(conversion);
}
