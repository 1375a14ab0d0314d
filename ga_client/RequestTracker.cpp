#include "ga_client/RequestTracker.h"

#include "ga_client/RequestOutbox.h"

namespace GAClient
{
namespace
{
constexpr wchar_t kInitialVersion[] = L"1.0.0";
} // namespace

CRequestTracker::CRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion,
                                 bool useSsl, bool asynchronous)
    : m_asynchronous(asynchronous),
      m_outbox(std::make_shared<CRequestOutbox>(
          applicationName, !applicationVersion.empty() ? applicationVersion : kInitialVersion, useSsl))
{
}

CRequestTracker::~CRequestTracker() = default;

bool CRequestTracker::TrackRequest(const std::wstring& request)
{
    if (m_outbox->IsDispatchHeld() || m_asynchronous)
    {
        m_outbox->Append(std::list<std::wstring>(1, request));
        return true;
    }
    if (m_outbox->SendNow(request))
    {
        return true;
    }
    // As it was passed: a later send needs the mark to know how long the hit waited.
    m_outbox->Append(std::list<std::wstring>(1, request));
    return false;
}

std::int32_t CRequestTracker::Dispatch(std::uint32_t count)
{
    return m_outbox->Dispatch(count);
}

void CRequestTracker::GetQueuedRequests(std::list<std::wstring>& requests)
{
    requests = m_outbox->GetSnapshot();
}

void CRequestTracker::SetRequestTimeout(DWORD timeoutMs) noexcept
{
    m_outbox->SetRequestTimeout(timeoutMs);
}

void CRequestTracker::SetFlushBudget(DWORD budgetMs) noexcept
{
    m_outbox->SetFlushBudget(budgetMs);
}

void CRequestTracker::SetFlushOnStop(bool flush) noexcept
{
    m_outbox->SetFlushOnStop(flush);
}

void CRequestTracker::SetDispatchHeld(bool held) noexcept
{
    m_outbox->SetDispatchHeld(held);
}

void CRequestTracker::SetQueueLimit(std::int32_t limit) noexcept
{
    m_outbox->SetQueueLimit(limit);
}

void CRequestTracker::Abandon() noexcept
{
    m_outbox->Abandon();
}
} // namespace GAClient
