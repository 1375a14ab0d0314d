#pragma once

#include "winapi/base/UniqueHandle.h"
#include "winapi/KernelApi.h"

namespace KVWinApi
{
/// Handles for which failure is null: events, mutexes, threads, processes, file mappings. Closed with `CloseHandle`.
struct KernelHandleTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { g_kernelApi->CloseHandle(handle); }
};
using CUniqueKernelHandle = CUniqueHandle<KernelHandleTraits>;

/// Handles for which failure is INVALID_HANDLE_VALUE: `CreateFileW`, `CreateToolhelp32Snapshot`. Closed with
/// `CloseHandle`.
struct FileHandleTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { g_kernelApi->CloseHandle(handle); }
};
using CUniqueFile = CUniqueHandle<FileHandleTraits>;

/// Searches of `FindFirstFileW`; failure is INVALID_HANDLE_VALUE. Closed with `FindClose`.
struct FindHandleTraits
{
    using Handle = HANDLE;
    static Handle Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Handle handle) noexcept { g_kernelApi->FindClose(handle); }
};
using CUniqueFindHandle = CUniqueHandle<FindHandleTraits>;

/// Modules of `LoadLibraryW`; failure is null. Released with `FreeLibrary`.
struct ModuleTraits
{
    using Handle = HMODULE;
    static Handle Invalid() noexcept { return nullptr; }
    static void Close(Handle handle) noexcept { g_kernelApi->FreeLibrary(handle); }
};
using CUniqueModule = CUniqueHandle<ModuleTraits>;
} // namespace KVWinApi
