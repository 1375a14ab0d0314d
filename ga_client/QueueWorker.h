#pragma once

#include <windows.h>

#include <atomic>
#include <memory>

#include "ga_client/RequestOutbox.h"
#include "winapi/handles/KernelHandles.h"

namespace GAClient
{
/// The thread that loads an outbox, sends what is in it, and flushes and saves it at its end.
///
/// The thread has a share of this object, handed over as its argument: one that Stop had to leave behind in an exchange
/// finds everything that it needs when it comes back. Start, Stop and Discard are called on one thread.
class CQueueWorker
{
public:
    /// Null when the event or the thread cannot be made.
    ///
    /// Deliberate: such a failure is INVALID_HANDLE_VALUE only, although `CreateEventW` and `_beginthreadex` fail with
    /// null. A worker without a thread does nothing but save at Stop.
    static std::shared_ptr<CQueueWorker> Start(const std::shared_ptr<CRequestOutbox>& outbox);

    CQueueWorker(std::shared_ptr<CRequestOutbox> outbox, KVWinApi::CUniqueKernelHandle stopEvent) noexcept;

    /// Ends the thread, which flushes the queue when that is set and saves it to the file. Waits at most flush budget +
    /// 3 request timeouts (30 seconds when that is 0) + 40 seconds, and leaves the thread behind when it takes longer.
    void Stop();
    /// Ends the thread without waiting for it and without saving.
    void Discard();

    /// Until Stop.
    bool IsRunning() const noexcept { return m_state == State::kRunning; }
    /// After a Stop that did not have to leave the thread behind.
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
    std::atomic<bool> m_stopRequested = false; // what the event says, for a system that made none
    std::atomic<bool> m_discards = false;
};
} // namespace GAClient
