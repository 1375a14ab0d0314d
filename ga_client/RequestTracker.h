#pragma once

#include <windows.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace GAClient
{
class CRequestOutbox;

/// Owns the hits between the client and the collection host: sends them, keeps those that cannot be sent yet in a
/// queue, and saves the queue to the queue file (RequestQueueFile.h) for a later process.
///
/// Every operation may be called on any thread. One that needs the queue waits for at most one exchange, or for one
/// load or save of the file, either of which waits up to 30 seconds for the file's mutex (RequestOutbox.h).
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
    /// failed; the hit is queued then. A hit that finds the queue full is dropped silently, and so is an empty one. An
    /// empty one that is sent at once repeats the hit that was sent before (HttpPostRequest.h).
    bool TrackRequest(const std::wstring& request);

    /// Sends up to count queued hits, oldest first. -1 when a send failed (its hit stays first), 0 when the queue is
    /// found empty or dispatch is held, otherwise the number of hits still queued. A count of 0 sends nothing.
    std::int32_t Dispatch(std::uint32_t count);

    /// Replaces requests by a copy of the queue, oldest first.
    void GetQueuedRequests(std::list<std::wstring>& requests);

    /// Milliseconds for the transport, from its next connection on; 0, the initial value, for the system's defaults.
    void SetRequestTimeout(DWORD timeoutMs) noexcept;
    /// Milliseconds for sending the queue when the tracker stops. Initially 0.
    void SetFlushBudget(DWORD budgetMs) noexcept;
    /// Whether the queue is sent when the tracker stops. Initially not.
    void SetFlushOnStop(bool flush) noexcept;
    /// While dispatch is held nothing is sent, hits are only queued. Initially held.
    void SetDispatchHeld(bool held) noexcept;
    /// The largest number of hits in the queue, from the next hit on. Initially 500.
    void SetQueueLimit(std::int32_t limit) noexcept;
    /// The process is about to end: a thread that Stop had to leave behind touches nothing once its exchange is over.
    void Abandon() noexcept;

protected:
    /// An empty name or version leaves the initial one: no name, hence no queue file; version "1.0.0".
    CRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl,
                    bool asynchronous);

    const std::shared_ptr<CRequestOutbox>& GetOutbox() const noexcept { return m_outbox; }

private:
    const bool m_asynchronous;
    const std::shared_ptr<CRequestOutbox> m_outbox; // shared with the worker of an asynchronous tracker
};
} // namespace GAClient
