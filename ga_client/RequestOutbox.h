#pragma once

#include <windows.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <string>

#include "ga_client/http/HttpPostRequest.h"
#include "ga_client/QueueFileFormat.h"
#include "ga_client/QueueLock.h"
#include "ga_client/RequestQueueFile.h"

namespace GAClient
{
/// The outgoing hits of one tracker: the queue, its file and the transport, under one lock.
///
/// Every operation may be called on any thread. The lock is held during an exchange and during a load or a save of the
/// file, so an operation that needs it waits for at most one of these (RequestQueueFile.h bounds the last two). Lock
/// order: this lock, then the file's mutex.
///
/// Operations take and return only values, never references, pointers or callbacks: arguments are copied before the
/// lock is taken, and results are written after it is released. A fault in the caller's memory therefore never leaves
/// the lock held, even where no destructor runs between the fault and its guard (CStructuredExceptionScope).
class CRequestOutbox
{
public:
    enum class Delivery
    {
        kDelivered,
        kFailed,
        kQueueEmpty,
    };

    /// If a text is empty, no file is used.
    CRequestOutbox(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl);

    /// Moves the hits to the end of the queue while it holds fewer than the limit. The others are dropped, and so are
    /// empty ones. Reserves the memory for saving them.
    void Append(std::list<std::wstring> requests);
    /// Sends a hit without queueing it.
    bool SendNow(std::wstring request);
    /// Tries to send the oldest hit. A delivered hit leaves the queue.
    Delivery SendOldest();
    /// Sends up to count queued hits: the results of CRequestTracker::Dispatch.
    std::int32_t Dispatch(std::uint32_t count);
    /// A copy of the queue, oldest first.
    std::list<std::wstring> GetSnapshot();
    void Load();
    /// False if the queue could not be saved.
    bool Save();

    /// For the end of the process: a thread that was left behind in an exchange ends as soon as the exchange does, and
    /// touches nothing.
    void Abandon() noexcept { m_isAbandoned = true; }

    /// Milliseconds for the transport; 0 for the system's defaults.
    void SetRequestTimeout(DWORD timeoutMs) noexcept { m_requestTimeoutMs = timeoutMs; }
    DWORD GetRequestTimeout() const noexcept { return m_requestTimeoutMs; }
    void SetFlushBudget(DWORD budgetMs) noexcept { m_flushBudgetMs = budgetMs; }
    DWORD GetFlushBudget() const noexcept { return m_flushBudgetMs; }
    void SetFlushOnStop(bool flush) noexcept { m_flushOnStop = flush; }
    bool IsFlushOnStop() const noexcept { return m_flushOnStop; }
    void SetDispatchHeld(bool held) noexcept { m_dispatchHeld = held; }
    bool IsDispatchHeld() const noexcept { return m_dispatchHeld; }
    void SetQueueLimit(std::int32_t limit) noexcept { m_queueLimit = limit; }

private:
    bool SendConverted(const std::wstring& request);
    void EndAbandonedThread() const noexcept;

    CQueueLock m_lock; // guards the three below
    Http::CHttpPostRequest m_transport;
    std::list<std::wstring> m_queue; // oldest first; each entry as it was tracked, with its queue-time mark
    CRequestQueueFile m_file;        // has memory for saving the whole queue, see CRequestQueueFile::Reserve

    std::atomic<DWORD> m_requestTimeoutMs = 0;
    std::atomic<DWORD> m_flushBudgetMs = 0;
    std::atomic<bool> m_flushOnStop = false;
    std::atomic<bool> m_dispatchHeld = true;
    std::atomic<std::int32_t> m_queueLimit = kDefaultQueueLimit;
    std::atomic<bool> m_isAbandoned = false;
    const bool m_useSsl;
};
} // namespace GAClient
