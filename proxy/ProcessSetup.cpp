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
constexpr int kQuietEnd = 3; // the exit code of abort

// The thread that may destroy static objects when it ends the process; 0: none.
constinit std::atomic<DWORD> s_orderlyThread{0};

// The functions below call the system directly: the facade may be destroyed, or may have failed itself.

[[noreturn]] void EndAtOnce() noexcept
{
    ::TerminateProcess(::GetCurrentProcess(), kQuietEnd);
    std::_Exit(kQuietEnd);
}

DWORD WINAPI EndLater(void*)
{
    constexpr DWORD kLongestEndMs = 75000; // the client needs up to 70 seconds
    ::Sleep(kLongestEndMs);
    EndAtOnce();
}

// The code that failed may hold a lock for ever, even one of the runtime that static destructors need.
bool BoundTheEnd() noexcept
{
    return ::CreateThread(nullptr, 0, &EndLater, nullptr, 0, nullptr) != nullptr;
}

[[noreturn]] void EndQuietly() noexcept
{
    DWORD thread = ::GetCurrentThreadId();
    // Only once: a failure during the orderly end calls this function again.
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

// The function is missing on Windows Vista and 7 without update KB2533623; their search order stays unchanged.
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
    // Compilers' runtimes abort if they lack memory themselves. With Visual C++, whose terminate handlers are per
    // thread, unhandled exceptions of other threads also end in an abort.
    ::signal(SIGABRT, &EndAfterAbort);
}

CProcessSetup::~CProcessSetup()
{
    // The process is about to end in good order. A second orderly end would destroy static objects twice.
    s_orderlyThread = 0;
}

void SuppressStoredCookies()
{
    DWORD behaviour = 3; // INTERNET_SUPPRESS_COOKIE_PERSIST, which not every SDK has
    KVWinApi::g_winApi->InternetSetOptionW(nullptr, INTERNET_OPTION_SUPPRESS_BEHAVIOR, &behaviour, sizeof(behaviour));
}
} // namespace KVAnalyticsProxy

#if defined(__GLIBCXX__)
// Replaces the initial handler of g++'s library, which prints and adds 46 KB for the names of types. A static object
// that throws before wWinMain thus also ends the process quietly.
void __gnu_cxx::__verbose_terminate_handler() // NOLINT(readability-identifier-naming): the library's name
{
    KVAnalyticsProxy::EndQuietly();
}
#endif
