#pragma once

#include <windows.h>

namespace KVLogging
{
/// Holds a slim lock (`SRWLOCK`) exclusively for a block. Not recursive; waits without a bound, hence for locks that
/// are held for moments. Outside CStructuredExceptionScope::Run, so that a fault cannot leave it held.
class CSlimLockHold
{
public:
    /// Acquires; the lock outlives this object.
    explicit CSlimLockHold(SRWLOCK& lock) noexcept : m_lock(lock) { ::AcquireSRWLockExclusive(&m_lock); }
    ~CSlimLockHold() { ::ReleaseSRWLockExclusive(&m_lock); }
    CSlimLockHold(const CSlimLockHold&) = delete;
    CSlimLockHold& operator=(const CSlimLockHold&) = delete;

private:
    SRWLOCK& m_lock;
};
} // namespace KVLogging
