#include "faults/Adapters.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <cwchar>

#include "faults/Injection.h"

// Runs before and after the program's own runtime: nothing here allocates, throws or needs construction.
namespace KVFaults
{
namespace
{
constexpr UINT kAborted = 0xFA017003;

constinit LookUp s_lookUp = nullptr;
constinit DWORD s_timeScale = 1;
constinit DWORD s_startTicks = 0;

constinit DWORD s_killTurn = 0; // 0: none
constinit std::atomic<DWORD> s_turn{0};
constinit std::atomic<std::uint64_t> s_turnStart{0}; // in counts
constinit HANDLE s_killEvent = nullptr;              // the host's

constinit decltype(&::Sleep) s_sleep = nullptr;
constinit decltype(&::GetTickCount) s_getTickCount = nullptr;
constinit decltype(&::WaitForSingleObject) s_waitForSingleObject = nullptr;
constinit decltype(&::CreateMutexW) s_createMutex = nullptr;
constinit decltype(&::ReleaseMutex) s_releaseMutex = nullptr;

DWORD Scaled(DWORD milliseconds) noexcept
{
    return milliseconds == INFINITE ? INFINITE : (milliseconds + s_timeScale - 1) / s_timeScale;
}

std::uint64_t GetCounts() noexcept
{
    LARGE_INTEGER counts{};
    ::QueryPerformanceCounter(&counts);
    return static_cast<std::uint64_t>(counts.QuadPart);
}

std::uint64_t MicrosecondsSince(std::uint64_t start) noexcept
{
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    return (GetCounts() - start) * 1000000 / static_cast<std::uint64_t>(frequency.QuadPart);
}

void WINAPI ScaledSleep(DWORD milliseconds)
{
    s_sleep(Scaled(milliseconds));
}

DWORD WINAPI ScaledGetTickCount()
{
    return s_startTicks + (s_getTickCount() - s_startTicks) * s_timeScale;
}

DWORD WINAPI ScaledWaitForSingleObject(HANDLE object, DWORD milliseconds)
{
    return s_waitForSingleObject(object, Scaled(milliseconds));
}

HANDLE WINAPI CreateMutexAndBeginTurn(LPSECURITY_ATTRIBUTES security, BOOL isOwned, LPCWSTR name)
{
    constexpr wchar_t kQueueFilePrefix[] = L"Statlet_";
    if (name != nullptr && std::wcsncmp(name, kQueueFilePrefix, std::wcslen(kQueueFilePrefix)) == 0)
    {
        s_turnStart = GetCounts();
        if (++s_turn == s_killTurn)
        {
            ::SetEvent(s_killEvent);
        }
    }
    return s_createMutex(security, isOwned, name);
}

BOOL WINAPI ReleaseMutexAndEndTurn(HANDLE mutex)
{
    // The log's mutexes are released here too; that ends no turn.
    const std::uint64_t start = s_turnStart.exchange(0);
    if (start != 0)
    {
        Note("turn", MicrosecondsSince(start));
    }
    return s_releaseMutex(mutex);
}

// Replaces the runtime's abort, which writes or shows a message unless the program has installed a handler.
void Abort()
{
    Note("abort");
    const auto handler = std::signal(SIGABRT, SIG_GET);
    if (handler != SIG_DFL && handler != SIG_IGN && handler != SIG_ERR)
    {
        handler(SIGABRT);
    }
    ::TerminateProcess(::GetCurrentProcess(), kAborted);
}

template <typename Function> bool Takes(const char* name, const char* wanted, Function& real, void* original) noexcept
{
    if (std::strcmp(name, wanted) != 0)
    {
        return false;
    }
    real = reinterpret_cast<Function>(original);
    return true;
}
} // namespace

void SetLookUp(LookUp lookUp) noexcept
{
    s_lookUp = lookUp;
}

void StartAdapters() noexcept
{
    const unsigned long scale = ReadNumber("KV_FAULT_TIME");
    s_timeScale = scale != 0 ? scale : 1;
    s_startTicks = ::GetTickCount();
    s_waitForSingleObject = &::WaitForSingleObject;
    s_killTurn = ReadNumber("KV_FAULT_KILL_TURN");
    if (s_killTurn != 0)
    {
        s_killEvent = ::OpenEventW(EVENT_MODIFY_STATE, FALSE, L"KvFaultKill");
    }
}

void* Adapt(const char* name, void* original) noexcept
{
    if (Takes(name, "Sleep", s_sleep, original))
    {
        return reinterpret_cast<void*>(&ScaledSleep);
    }
    if (Takes(name, "GetTickCount", s_getTickCount, original))
    {
        return reinterpret_cast<void*>(&ScaledGetTickCount);
    }
    if (Takes(name, "WaitForSingleObject", s_waitForSingleObject, original))
    {
        return reinterpret_cast<void*>(&ScaledWaitForSingleObject);
    }
    if (Takes(name, "CreateMutexW", s_createMutex, original))
    {
        return reinterpret_cast<void*>(&CreateMutexAndBeginTurn);
    }
    if (Takes(name, "ReleaseMutex", s_releaseMutex, original))
    {
        return reinterpret_cast<void*>(&ReleaseMutexAndEndTurn);
    }
    if (std::strcmp(name, "GetProcAddress") == 0)
    {
        return reinterpret_cast<void*>(s_lookUp);
    }
    return std::strcmp(name, "abort") == 0 ? reinterpret_cast<void*>(&Abort) : original;
}
} // namespace KVFaults
