#include "logging/system/TimedLock.h"

#include "logging/system/SlimLock.h"

namespace KVLogging
{
bool CTimedLock::TryEnter(DWORD waitMs) noexcept
{
    const CSlimLockHold guard(m_guard);
    if (!m_isHeld)
    {
        m_isHeld = true;
        return true;
    }
    const std::uint64_t ticket = ++m_lastTicket;
    const auto isMine = [&] { return m_isHandedOver && ticket <= m_lastTicketAtHandover; };
    ++m_waiterCount;
    const ULONGLONG start = ::GetTickCount64();
    for (ULONGLONG waited = 0; !isMine() && waited < waitMs; waited = ::GetTickCount64() - start)
    {
        ::SleepConditionVariableSRW(&m_handover, &m_guard, static_cast<DWORD>(waitMs - waited), 0);
    }
    --m_waiterCount;
    const bool isEntered = isMine(); // looked at last: the handover may have come with the end of the wait
    m_isHandedOver = m_isHandedOver && !isEntered;
    return isEntered;
}

void CTimedLock::Leave() noexcept
{
    const CSlimLockHold guard(m_guard);
    m_isHandedOver = m_waiterCount != 0;
    m_isHeld = m_isHandedOver;
    m_lastTicketAtHandover = m_lastTicket;
    if (m_isHandedOver)
    {
        ::WakeAllConditionVariable(&m_handover); // all, since one that came later must leave it to the others
    }
}
} // namespace KVLogging
