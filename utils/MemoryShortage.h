#pragma once

#include <windows.h>

#include <new>

namespace KVUtils
{
/// Whether a system error code means that memory was short, whatever the call was about.
constexpr bool IsMemoryShortage(DWORD error) noexcept
{
    return error == ERROR_NOT_ENOUGH_MEMORY || error == ERROR_OUTOFMEMORY || error == ERROR_NO_SYSTEM_RESOURCES ||
           error == ERROR_COMMITMENT_LIMIT || error == ERROR_NOT_ENOUGH_QUOTA;
}

/// For the search for the user's opt-out: a search that lacked memory must not count as one that found nothing. Throws
/// std::bad_alloc if the error is a shortage of memory, and returns for any other.
inline void ThrowIfMemoryShortage(DWORD error)
{
    if (IsMemoryShortage(error))
    {
        throw std::bad_alloc();
    }
}

/// The same for an HRESULT, including E_OUTOFMEMORY.
inline void ThrowIfMemoryShortage(HRESULT result)
{
    if (FAILED(result) && HRESULT_FACILITY(result) == FACILITY_WIN32)
    {
        ThrowIfMemoryShortage(static_cast<DWORD>(HRESULT_CODE(result)));
    }
}
} // namespace KVUtils
