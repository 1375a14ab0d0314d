#pragma once

#include <windows.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>

namespace GAClient
{
class CRequestOutbox;

/// Owns the hits between the client and the collection host: sends them, queues those that cannot be sent yet, and
/// saves the queue to the queue file (RequestQueueFile.h) for a later process.
///
/// Every operation may be called on any thread. One that needs the queue waits for at most one exchange, or for one
/// load or save of the file, either of which waits up to 30 seconds for the file's mutex (RequestOutbox.h).
///
/// Stop saves the queue; the destructor does not.
class CRequestTracker
{
public:
    // Declaration order of the virtual operations is slot order and part of the interface.
    virtual ~CRequestTracker();
    virtual bool Start() = 0;
    virtual bool Stop() = 0;

    CRequestTracker(const CRequestTracker&) = delete;
    CRequestTracker& operator=(const CRequestTracker&) = delete;

    /// Queues the hit or, in a synchronous tracker whose dispatch is not held, sends it at once. False only if that
    /// send fails; the hit is then queued. If the queue is full, the hit is dropped silently, and so is an empty one.
    /// An empty hit that is sent at once repeats the previous one (HttpPostRequest.h).
    bool TrackRequest(const std::wstring& request);

    /// Sends up to count queued hits, oldest first. -1 if a send failed (its hit stays first), 0 if the queue is found
    /// empty or dispatch is held, otherwise the number of hits still queued. A count of 0 sends nothing.
    std::int32_t Dispatch(std::uint32_t count);

    /// Replaces requests by a copy of the queue, oldest first.
    void GetQueuedRequests(std::list<std::wstring>& requests);

    /// Milliseconds for the transport, from its next connection on; 0, the initial value, means the system's defaults.
    void SetRequestTimeout(DWORD timeoutMs) noexcept;
    /// Milliseconds for flushing the queue when the tracker stops. Initially 0.
    void SetFlushBudget(DWORD budgetMs) noexcept;
    /// Whether the queue is flushed when the tracker stops. Initially false.
    void SetFlushOnStop(bool flush) noexcept;
    /// While dispatch is held, hits are only queued. Initially held.
    void SetDispatchHeld(bool held) noexcept;
    /// The largest number of hits in the queue, from the next hit on. Initially 500.
    void SetQueueLimit(std::int32_t limit) noexcept;
    /// For the end of the process: a thread that Stop left behind touches nothing after its exchange.
    void Abandon() noexcept;

protected:
    /// An empty name or version means the initial one: no name and therefore no queue file; version "1.0.0".
    CRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl,
                    bool asynchronous);

    const std::shared_ptr<CRequestOutbox>& GetOutbox() const noexcept { return m_outbox; }

private:
    const bool m_asynchronous;
    const std::shared_ptr<CRequestOutbox> m_outbox; // shared with the worker of an asynchronous tracker
};
} // namespace GAClient
