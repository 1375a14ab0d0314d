#pragma once

#include "winapi/base/UniqueHandle.h"
#include "winapi/WinApi.h"

namespace KVWinApi
{
/// Mutexes of IWinApi::CreateMutexW; failure is null. Closed with `CloseHandle`.
struct MutexTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle mutex) noexcept { g_winApi->CloseHandle(mutex); }
};
using CUniqueMutex = CUniqueHandle<MutexTraits>;

/// Ownership of a mutex by this thread. Released with `ReleaseMutex`, on the same thread; the mutex stays open.
struct MutexOwnershipTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle mutex) noexcept { g_winApi->ReleaseMutex(mutex); }
};
using CUniqueMutexOwnership = CUniqueHandle<MutexOwnershipTraits>;
} // namespace KVWinApi
