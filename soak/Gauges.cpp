#include "soak/Gauges.h"

#include <psapi.h>
#include <tlhelp32.h>

#include <cstdint>

namespace KVSoak
{
namespace
{
unsigned CountHandles()
{
    constexpr std::uintptr_t kStep = 4;
    constexpr unsigned kGap = 256; // the system assigns the lowest free value: a longer gap is the end
    unsigned count = 0;
    unsigned missing = 0;
    for (std::uintptr_t value = kStep; missing < kGap; value += kStep)
    {
        DWORD flags = 0;
        const bool isHandle = ::GetHandleInformation(reinterpret_cast<HANDLE>(value), &flags) != FALSE;
        count += isHandle ? 1U : 0U;
        missing = isHandle ? 0 : missing + 1;
    }
    return count;
}

unsigned CountThreads()
{
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
    if (snapshot == INVALID_HANDLE_VALUE)
    {
        return 0;
    }
    unsigned count = 0;
    THREADENTRY32 entry{};
    entry.dwSize = sizeof(entry);
    for (BOOL found = ::Thread32First(snapshot, &entry); found != FALSE; found = ::Thread32Next(snapshot, &entry))
    {
        count += entry.th32OwnerProcessID == ::GetCurrentProcessId() ? 1U : 0U;
    }
    ::CloseHandle(snapshot);
    return count;
}
} // namespace

Gauges ReadGauges()
{
    PROCESS_MEMORY_COUNTERS counters{};
    counters.cb = sizeof(counters);
    ::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof(counters));
    return {CountHandles(), CountThreads(), counters.PagefileUsage};
}
} // namespace KVSoak
