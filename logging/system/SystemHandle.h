#pragma once

#include <windows.h>

#include <memory>

namespace KVLogging
{
/// Closes with `CloseHandle`.
struct SystemHandleCloser
{
    /// handle: not null.
    void operator()(HANDLE handle) const noexcept { ::CloseHandle(handle); }
};
/// Sole owner of a handle whose invalid value is null (mutex, mapping, process). Logging calls the system directly, and
/// so does its owner.
using UniqueSystemHandle = std::unique_ptr<void, SystemHandleCloser>;

/// Unmaps with `UnmapViewOfFile`.
struct ViewUnmapper
{
    /// view: not null.
    void operator()(void* view) const noexcept { ::UnmapViewOfFile(view); }
};
/// Sole owner of a mapped view.
using UniqueView = std::unique_ptr<void, ViewUnmapper>;

/// Holds a mutex for a block, when it was to be had within the time. A mutex that a dead thread left behind counts as
/// obtained.
class CMutexLock
{
public:
    /// A null mutex is not to be had.
    CMutexLock(HANDLE mutex, DWORD waitMs) noexcept : m_mutex(mutex)
    {
        if (m_mutex != nullptr)
        {
            const DWORD wait = ::WaitForSingleObject(m_mutex, waitMs);
            m_isHeld = wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED;
        }
    }
    ~CMutexLock()
    {
        if (m_isHeld)
        {
            ::ReleaseMutex(m_mutex);
        }
    }
    CMutexLock(const CMutexLock&) = delete;
    CMutexLock& operator=(const CMutexLock&) = delete;

    /// False when the mutex was not to be had.
    bool IsHeld() const noexcept { return m_isHeld; }

private:
    HANDLE m_mutex;
    bool m_isHeld = false;
};
} // namespace KVLogging
