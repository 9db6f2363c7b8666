// The stack guard that the compiler's checks use. The runtime library's own would have the system
// load its cryptography before the program can say where libraries may come from.

#include <windows.h>

#include <cstdint>

// NOLINTBEGIN(bugprone-reserved-identifier): the compiler chose the names
extern "C" {
std::uintptr_t __stack_chk_guard = 0x7A6F726265C35A00;
[[noreturn]] void __stack_chk_fail();
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

constexpr unsigned EarliestPriority = 101; // those below are the compiler's
constexpr std::uint64_t Multiplier = 0x9E3779B97F4A7C15;

__attribute__((no_stack_protector)) std::uint64_t Mix(std::uint64_t state, std::uint64_t value) {
    state = (state ^ value) * Multiplier;
    return state ^ (state >> 29);
}

// The guard changes while this runs, so nothing here may be guarded. Its lowest byte is NUL: a text
// that runs over its end cannot carry the guard.
__attribute__((constructor(EarliestPriority), no_stack_protector)) void SeedStackGuard() {
    LARGE_INTEGER counter = {};
    QueryPerformanceCounter(&counter);
    FILETIME time = {};
    GetSystemTimeAsFileTime(&time);
    std::uint64_t state = __stack_chk_guard;
    state = Mix(state, static_cast<std::uint64_t>(counter.QuadPart));
    state = Mix(state, static_cast<std::uint64_t>(time.dwHighDateTime) << 32 | time.dwLowDateTime);
    state = Mix(state, GetTickCount64());
    state =
        Mix(state, static_cast<std::uint64_t>(GetCurrentProcessId()) << 32 | GetCurrentThreadId());
    state = Mix(state, reinterpret_cast<std::uintptr_t>(&counter));
    state = Mix(state, reinterpret_cast<std::uintptr_t>(&SeedStackGuard));
    __stack_chk_guard = state << 8;
}

} // namespace

// The stack is corrupt: no handler runs, the system ends the program.
void __stack_chk_fail() {
    constexpr unsigned stackCookieCheckFailure = 2;
    asm volatile("int $0x29" : : "c"(stackCookieCheckFailure)); // the system's fast failure
    __builtin_unreachable();
}
