#pragma once

#include <memory>

#include "ga_client/RequestTracker.h"
#include "winapi/KernelHandles.h"

namespace GAClient
{
/// Sends hits on a worker thread of its own, back to back while that succeeds, once a second while it fails or there is
/// nothing to send. Start and Stop are called on one thread.
///
/// Make it with std::make_shared: the worker shares the ownership, so that a worker which Stop had to leave behind in
/// an exchange finds everything that it needs when it comes back.
class CAsyncRequestTracker : public CRequestTracker, public std::enable_shared_from_this<CAsyncRequestTracker>
{
public:
    CAsyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion, bool useSsl);

    /// Starts the worker, which begins by loading the queue from the file. False when it runs already, and when the
    /// event or the thread cannot be made.
    ///
    /// Deliberate: such a failure is INVALID_HANDLE_VALUE only, although `CreateEventW` and `_beginthreadex` fail with
    /// null. A tracker without a thread accepts hits and saves them at Stop.
    bool Start() override;

    /// Ends the worker, which flushes the queue when that is set and saves it to the file. False when it does not run.
    /// Waits at most flush budget + 3 request timeouts (30 seconds when that is 0) + 40 seconds, and leaves the worker
    /// behind when it takes longer.
    bool Stop() override;

private:
    static unsigned __stdcall RunWorker(void* tracker);
    void Work();
    bool IsStopSignalledWithin(DWORD timeoutMs) const;
    void Flush();
    DWORD JoinBound() const noexcept;

    KVWinApi::CUniqueKernelHandle m_thread;
    KVWinApi::CUniqueKernelHandle m_stopEvent;
    bool m_running = false;
    bool m_workerLeftBehind = false;
    std::atomic<bool> m_stopRequested = false;            // what the event says, for a system that gave none
    std::shared_ptr<CAsyncRequestTracker> m_workersShare; // from Start until the worker takes it
};
} // namespace GAClient
