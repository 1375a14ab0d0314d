#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include "ga_client/RequestOutbox.h"
#include "winapi/handles/KernelHandles.h"

namespace GAClient
{
/// The thread that loads an outbox, sends its hits, and flushes and saves it at its end.
///
/// The thread shares the ownership of this object, which is its argument: if Stop leaves it behind in an exchange, all
/// that it needs still exists when the exchange ends. Start, Stop and Discard are called on one thread.
class CQueueWorker
{
public:
    /// Null if the event or the thread cannot be created.
    ///
    /// Deliberate: only INVALID_HANDLE_VALUE is such a failure, although `CreateEventW` and `_beginthreadex` fail with
    /// null. A worker without a thread still saves the hits at Stop; a failed Start would lose them.
    static std::shared_ptr<CQueueWorker> Start(const std::shared_ptr<CRequestOutbox>& outbox);

    CQueueWorker(std::shared_ptr<CRequestOutbox> outbox, KVWinApi::CUniqueKernelHandle stopEvent) noexcept;

    /// Ends the thread, which flushes the queue if that is set and saves it to the file. Waits at most flush budget + 3
    /// request timeouts (30 seconds if that is 0) + 40 seconds, and then leaves the thread behind.
    void Stop();
    /// Ends the thread without waiting or saving.
    void Discard();

    /// True until Stop.
    bool IsRunning() const noexcept { return m_state == State::kRunning; }
    /// True after a Stop that did not leave the thread behind.
    bool HasEnded() const noexcept { return m_state == State::kEnded; }

private:
    enum class State
    {
        kRunning,
        kEnded,
        kLeftBehind,
    };

    static unsigned __stdcall Run(void* share);
    void Work();
    bool IsStopSignalledWithin(DWORD timeoutMs) const;
    void Flush();
    void RequestStop();
    DWORD GetJoinBound() const noexcept;
    bool EndsWithin(DWORD timeoutMs) const;
    bool IsThreadOver() const;

    const std::shared_ptr<CRequestOutbox> m_outbox;
    KVWinApi::CUniqueKernelHandle m_thread;
    KVWinApi::CUniqueKernelHandle m_stopEvent;
    State m_state = State::kRunning;
    std::atomic<bool> m_stopRequested = false; // same meaning as the event, which may not exist
    std::atomic<bool> m_discards = false;
};
} // namespace GAClient
