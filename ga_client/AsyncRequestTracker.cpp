#include "ga_client/AsyncRequestTracker.h"

#include <algorithm>
#include <new>

namespace GAClient
{
namespace
{
// The worker outlives a lack of memory: what it could not do now it does at its next turn, or the file keeps it. An
// exception that left the thread would end the whole program.
template <typename Step> void RunStep(Step step)
{
    try
    {
        step();
    }
    catch (const std::bad_alloc&)
    {
        return;
    }
}

// Fires once after a time. The system's timers are not part of the facade.
class CFlushTimer
{
public:
    explicit CFlushTimer(DWORD budgetMs) : m_timer(::CreateWaitableTimerW(nullptr, TRUE, nullptr))
    {
        constexpr LONGLONG kTicksPerMs = 10000;
        LARGE_INTEGER dueTime{};
        dueTime.QuadPart = -kTicksPerMs * static_cast<LONGLONG>(budgetMs); // negative: from now on
        m_isSet = m_timer.IsValid() && ::SetWaitableTimer(m_timer.Get(), &dueTime, 0, nullptr, nullptr, FALSE) != FALSE;
    }
    ~CFlushTimer()
    {
        if (m_timer.IsValid())
        {
            ::CancelWaitableTimer(m_timer.Get());
        }
    }
    CFlushTimer(const CFlushTimer&) = delete;
    CFlushTimer& operator=(const CFlushTimer&) = delete;

    bool IsSet() const noexcept { return m_isSet; }
    bool HasFired() const { return KVWinApi::g_kernelApi->WaitForSingleObject(m_timer.Get(), 0) == WAIT_OBJECT_0; }

private:
    KVWinApi::CUniqueKernelHandle m_timer;
    bool m_isSet = false;
};
} // namespace

CAsyncRequestTracker::CAsyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion,
                                           bool useSsl)
    : CRequestTracker(applicationName, applicationVersion, useSsl, true)
{
}

bool CAsyncRequestTracker::Start()
{
    if (m_running || m_workerLeftBehind)
    {
        return false;
    }
    const HANDLE stopEvent = KVWinApi::g_kernelApi->CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (stopEvent == INVALID_HANDLE_VALUE)
    {
        return false;
    }
    m_stopEvent.Reset(stopEvent);
    m_stopRequested = false;
    m_workersShare = weak_from_this().lock();
    const auto thread = reinterpret_cast<HANDLE>(
        KVWinApi::g_kernelApi->BeginThreadEx(nullptr, 0, &CAsyncRequestTracker::RunWorker, this, 0, nullptr));
    if (thread == INVALID_HANDLE_VALUE)
    {
        m_workersShare.reset();
        m_stopEvent.Reset();
        return false;
    }
    if (thread == nullptr)
    {
        m_workersShare.reset();
    }
    m_thread.Reset(thread);
    m_running = true;
    return true;
}

bool CAsyncRequestTracker::Stop()
{
    if (!m_running)
    {
        return false;
    }
    m_running = false;
    m_stopRequested = true;
    KVWinApi::g_kernelApi->SetEvent(m_stopEvent.Get());
    if (!m_thread.IsValid())
    {
        // There is no worker to do it.
        SaveQueue();
        return true;
    }
    m_workerLeftBehind = KVWinApi::g_kernelApi->WaitForSingleObject(m_thread.Get(), JoinBound()) != WAIT_OBJECT_0;
    if (m_workerLeftBehind && IsProcessEnding())
    {
        ParkSender();
    }
    m_thread.Reset();
    return true;
}

unsigned __stdcall CAsyncRequestTracker::RunWorker(void* tracker)
{
    auto& self = *static_cast<CAsyncRequestTracker*>(tracker);
    const std::shared_ptr<CAsyncRequestTracker> share = std::move(self.m_workersShare);
    self.Work();
    return 0;
}

void CAsyncRequestTracker::Work()
{
    constexpr DWORD kIdleMs = 1000;
    RunStep([this] { LoadQueue(); });
    std::int32_t result = 0;
    do
    {
        result = -1;
        RunStep([this, &result] { result = Dispatch(1); });
    } while (!IsStopSignalledWithin(result < 1 ? kIdleMs : 0));
    RunStep([this] { Flush(); });
    RunStep([this] { SaveQueue(); });
}

bool CAsyncRequestTracker::IsStopSignalledWithin(DWORD timeoutMs) const
{
    const DWORD waited = KVWinApi::g_kernelApi->WaitForSingleObject(m_stopEvent.Get(), timeoutMs);
    if (waited == WAIT_FAILED)
    {
        // Without an event the wait ends at once, and the worker would keep a processor busy.
        KVWinApi::g_kernelApi->Sleep(timeoutMs);
    }
    return waited == WAIT_OBJECT_0 || m_stopRequested;
}

void CAsyncRequestTracker::Flush()
{
    if (!IsFlushOnStop())
    {
        return;
    }
    const CFlushTimer timer(GetFlushBudget());
    if (!timer.IsSet())
    {
        return;
    }
    // One hit a pass: the time is looked at after each exchange.
    while (!timer.HasFired() && !IsDispatchHeld() && SendOldest() == Delivery::kDelivered)
    {
    }
}

DWORD CAsyncRequestTracker::JoinBound() const noexcept
{
    constexpr std::uint64_t kExchangeMs = 30000; // what the system's own time-outs amount to
    constexpr std::uint64_t kRestMs = 40000;     // 30 s for the mutex of the file, and a margin
    const std::uint64_t timeout = GetRequestTimeout();
    const std::uint64_t bound = GetFlushBudget() + (timeout != 0 ? timeout * 3 : kExchangeMs) + kRestMs;
    return static_cast<DWORD>(std::min<std::uint64_t>(bound, INFINITE - 1)); // in 64 bits, and never without end
}
} // namespace GAClient
