#pragma once

#include <memory>

#include "ga_client/RequestTracker.h"

namespace GAClient
{
class CQueueWorker;

/// Sends hits on a worker thread of its own, back to back while that succeeds, once a second while it fails or there is
/// nothing to send. Start and Stop are called on one thread.
class CAsyncRequestTracker : public CRequestTracker
{
public:
    CAsyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl);
    /// Ends a worker that was not stopped, without waiting for it and without saving.
    ~CAsyncRequestTracker() override;

    /// Starts the worker, which begins by loading the queue from the file. False when it runs already, and when the
    /// event or the thread cannot be made (QueueWorker.h). A tracker without a thread accepts hits and saves them at
    /// Stop.
    bool Start() override;

    /// Ends the worker, which flushes the queue when that is set and saves it to the file. False when it does not run.
    /// Waits at most flush budget + 3 request timeouts (30 seconds when that is 0) + 40 seconds, and leaves the worker
    /// behind when it takes longer.
    bool Stop() override;

private:
    std::shared_ptr<CQueueWorker> m_worker; // the last one that was started
};
} // namespace GAClient
