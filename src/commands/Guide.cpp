#include "commands/Guide.h"

#include "base/Owned.h"
#include "base/SystemLibrary.h"

#include <windows.h>

#include <objbase.h>
#include <shellapi.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace {

constexpr wchar_t GuidePath[] = L"docs\\guide.html"; // from the program's folder

// Writes the guide's full path. A relative one would mean any folder that the program is started
// in. False when it is too long.
bool FindGuide(wchar_t (&path)[MAX_PATH]) {
    const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH)
        return false;
    const wchar_t* const backslash = std::wcsrchr(path, L'\\');
    const auto folder = static_cast<std::size_t>(backslash ? backslash + 1 - path : MAX_PATH);
    if (folder + std::size(GuidePath) > MAX_PATH)
        return false;
    std::copy_n(GuidePath, std::size(GuidePath), path + folder);
    return true;
}

// A browser may take long to start, and the shell's extensions need COM. The thread ends right
// behind the call, so the shell must not return early (SEE_MASK_NOASYNC).
DWORD WINAPI GuideThread(void*) {
    wchar_t path[MAX_PATH] = {};
    if (!FindGuide(path) || GetFileAttributesW(path) == INVALID_FILE_ATTRIBUTES)
        return 0;
    const auto enter = SystemFunction<decltype(&CoInitializeEx)>("ole32.dll", "CoInitializeEx");
    const auto leave = SystemFunction<decltype(&CoUninitialize)>("ole32.dll", "CoUninitialize");
    const bool entered =
        enter && leave &&
        SUCCEEDED(enter(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE));
    SHELLEXECUTEINFOW guide = {};
    guide.cbSize = sizeof(guide);
    guide.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
    guide.lpVerb = L"open";
    guide.lpFile = path;
    guide.nShow = SW_SHOWNORMAL;
    ShellExecuteExW(&guide);
    if (entered)
        leave();
    return 0;
}

} // namespace

void OpenGuide() {
    const OwnedHandle thread(CreateThread(nullptr, 0, &GuideThread, nullptr, 0, nullptr));
}
