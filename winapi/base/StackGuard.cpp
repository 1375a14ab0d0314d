// The runtime of g++'s and clang's stack protector: the value that guards every frame, and the end of a process whose
// value was overwritten.
//
// Part of each program of this tree and of none of its libraries: other programs that link these keep their own.
//
// This file replaces the library that comes with the compiler. That library asks a cryptographic service provider of
// the system for the value, at every start of every program: it loads three DLLs and reads keys of the registry, which
// takes longer than the rest of a run for a user who has declined. The value need not be secret from the user of the
// machine. It must only be unknown to an attacker who composes an input that overflows a buffer, so it is made here as
// Microsoft's runtime makes its own.

#include <windows.h>

#include <cstdint>

namespace
{
// Spreads each bit over the whole word.
std::uint64_t Mix(std::uint64_t value) noexcept
{
    value = (value ^ (value >> 32)) * 0xD6E8FEB86659FD93;
    value = (value ^ (value >> 32)) * 0xD6E8FEB86659FD93;
    return value ^ (value >> 32);
}

std::uint64_t MakeGuard() noexcept
{
    FILETIME now{};
    ::GetSystemTimeAsFileTime(&now);
    LARGE_INTEGER ticks{};
    ::QueryPerformanceCounter(&ticks);
    std::uint64_t guard = Mix((static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime);
    guard = Mix(guard ^ static_cast<std::uint64_t>(ticks.QuadPart));
    guard = Mix(guard ^ ::GetTickCount64());
    guard = Mix(guard ^ ((static_cast<std::uint64_t>(::GetCurrentProcessId()) << 32) | ::GetCurrentThreadId()));
    guard = Mix(guard ^ reinterpret_cast<std::uint64_t>(&now));       // the address of the stack
    guard = Mix(guard ^ reinterpret_cast<std::uint64_t>(&MakeGuard)); // and of the image: both are random
    // The first byte in memory is zero, which no text that is copied beyond its buffer can contain.
    return guard & ~std::uint64_t{0xFF};
}

[[noreturn]] void EndProcess() noexcept
{
    // At once: the stack is damaged, so nothing may be called that uses its contents.
    constexpr UINT kStackBufferOverrun = 0xC0000409; // STATUS_STACK_BUFFER_OVERRUN
    ::TerminateProcess(::GetCurrentProcess(), kStackBufferOverrun);
    __builtin_unreachable();
}
} // namespace

// NOLINTBEGIN(readability-identifier-naming): the compiler's names
extern "C"
{
    std::uint64_t __stack_chk_guard = 0xBB40E64DA205B000; // until the function below has run

    [[noreturn]] void __stack_chk_fail()
    {
        EndProcess();
    }

    // Called by the checked forms of memcpy and its like. Not [[noreturn]]: some headers declare it, in their own way.
    [[gnu::noreturn]] void __chk_fail()
    {
        EndProcess();
    }
}
// NOLINTEND(readability-identifier-naming)

namespace
{
// Before all static objects. Not guarded itself, since the value changes while it runs.
__attribute__((constructor(101), no_stack_protector)) void InitializeGuard() noexcept
{
    __stack_chk_guard = MakeGuard();
}
} // namespace
