#pragma once

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <string>

#include "ga_client/http/HttpPostRequest.h"
#include "ga_client/QueueLock.h"
#include "ga_client/RequestQueueFile.h"

namespace GAClient
{
/// Owns the hits between the client and the collection host: sends them, keeps those that cannot be sent yet in a
/// queue, and saves the queue to the queue file (RequestQueueFile.h) for a later process.
///
/// Every operation may be called on any thread. The queue and the transport are guarded by the lock, which is held
/// during an exchange: an operation that needs the queue waits for at most one exchange, or for one load or save of the
/// file. Lock order: this lock, then the file's mutex.
///
/// Nothing is saved by the destructor; Stop saves.
class CRequestTracker
{
public:
    // Declaration order of the virtual operations is slot order and part of the interface.
    virtual ~CRequestTracker();
    virtual bool Start() = 0;
    virtual bool Stop() = 0;

    CRequestTracker(const CRequestTracker&) = delete;
    CRequestTracker& operator=(const CRequestTracker&) = delete;

    /// Queues the hit, or, in a synchronous tracker that is not held, sends it at once. False only when that send
    /// failed; the hit is queued then. A hit that finds the queue full is dropped silently, an empty one ignored.
    bool TrackRequest(const std::wstring& request);

    /// Sends up to count queued hits, oldest first. -1 when a send failed (its hit stays first), 0 when the queue is
    /// found empty or dispatch is held, otherwise the number of hits still queued. A count of 0 sends nothing.
    std::int32_t Dispatch(std::uint32_t count);

    /// Replaces requests by a copy of the queue, oldest first.
    void GetQueuedRequests(std::list<std::wstring>& requests);

    /// Milliseconds for the transport, from its next connection on; 0, the initial value, for the system's defaults.
    void SetRequestTimeout(DWORD timeoutMs) noexcept { m_requestTimeoutMs = timeoutMs; }
    /// Milliseconds for sending the queue when the tracker stops. Initially 0.
    void SetFlushBudget(DWORD budgetMs) noexcept { m_flushBudgetMs = budgetMs; }
    /// Whether the queue is sent when the tracker stops. Initially not.
    void SetFlushOnStop(bool flush) noexcept { m_flushOnStop = flush; }
    /// While dispatch is held nothing is sent, hits are only queued. Initially held.
    void SetDispatchHeld(bool held) noexcept { m_dispatchHeld = held; }
    /// The largest number of hits in the queue, from the next hit on. Initially 500.
    void SetQueueLimit(std::int32_t limit) noexcept { m_queueLimit = limit; }
    /// Tells that the process is about to end: a thread that Stop has to leave behind touches nothing any more once its
    /// exchange is over.
    void SetProcessEnding() noexcept { m_processEnding = true; }

protected:
    /// An empty name or version leaves the initial one: no name, hence no queue file; version "1.0.0".
    CRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl,
                    bool asynchronous);

    enum class Delivery
    {
        kDelivered,
        kFailed,
        kQueueEmpty,
    };

    /// Tries to send the oldest hit. It leaves the queue when it was delivered.
    Delivery SendOldest();
    void LoadQueue();
    bool SaveQueue();

    DWORD GetRequestTimeout() const noexcept { return m_requestTimeoutMs; }
    DWORD GetFlushBudget() const noexcept { return m_flushBudgetMs; }
    bool IsFlushOnStop() const noexcept { return m_flushOnStop; }
    bool IsDispatchHeld() const noexcept { return m_dispatchHeld; }
    bool IsProcessEnding() const noexcept { return m_processEnding; }
    /// From now on a thread that comes back from an exchange stays where it is until the process has ended.
    void ParkSender() noexcept { m_parkSender = true; }

private:
    void Enqueue(const std::wstring& request);
    bool SendNow(const std::wstring& request);
    bool SendConverted(const std::wstring& request);

    Http::CHttpPostRequest m_transport;
    std::atomic<DWORD> m_requestTimeoutMs = 0;
    std::atomic<DWORD> m_flushBudgetMs = 0;
    std::atomic<bool> m_flushOnStop = false;
    std::list<std::wstring> m_queue; // oldest first; each entry as it was tracked, with its queue-time mark
    bool m_asynchronous = true;
    std::atomic<bool> m_dispatchHeld = true;
    std::atomic<std::int32_t> m_queueLimit = 500;
    bool m_useSsl = false;
    CRequestQueueFile m_file;
    CQueueLock m_lock; // guards the queue, its file and the transport
    std::atomic<bool> m_processEnding = false;
    std::atomic<bool> m_parkSender = false;
};
} // namespace GAClient
