#include "proxy/ProcessSetup.h"

#include <windows.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <signal.h>

#include "winapi/KernelApi.h"
#include "winapi/WinApi.h"

namespace KVAnalyticsProxy
{
namespace
{
constexpr int kQuietEnd = 3; // what abort ends with

// The thread that may end the process by way of its static objects; 0: none.
constinit std::atomic<DWORD> s_orderlyThread{0};

// What follows calls the system directly: the facade may be gone, or be what failed.

[[noreturn]] void EndAtOnce() noexcept
{
    ::TerminateProcess(::GetCurrentProcess(), kQuietEnd);
    std::_Exit(kQuietEnd);
}

DWORD WINAPI EndLater(void*)
{
    constexpr DWORD kLongestEndMs = 75000; // the client's is 70 seconds
    ::Sleep(kLongestEndMs);
    EndAtOnce();
}

// What failed may hold a lock for ever, even one of the runtime that a static object's end needs.
bool BoundTheEnd() noexcept
{
    return ::CreateThread(nullptr, 0, &EndLater, nullptr, 0, nullptr) != nullptr;
}

[[noreturn]] void EndQuietly() noexcept
{
    DWORD thread = ::GetCurrentThreadId();
    // Once: what fails on this way arrives here again.
    if (s_orderlyThread.compare_exchange_strong(thread, 0) && BoundTheEnd())
    {
        std::exit(kQuietEnd);
    }
    EndAtOnce();
}

void EndAfterAbort(int)
{
    EndQuietly();
}

// Missing on Windows Vista and 7 without update KB2533623, where the search stays as it is.
void SearchSystemFolderOnly() noexcept
{
    using Function = BOOL(WINAPI*)(DWORD);
    const HMODULE kernel32 = KVWinApi::g_winApi->GetModuleHandleW(L"kernel32.dll");
    const FARPROC function = KVWinApi::g_kernelApi->GetProcAddress(kernel32, "SetDefaultDllDirectories");
    if (function != nullptr)
    {
        reinterpret_cast<Function>(reinterpret_cast<void*>(function))(LOAD_LIBRARY_SEARCH_SYSTEM32);
    }
}
} // namespace

CProcessSetup::CProcessSetup() noexcept
{
    SearchSystemFolderOnly();
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    s_orderlyThread = KVWinApi::g_kernelApi->GetCurrentThreadId();
    std::set_terminate(&EndQuietly);
    // Compilers' runtimes abort where they lack memory for themselves; with Visual C++, whose terminate handlers are a
    // thread's own, exceptions of other threads end there too.
    ::signal(SIGABRT, &EndAfterAbort);
}

CProcessSetup::~CProcessSetup()
{
    // The process is about to end in good order. An end within that end would destroy static objects twice.
    s_orderlyThread = 0;
}

void SuppressStoredCookies()
{
    DWORD behaviour = 3; // INTERNET_SUPPRESS_COOKIE_PERSIST, which not every SDK has
    KVWinApi::g_winApi->InternetSetOptionW(nullptr, INTERNET_OPTION_SUPPRESS_BEHAVIOR, &behaviour, sizeof(behaviour));
}
} // namespace KVAnalyticsProxy

#if defined(__GLIBCXX__)
// The handler that g++'s library starts with, in place of its own: that one prints, and brings 46 KB along for the
// names of types. A static object that throws before wWinMain ends the process quietly too.
void __gnu_cxx::__verbose_terminate_handler() // NOLINT(readability-identifier-naming): the library's name
{
    KVAnalyticsProxy::EndQuietly();
}
#endif
