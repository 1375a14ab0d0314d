#pragma once

#include <memory>

#include "ga_client/RequestTracker.h"

namespace GAClient
{
class CQueueWorker;

/// Sends hits on a worker thread of its own: back to back while sends succeed, otherwise or with an empty queue once a
/// second. Start and Stop are called on one thread.
class CAsyncRequestTracker : public CRequestTracker
{
public:
    CAsyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl);
    /// Ends a worker that was not stopped, without waiting or saving.
    ~CAsyncRequestTracker() override;

    /// Starts the worker, which first loads the queue from the file. False if it is already running, or if the event or
    /// the thread cannot be created (QueueWorker.h). A tracker without a thread accepts hits and saves them at Stop.
    bool Start() override;

    /// Ends the worker, which flushes the queue if that is set and saves it to the file. False if it is not running.
    /// Waits at most flush budget + 3 request timeouts (30 seconds if that is 0) + 40 seconds, and then leaves the
    /// worker behind.
    bool Stop() override;

private:
    std::shared_ptr<CQueueWorker> m_worker; // the one started last
};
} // namespace GAClient
