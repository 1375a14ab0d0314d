#pragma once

#include <windows.h>

#include <new>

namespace KVUtils
{
/// Whether an error code of the system says that it lacked memory, rather than anything about what was asked for.
constexpr bool IsMemoryShortage(DWORD error) noexcept
{
    return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY || error == ERROR_NO_SYSTEM_RESOURCES ||
           error == ERROR_COMMITMENT_LIMIT || error == ERROR_NOT_ENOUGH_QUOTA;
}

/// For what decides whether a user has opted out: "there was no memory to look" must not pass for "there is nothing".
/// Throws std::bad_alloc for an error that is a shortage of memory, and returns for any other.
inline void ThrowIfMemoryShortage(DWORD error)
{
    if (IsMemoryShortage(error))
    {
        throw std::bad_alloc();
    }
}

/// The same for an HRESULT, E_OUTOFMEMORY included.
inline void ThrowIfMemoryShortage(HRESULT result)
{
    if (FAILED(result) && HRESULT_FACILITY(result) == FACILITY_WIN32)
    {
        ThrowIfMemoryShortage(static_cast<DWORD>(HRESULT_CODE(result)));
    }
}
} // namespace KVUtils
