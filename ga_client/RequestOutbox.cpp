#include "ga_client/RequestOutbox.h"

#include <utility>

#include "ga_client/protocols/QueueTime.h"
#include "ga_client/QueueFileFormat.h"

namespace GAClient
{
CRequestOutbox::CRequestOutbox(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl)
    : m_file(applicationName, applicationVersion), m_useSsl(useSsl)
{
}

void CRequestOutbox::Append(std::list<std::wstring> requests)
{
    const CQueueLock::CHold hold(m_lock);
    const std::int64_t limit = m_queueLimit;
    while (!requests.empty() && static_cast<std::int64_t>(m_queue.size()) < limit)
    {
        const std::wstring& request = requests.front();
        if (request.empty())
        {
            requests.pop_front();
            continue;
        }
        m_file.Reserve(GetSizeOfQueueLine(request));
        m_queue.splice(m_queue.end(), requests, requests.begin());
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): a reference would access the caller's memory under the lock
bool CRequestOutbox::SendNow(std::wstring request)
{
    const CQueueLock::CHold hold(m_lock); // the transport serves one thread at a time
    return SendConverted(request);
}

CRequestOutbox::Delivery CRequestOutbox::SendOldest()
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

std::int32_t CRequestOutbox::Dispatch(std::uint32_t count)
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
    return static_cast<std::int32_t>(m_queue.size()); // the queue's limit has this type
}

std::list<std::wstring> CRequestOutbox::GetSnapshot()
{
    const CQueueLock::CHold hold(m_lock);
    return m_queue;
}

void CRequestOutbox::Load()
{
    const CQueueLock::CHold hold(m_lock);
    m_file.Load(m_queue, m_queueLimit);
}

bool CRequestOutbox::Save()
{
    const CQueueLock::CHold hold(m_lock);
    return m_file.Save(m_queue);
}

bool CRequestOutbox::SendConverted(const std::wstring& request)
{
    m_transport.SetTimeout(m_requestTimeoutMs);
    const bool delivered = m_transport.Send(Protocols::MeasurementParams::ConvertQueueTimeMark(request), m_useSsl);
    EndAbandonedThread();
    return delivered;
}

// Ends the thread here: the lock, the facade and all that a return would need may have been destroyed.
void CRequestOutbox::EndAbandonedThread() const noexcept
{
    if (m_isAbandoned)
    {
        ::ExitThread(0);
    }
}
} // namespace GAClient
