#pragma once

#include <windows.h>

#include <cstdint>

namespace KVLogging
{
/// A lock within the process that a thread waits for with a bound. Not recursive. Fair: the holder hands it over to a
/// thread that waits, so that a thread which takes it again and again leaves the others their turn. Making one cannot
/// fail, and an uncontended use makes no system call.
class CTimedLock
{
public:
    CTimedLock() noexcept = default;
    CTimedLock(const CTimedLock&) = delete;
    CTimedLock& operator=(const CTimedLock&) = delete;

    /// Waits that long at most (`SleepConditionVariableSRW`). Needs a Leave after true.
    bool TryEnter(DWORD waitMs) noexcept;
    void Leave() noexcept;

private:
    SRWLOCK m_guard = SRWLOCK_INIT; // guards what is below
    CONDITION_VARIABLE m_handover = CONDITION_VARIABLE_INIT;
    std::uint64_t m_lastTicket = 0; // each waiter has one
    std::uint64_t m_lastTicketAtHandover = 0;
    std::uint32_t m_waiterCount = 0;
    bool m_isHeld = false;       // even while it is handed over
    bool m_isHandedOver = false; // left to those who waited then; the first of them to run takes it
};
} // namespace KVLogging
