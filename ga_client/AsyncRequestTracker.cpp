#include "ga_client/AsyncRequestTracker.h"

#include "ga_client/QueueWorker.h"

namespace GAClient
{
CAsyncRequestTracker::CAsyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion,
                                           bool useSsl)
    : CRequestTracker(applicationName, applicationVersion, useSsl, true)
{
}

CAsyncRequestTracker::~CAsyncRequestTracker()
{
    if (m_worker != nullptr && m_worker->IsRunning())
    {
        m_worker->Discard();
    }
}

bool CAsyncRequestTracker::Start()
{
    // This includes a worker that was left behind: it may still send and save the queue.
    if (m_worker != nullptr && !m_worker->HasEnded())
    {
        return false;
    }
    m_worker = CQueueWorker::Start(GetOutbox());
    return m_worker != nullptr;
}

bool CAsyncRequestTracker::Stop()
{
    if (m_worker == nullptr || !m_worker->IsRunning())
    {
        return false;
    }
    m_worker->Stop();
    return true;
}
} // namespace GAClient
