#include "ga_client/RequestTracker.h"

#include "ga_client/protocols/QueueTime.h"

namespace GAClient
{
namespace
{
constexpr wchar_t kInitialVersion[] = L"1.0.0";

// Not through the facade, which is about to be destroyed. Ends with the process.
void StayUntilProcessEnds()
{
    for (;;)
    {
        ::Sleep(INFINITE);
    }
}
} // namespace

CRequestTracker::CRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion,
                                 bool useSsl, bool asynchronous)
    : m_asynchronous(asynchronous), m_useSsl(useSsl),
      m_file(applicationName, !applicationVersion.empty() ? applicationVersion : kInitialVersion)
{
}

CRequestTracker::~CRequestTracker() = default;

bool CRequestTracker::TrackRequest(const std::wstring& request)
{
    if (m_dispatchHeld || m_asynchronous)
    {
        Enqueue(request);
        return true;
    }
    if (SendNow(request))
    {
        return true;
    }
    Enqueue(request); // as it was passed: the mark tells a later send how long it waited
    return false;
}

std::int32_t CRequestTracker::Dispatch(std::uint32_t count)
{
    constexpr std::int32_t kSendFailed = -1;
    if (m_dispatchHeld)
    {
        return 0;
    }
    for (std::uint32_t pass = 0; pass < count; ++pass)
    {
        const Delivery delivery = SendOldest();
        if (delivery != Delivery::kDelivered)
        {
            return delivery == Delivery::kQueueEmpty ? 0 : kSendFailed;
        }
    }
    const CQueueLock::CHold hold(m_lock);
    return static_cast<std::int32_t>(m_queue.size()); // the limit of the queue is a number of this type
}

void CRequestTracker::GetQueuedRequests(std::list<std::wstring>& requests)
{
    const CQueueLock::CHold hold(m_lock);
    requests = m_queue;
}

CRequestTracker::Delivery CRequestTracker::SendOldest()
{
    const CQueueLock::CHold hold(m_lock);
    if (m_queue.empty())
    {
        return Delivery::kQueueEmpty;
    }
    if (!SendConverted(m_queue.front()))
    {
        return Delivery::kFailed;
    }
    m_queue.pop_front();
    return Delivery::kDelivered;
}

void CRequestTracker::LoadQueue()
{
    const CQueueLock::CHold hold(m_lock);
    m_file.Load(m_queue, m_queueLimit);
}

bool CRequestTracker::SaveQueue()
{
    const CQueueLock::CHold hold(m_lock);
    return m_file.Save(m_queue);
}

void CRequestTracker::Enqueue(const std::wstring& request)
{
    const CQueueLock::CHold hold(m_lock);
    const std::int64_t limit = m_queueLimit;
    if (!request.empty() && static_cast<std::int64_t>(m_queue.size()) < limit)
    {
        m_queue.push_back(request);
    }
}

bool CRequestTracker::SendNow(const std::wstring& request)
{
    const CQueueLock::CHold hold(m_lock); // the transport serves one thread at a time
    return SendConverted(request);
}

bool CRequestTracker::SendConverted(const std::wstring& request)
{
    m_transport.SetTimeout(m_requestTimeoutMs);
    const bool delivered = m_transport.Send(Protocols::MeasurementParams::ConvertQueueTimeMark(request), m_useSsl);
    if (m_parkSender)
    {
        StayUntilProcessEnds();
    }
    return delivered;
}
} // namespace GAClient
