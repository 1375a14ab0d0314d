#pragma once

#include <windows.h>

namespace KVLogging
{
/// A recursive lock within the process (`CRITICAL_SECTION`).
class CCriticalSection
{
public:
    CCriticalSection() noexcept { ::InitializeCriticalSection(&m_section); }
    ~CCriticalSection()
    {
        if (!m_isAbandoned)
        {
            ::DeleteCriticalSection(&m_section);
        }
    }
    CCriticalSection(const CCriticalSection&) = delete;
    CCriticalSection& operator=(const CCriticalSection&) = delete;

    /// Waits until no other thread is inside. Each call needs a Leave on the same thread.
    void Enter() noexcept { ::EnterCriticalSection(&m_section); }
    /// Undoes one Enter of this thread.
    void Leave() noexcept { ::LeaveCriticalSection(&m_section); }
    /// The destructor leaves it usable, for a static object that threads may use after its destruction.
    void Abandon() noexcept { m_isAbandoned = true; }

private:
    CRITICAL_SECTION m_section;
    bool m_isAbandoned = false;
};

/// Holds a critical section for a block. Outside CStructuredExceptionScope::Run, so that a fault cannot leave it held.
class CCriticalSectionLock
{
public:
    /// Enters; the section outlives this object.
    explicit CCriticalSectionLock(CCriticalSection& section) noexcept : m_section(section) { m_section.Enter(); }
    ~CCriticalSectionLock() { m_section.Leave(); }
    CCriticalSectionLock(const CCriticalSectionLock&) = delete;
    CCriticalSectionLock& operator=(const CCriticalSectionLock&) = delete;

private:
    CCriticalSection& m_section;
};
} // namespace KVLogging
