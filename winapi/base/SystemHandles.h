#pragma once

#include <windows.h>

#include "winapi/base/UniqueHandle.h"

// Owners for code below the facade: they call the system directly. Code above it uses those of winapi/handles.
namespace KVWinApi
{
/// Handles for which failure is null: events, mutexes, processes, file mappings. Closed with `CloseHandle`.
struct SystemHandleTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { ::CloseHandle(handle); }
};
using CUniqueSystemHandle = CUniqueHandle<SystemHandleTraits>;

/// Files of `CreateFileW`; failure is INVALID_HANDLE_VALUE. Closed with `CloseHandle`.
struct SystemFileTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle file) noexcept { ::CloseHandle(file); }
};
using CUniqueSystemFile = CUniqueHandle<SystemFileTraits>;

/// Views of `MapViewOfFile`; failure is null. Unmapped with `UnmapViewOfFile`.
struct ViewTraits
{
    using Handle = void*;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle view) noexcept { ::UnmapViewOfFile(view); }
};
using CUniqueView = CUniqueHandle<ViewTraits>;

/// Keys of `RegOpenKeyExW`; none is null. Closed with `RegCloseKey`.
struct SystemKeyTraits
{
    using Handle = HKEY;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle key) noexcept { ::RegCloseKey(key); }
};
using CUniqueSystemKey = CUniqueHandle<SystemKeyTraits>;

/// A mutex that this thread holds. Released with `ReleaseMutex`, on the same thread; the mutex stays open.
struct MutexHoldTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle mutex) noexcept { ::ReleaseMutex(mutex); }
};
using CUniqueMutexHold = CUniqueHandle<MutexHoldTraits>;

/// Waits for the mutex (`WaitForSingleObject`). Empty if it is null or not obtained in time. A mutex whose owner died
/// counts as obtained.
inline CUniqueMutexHold HoldMutex(HANDLE mutex, DWORD waitMs) noexcept
{
    const DWORD wait = mutex != nullptr ? ::WaitForSingleObject(mutex, waitMs) : WAIT_FAILED;
    return CUniqueMutexHold(wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED ? mutex : nullptr);
}
} // namespace KVWinApi
