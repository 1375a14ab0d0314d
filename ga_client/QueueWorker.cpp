#include "ga_client/QueueWorker.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace GAClient
{
namespace
{
// The worker survives a step that fails, most likely for lack of memory: it repeats the step at its next turn, or the
// file keeps the hits. An exception that left the thread would end the whole program.
template <typename Step> void RunStep(Step step) noexcept
{
    try
    {
        step();
    }
    catch (...)
    {
        return;
    }
}

// A waitable timer that fires once. No interface of the facade has these timers.
class CFlushTimer
{
public:
    explicit CFlushTimer(DWORD budgetMs) : m_timer(::CreateWaitableTimerW(nullptr, TRUE, nullptr))
    {
        constexpr LONGLONG kTicksPerMs = 10000;
        LARGE_INTEGER dueTime{};
        dueTime.QuadPart = -kTicksPerMs * static_cast<LONGLONG>(budgetMs); // negative: relative
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

std::shared_ptr<CQueueWorker> CQueueWorker::Start(const std::shared_ptr<CRequestOutbox>& outbox)
{
    const HANDLE stopEvent = KVWinApi::g_kernelApi->CreateEventW(nullptr, FALSE, FALSE, nullptr);
    if (stopEvent == INVALID_HANDLE_VALUE)
    {
        return nullptr;
    }
    auto worker = std::make_shared<CQueueWorker>(outbox, KVWinApi::CUniqueKernelHandle(stopEvent));
    auto share = std::make_unique<std::shared_ptr<CQueueWorker>>(worker);
    const auto thread = reinterpret_cast<HANDLE>(
        KVWinApi::g_kernelApi->BeginThreadEx(nullptr, 0, &CQueueWorker::Run, share.get(), 0, nullptr));
    if (thread == INVALID_HANDLE_VALUE)
    {
        return nullptr;
    }
    if (thread != nullptr)
    {
        static_cast<void>(share.release()); // the thread deletes it
    }
    worker->m_thread.Reset(thread);
    return worker;
}

CQueueWorker::CQueueWorker(std::shared_ptr<CRequestOutbox> outbox, KVWinApi::CUniqueKernelHandle stopEvent) noexcept
    : m_outbox(std::move(outbox)), m_stopEvent(std::move(stopEvent))
{
}

void CQueueWorker::Stop()
{
    RequestStop();
    if (!m_thread.IsValid())
    {
        m_state = State::kEnded;
        m_outbox->Save();
        return;
    }
    m_state = EndsWithin(GetJoinBound()) ? State::kEnded : State::kLeftBehind;
    m_thread.Reset();
}

void CQueueWorker::Discard()
{
    m_discards = true;
    RequestStop();
}

unsigned __stdcall CQueueWorker::Run(void* share)
{
    const std::unique_ptr<std::shared_ptr<CQueueWorker>> worker(static_cast<std::shared_ptr<CQueueWorker>*>(share));
    (*worker)->Work();
    return 0;
}

void CQueueWorker::Work()
{
    constexpr DWORD kIdleMs = 1000;
    RunStep([this] { m_outbox->Load(); });
    std::int32_t result = 0;
    do
    {
        result = -1;
        RunStep([this, &result] { result = m_outbox->Dispatch(1); });
    } while (!IsStopSignalledWithin(result < 1 ? kIdleMs : 0));
    if (!m_discards)
    {
        RunStep([this] { Flush(); });
        RunStep([this] { m_outbox->Save(); });
    }
}

bool CQueueWorker::IsStopSignalledWithin(DWORD timeoutMs) const
{
    const DWORD waited = KVWinApi::g_kernelApi->WaitForSingleObject(m_stopEvent.Get(), timeoutMs);
    if (waited == WAIT_FAILED)
    {
        // Without an event the wait returns at once, and the worker would occupy a processor.
        KVWinApi::g_kernelApi->Sleep(timeoutMs);
    }
    return waited == WAIT_OBJECT_0 || m_stopRequested;
}

void CQueueWorker::Flush()
{
    if (!m_outbox->IsFlushOnStop())
    {
        return;
    }
    const CFlushTimer timer(m_outbox->GetFlushBudget());
    if (!timer.IsSet())
    {
        return;
    }
    // One hit a pass: the timer is checked after each exchange.
    while (!timer.HasFired() && !m_outbox->IsDispatchHeld() &&
           m_outbox->SendOldest() == CRequestOutbox::Delivery::kDelivered)
    {
    }
}

void CQueueWorker::RequestStop()
{
    m_stopRequested = true;
    KVWinApi::g_kernelApi->SetEvent(m_stopEvent.Get());
}

DWORD CQueueWorker::GetJoinBound() const noexcept
{
    constexpr std::uint64_t kExchangeMs = 30000; // about the system's own time-outs
    constexpr std::uint64_t kRestMs = 40000;     // 30 s for the mutex of the file, and a margin
    const std::uint64_t timeout = m_outbox->GetRequestTimeout();
    const std::uint64_t bound = m_outbox->GetFlushBudget() + (timeout != 0 ? timeout * 3 : kExchangeMs) + kRestMs;
    return static_cast<DWORD>(std::min<std::uint64_t>(bound, INFINITE - 1)); // in 64 bits, and never INFINITE
}

bool CQueueWorker::EndsWithin(DWORD timeoutMs) const
{
    constexpr DWORD kPollMs = 10;
    const DWORD begin = KVWinApi::g_kernelApi->GetTickCount();
    const DWORD waited = KVWinApi::g_kernelApi->WaitForSingleObject(m_thread.Get(), timeoutMs);
    if (waited != WAIT_FAILED)
    {
        return waited == WAIT_OBJECT_0;
    }
    // A caller that continued now could end the process before the worker has saved.
    while (!IsThreadOver())
    {
        if (KVWinApi::g_kernelApi->GetTickCount() - begin >= timeoutMs)
        {
            return false;
        }
        KVWinApi::g_kernelApi->Sleep(kPollMs);
    }
    return true;
}

bool CQueueWorker::IsThreadOver() const
{
    DWORD exitCode = STILL_ACTIVE;
    return KVWinApi::g_kernelApi->GetExitCodeThread(m_thread.Get(), &exitCode) != FALSE && exitCode != STILL_ACTIVE;
}
} // namespace GAClient
