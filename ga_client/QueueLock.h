#pragma once

#include <windows.h>

namespace GAClient
{
/// The lock of a tracker's queue: a critical section that serves its threads in turn. Not recursive: the thread that
/// holds it would wait at m_door for a thread that waits for m_section.
///
/// The worker sends hits back to back and holds the lock during each exchange. A critical section alone favours the
/// thread that has just left it, so a caller could wait until the whole queue has been sent. A thread therefore enters
/// m_door first and holds it until it owns m_section, so waiting threads are served in turn.
class CQueueLock
{
public:
    CQueueLock();
    ~CQueueLock();
    CQueueLock(const CQueueLock&) = delete;
    CQueueLock& operator=(const CQueueLock&) = delete;

    /// Holds the lock for a scope.
    class CHold
    {
    public:
        explicit CHold(CQueueLock& lock);
        ~CHold();
        CHold(const CHold&) = delete;
        CHold& operator=(const CHold&) = delete;

    private:
        CQueueLock& m_lock;
    };

private:
    CRITICAL_SECTION m_door{};
    CRITICAL_SECTION m_section{};
};
} // namespace GAClient
