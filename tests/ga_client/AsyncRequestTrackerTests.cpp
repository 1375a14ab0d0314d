#include "ga_client/AsyncRequestTracker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <thread>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/ScopedSubstitute.h"

KV_DECLARE_IMPORT(CreateWaitableTimerW)
KV_DECLARE_IMPORT(SetWaitableTimer)

using GAClient::CAsyncRequestTracker;
using Paths = std::vector<std::wstring>;
using Requests = std::list<std::wstring>;

namespace
{
constexpr DWORD kLongMs = 20000; // that no test reaches when all is well
// Longer than a test may take: it does not end before the stop, even on a machine that is stalled for a while.
constexpr DWORD kBeyondTheTestMs = 600000;

// An event of the test's own. Waiting has an end.
class Signal
{
public:
    Signal() : m_event(::CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~Signal() { ::CloseHandle(m_event); }
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;
    void Set() const { ::SetEvent(m_event); }
    bool Wait() const { return ::WaitForSingleObject(m_event, kLongMs) == WAIT_OBJECT_0; }

private:
    HANDLE m_event;
};

// Shows how the tracker deals with its thread and its event, and answers as the test wants it.
class ThreadApi : public KVTest::FixedTimeApi
{
public:
    ~ThreadApi() override
    {
        if (m_duplicate != nullptr)
        {
            ::CloseHandle(m_duplicate);
        }
    }
    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) override
    {
        Record("event " + std::to_string(manualReset) + std::to_string(initialState) +
               (name == nullptr ? "" : " named"));
        stopEvent = eventResult ? *eventResult : CKernelApi::CreateEventW(attributes, manualReset, initialState, name);
        return stopEvent;
    }
    std::uintptr_t BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine routine, void* argument,
                                 unsigned flags, unsigned* id) override
    {
        Record("thread " + std::to_string(stackSize) + " " + std::to_string(flags));
        if (threadResult)
        {
            return reinterpret_cast<std::uintptr_t>(*threadResult);
        }
        const std::uintptr_t result = CKernelApi::BeginThreadEx(security, stackSize, routine, argument, flags, id);
        thread = reinterpret_cast<HANDLE>(result);
        ::DuplicateHandle(::GetCurrentProcess(), thread, ::GetCurrentProcess(), &m_duplicate, 0, FALSE,
                          DUPLICATE_SAME_ACCESS);
        return result;
    }
    BOOL SetEvent(HANDLE handle) override
    {
        wasWoken = wasWoken || handle == stopEvent;
        return CKernelApi::SetEvent(handle);
    }
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) override
    {
        if (handle == stopEvent)
        {
            Record("wait " + std::to_string(milliseconds));
            const DWORD idle = idleLastsUntilStop ? kBeyondTheTestMs : (std::min)(milliseconds, longestWait.load());
            return CKernelApi::WaitForSingleObject(handle, milliseconds == 0 ? 0 : idle);
        }
        if (handle == thread)
        {
            joinBound = milliseconds;
            joining.Set();
            return joinResult ? *joinResult : CKernelApi::WaitForSingleObject(handle, milliseconds);
        }
        return CKernelApi::WaitForSingleObject(handle, milliseconds);
    }
    void EnterCriticalSection(LPCRITICAL_SECTION section) override
    {
        CKernelApi::EnterCriticalSection(section);
        entered();
    }
    BOOL GetExitCodeThread(HANDLE handle, LPDWORD exitCode) override
    {
        return failingLooks-- > 0 ? FALSE : CKernelApi::GetExitCodeThread(handle, exitCode);
    }
    void DeleteCriticalSection(LPCRITICAL_SECTION section) override
    {
        ++sectionsDeleted;
        CKernelApi::DeleteCriticalSection(section);
    }
    void Sleep(DWORD milliseconds) override
    {
        Record("sleep " + std::to_string(milliseconds));
        CKernelApi::Sleep(1);
    }
    BOOL CloseHandle(HANDLE handle) override
    {
        if (handle == stopEvent)
        {
            Record("close event");
        }
        if (handle == thread)
        {
            Record("close thread");
        }
        return handle == kFake ? TRUE : CKernelApi::CloseHandle(handle);
    }

    std::vector<std::string> TakeCalls()
    {
        const std::lock_guard<std::mutex> hold(m_mutex);
        return std::exchange(m_calls, {});
    }
    // Waits for the end of the worker: its exit code.
    std::optional<DWORD> WorkerExitCode() const
    {
        DWORD code = 0;
        if (::WaitForSingleObject(m_duplicate, kLongMs) != WAIT_OBJECT_0 ||
            ::GetExitCodeThread(m_duplicate, &code) == FALSE)
        {
            return std::nullopt;
        }
        return code;
    }

    static inline const HANDLE kFake = reinterpret_cast<HANDLE>(0x7770);
    std::optional<HANDLE> eventResult;
    std::optional<HANDLE> threadResult;
    std::optional<DWORD> joinResult;
    Signal joining;       // once the join has begun
    int failingLooks = 0; // at the thread's exit code, so many of the next ones
    std::atomic<int> sectionsDeleted = 0;
    std::atomic<DWORD> longestWait = kBeyondTheTestMs;
    // However slow the computer is, the worker has not tried again when the test continues.
    std::atomic<bool> idleLastsUntilStop = false;
    std::function<void()> entered = [] {}; // after each critical section
    std::atomic<DWORD> joinBound = 0;
    std::atomic<bool> wasWoken = false; // by the event
    std::atomic<HANDLE> stopEvent = kFake;
    std::atomic<HANDLE> thread = kFake;

private:
    void Record(std::string call)
    {
        const std::lock_guard<std::mutex> hold(m_mutex);
        m_calls.push_back(std::move(call));
    }

    HANDLE m_duplicate = nullptr;
    std::mutex m_mutex;
    std::vector<std::string> m_calls;
};

class AsyncRequestTrackerTests : public testing::Test
{
protected:
    ~AsyncRequestTrackerTests() override
    {
        if (m_tracker != nullptr)
        {
            m_tracker->Stop();
        }
    }
    static DWORD Accept(const std::wstring&) { return 200; }
    Requests Queue()
    {
        Requests queue;
        m_tracker->GetQueuedRequests(queue);
        return queue;
    }
    bool WaitUntilQueueHas(std::size_t size)
    {
        for (DWORD waited = 0; waited < kLongMs; ++waited)
        {
            if (Queue().size() == size)
            {
                return true;
            }
            ::Sleep(1);
        }
        return false;
    }
    void Track(const Requests& requests)
    {
        for (const std::wstring& request : requests)
        {
            EXPECT_TRUE(m_tracker->TrackRequest(request));
        }
    }
    std::wstring FilePath() const
    {
        return m_winApi.DataFolder(m_name, KVTest::kSampleVersion) + L"Statlet_RequestQueue.txt";
    }
    bool FileExists() const { return ::GetFileAttributesW(FilePath().c_str()) != INVALID_FILE_ATTRIBUTES; }
    std::string FileBytes() const { return KVTest::ReadFileBytes(FilePath()); }
    // A running tracker with these hits, whose first attempt has failed. From then on the server answers so.
    void StartWithOneFailedAttempt(const Requests& requests,
                                   const std::function<DWORD(const std::wstring&)>& laterAnswer = Accept)
    {
        const auto tried = std::make_shared<Signal>();
        m_winApi.answer = [this, tried, laterAnswer](const std::wstring& path) {
            const bool isFirst = m_attempts++ == 0;
            tried->Set();
            return isFirst ? DWORD{500} : laterAnswer(path);
        };
        m_kernelApi.idleLastsUntilStop = true;
        Track(requests);
        m_tracker->SetDispatchHeld(false);
        ASSERT_TRUE(m_tracker->Start());
        ASSERT_TRUE(tried->Wait());
    }

    std::atomic<int> m_attempts = 0;
    KVTest::FakeInternetApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swapWinApi{KVWinApi::g_winApi, m_winApi};
    ThreadApi m_kernelApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swapKernelApi{KVWinApi::g_kernelApi, m_kernelApi};
    std::wstring m_name = KVTest::UniqueApplicationName();
    std::shared_ptr<CAsyncRequestTracker> m_tracker =
        std::make_shared<CAsyncRequestTracker>(m_name, KVTest::kSampleVersion, false);
};
} // namespace

// Start.

TEST_F(AsyncRequestTrackerTests, Start_MakesAnAutoResetEventAndAThreadThatRunsAtOnce)
{
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    const std::vector<std::string> calls = m_kernelApi.TakeCalls();
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[0], "event 00");
    EXPECT_EQ(calls[1], "thread 0 0");
    EXPECT_EQ(m_kernelApi.WorkerExitCode(), 0U);
}

TEST_F(AsyncRequestTrackerTests, Start_WhileRunning_Fails)
{
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_FALSE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_TRUE(m_tracker->Start()); // the flag is cleared
}

TEST_F(AsyncRequestTrackerTests, Start_WithInvalidEvent_FailsWithoutThread)
{
    m_kernelApi.eventResult = INVALID_HANDLE_VALUE;
    EXPECT_FALSE(m_tracker->Start());
    EXPECT_EQ(m_kernelApi.TakeCalls(), std::vector<std::string>({"event 00"}));
    EXPECT_FALSE(m_tracker->Stop());
}

TEST_F(AsyncRequestTrackerTests, Start_WithInvalidThread_FailsAndClosesTheEvent)
{
    m_kernelApi.threadResult = INVALID_HANDLE_VALUE;
    EXPECT_FALSE(m_tracker->Start());
    EXPECT_EQ(m_kernelApi.TakeCalls(), std::vector<std::string>({"event 00", "thread 0 0", "close event"}));
    EXPECT_FALSE(m_tracker->Stop());
}

TEST_F(AsyncRequestTrackerTests, Start_WithNullEvent_RunsNevertheless)
{
    m_kernelApi.eventResult = nullptr;
    Track({L"a"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(WaitUntilQueueHas(0));
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_kernelApi.WorkerExitCode(), 0U);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    const std::vector<std::string> calls = m_kernelApi.TakeCalls();
    EXPECT_NE(std::find(calls.begin(), calls.end(), "sleep 1000"), calls.end()); // a pause instead of the wait
}

TEST_F(AsyncRequestTrackerTests, Start_WithNullThread_RunsNeverthelessAndStopSaves)
{
    m_kernelApi.threadResult = nullptr;
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_FALSE(m_tracker->Start());
    Track({L"a"});
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_kernelApi.joinBound, 0U); // no thread to wait for
    EXPECT_EQ(FileBytes(), "a\n");
}

TEST_F(AsyncRequestTrackerTests, Stop_NotRunning_Fails)
{
    EXPECT_FALSE(m_tracker->Stop());
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_FALSE(m_tracker->Stop());
}

TEST_F(AsyncRequestTrackerTests, Destruction_ClosesWhatIsOpenAndSavesNothing)
{
    EXPECT_TRUE(m_tracker->Start());
    Track({L"a"});
    m_tracker.reset();
    EXPECT_EQ(m_kernelApi.WorkerExitCode(), 0U);
    const std::vector<std::string> calls = m_kernelApi.TakeCalls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "close event"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "close thread"), 1);
    EXPECT_FALSE(FileExists());
}

// The lock is destroyed with the last share of what it guards.
TEST_F(AsyncRequestTrackerTests, Destruction_WithoutThread_LeavesNoShare)
{
    for (const HANDLE noThread : {static_cast<HANDLE>(nullptr), INVALID_HANDLE_VALUE})
    {
        m_kernelApi.threadResult = noThread;
        const int before = m_kernelApi.sectionsDeleted;
        {
            CAsyncRequestTracker tracker(m_name, KVTest::kSampleVersion, false);
            EXPECT_EQ(tracker.Start(), noThread == nullptr);
        }
        EXPECT_EQ(m_kernelApi.sectionsDeleted - before, 2);
    }
}

TEST_F(AsyncRequestTrackerTests, Destruction_AfterStop_LeavesNoShare)
{
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    m_tracker.reset();
    EXPECT_EQ(m_kernelApi.sectionsDeleted, 2);
}

// The worker's loop.

TEST_F(AsyncRequestTrackerTests, Track_OnlyQueues_EvenWhenNotHeld)
{
    m_tracker->SetDispatchHeld(false);
    Track({L"a"});
    EXPECT_EQ(Queue(), Requests({L"a"}));
    EXPECT_TRUE(m_winApi.TakeCalls().empty());
}

TEST_F(AsyncRequestTrackerTests, Worker_SendsBackToBackAndThenWaitsASecond)
{
    m_kernelApi.idleLastsUntilStop = true;
    Track({L"a", L"b", L"c"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(WaitUntilQueueHas(0));
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"b", L"c"}));
    EXPECT_EQ(m_kernelApi.TakeCalls(),
              std::vector<std::string>({"event 00", "thread 0 0", "wait 0", "wait 0", "wait 1000", "close thread"}));
}

TEST_F(AsyncRequestTrackerTests, Worker_RetriesOnceASecondAndKeepsTheOrder)
{
    m_kernelApi.longestWait = 1;
    m_winApi.answer = [this](const std::wstring&) { return m_attempts++ < 3 ? DWORD{503} : DWORD{200}; };
    Track({L"a", L"b"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(WaitUntilQueueHas(0));
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"a", L"a", L"a", L"b"}));
    const std::vector<std::string> calls = m_kernelApi.TakeCalls();
    ASSERT_GE(calls.size(), 7U);
    EXPECT_EQ(std::vector<std::string>(calls.begin() + 2, calls.begin() + 7),
              std::vector<std::string>({"wait 1000", "wait 1000", "wait 1000", "wait 0", "wait 1000"}));
}

TEST_F(AsyncRequestTrackerTests, Worker_LoadsTheFileBeforeItSends)
{
    Track({L"old1", L"old2"});
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(FileBytes(), "old1\nold2\n");

    m_tracker = std::make_shared<CAsyncRequestTracker>(m_name, KVTest::kSampleVersion, false);
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop()); // the worker makes one pass at least
    EXPECT_EQ(m_winApi.Paths()[0], L"old1");
    EXPECT_EQ(FileBytes(), m_winApi.Paths().size() == 1 ? "old2\n" : "");
}

TEST_F(AsyncRequestTrackerTests, Worker_Held_SendsNothingAndSavesWhatIsQueued)
{
    m_kernelApi.longestWait = 1;
    EXPECT_TRUE(m_tracker->Start());
    std::string expected;
    for (int i = 0; i < 510; ++i)
    {
        Track({L"hit" + std::to_wstring(i)});
        expected += i < 500 ? "hit" + std::to_string(i) + "\n" : "";
    }
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_TRUE(m_winApi.TakeCalls().empty());
    EXPECT_EQ(FileBytes(), expected);
}

TEST_F(AsyncRequestTrackerTests, Worker_OutOfMemory_GoesOn)
{
    m_kernelApi.longestWait = 1;
    m_winApi.answer = [this](const std::wstring&) -> DWORD {
        if (m_attempts++ < 2)
        {
            throw std::bad_alloc();
        }
        return 200;
    };
    Track({L"a", L"b"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(WaitUntilQueueHas(0));
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"a", L"a", L"b"}));
}

TEST_F(AsyncRequestTrackerTests, Worker_WithAnyException_GoesOn)
{
    m_kernelApi.longestWait = 1;
    m_winApi.answer = [this](const std::wstring&) -> DWORD {
        switch (m_attempts++)
        {
        case 0:
            throw std::runtime_error("some failure");
        case 1:
            throw 1;
        default:
            return 200;
        }
    };
    Track({L"a", L"b"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(WaitUntilQueueHas(0));
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"a", L"a", L"b"}));
}

TEST_F(AsyncRequestTrackerTests, HitsTrackedWhileTheWorkerSends_ArriveOnceAndInOrder)
{
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    Paths expected;
    for (int i = 0; i < 300; ++i)
    {
        expected.push_back(L"hit" + std::to_wstring(i));
        Track({expected.back()});
    }
    m_tracker->SetFlushOnStop(true);
    m_tracker->SetFlushBudget(kBeyondTheTestMs);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), expected);
    EXPECT_EQ(FileBytes(), "");
}

// Flush.

TEST_F(AsyncRequestTrackerTests, Stop_WithoutFlush_OnlySaves)
{
    StartWithOneFailedAttempt({L"a", L"b"});
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "a\nb\n");
}

TEST_F(AsyncRequestTrackerTests, Stop_WakesTheWorkerThatRests)
{
    StartWithOneFailedAttempt({L"a"});
    EXPECT_FALSE(m_kernelApi.wasWoken);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_TRUE(m_kernelApi.wasWoken);
}

TEST_F(AsyncRequestTrackerTests, Stop_WithFlush_SendsTheQueueOldestFirst)
{
    StartWithOneFailedAttempt({L"a", L"b", L"c"});
    m_tracker->SetFlushOnStop(true);
    m_tracker->SetFlushBudget(kBeyondTheTestMs);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"a", L"b", L"c"}));
    EXPECT_EQ(FileBytes(), "");
}

TEST_F(AsyncRequestTrackerTests, Stop_WithFlushButNoBudget_OnlySaves)
{
    StartWithOneFailedAttempt({L"a", L"b"});
    m_tracker->SetFlushOnStop(true);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "a\nb\n");
}

TEST_F(AsyncRequestTrackerTests, Stop_WithBudgetButNoFlush_OnlySaves)
{
    StartWithOneFailedAttempt({L"a", L"b"});
    m_tracker->SetFlushBudget(kBeyondTheTestMs);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "a\nb\n");
}

TEST_F(AsyncRequestTrackerTests, Stop_WithFlushWhileHeld_OnlySaves)
{
    StartWithOneFailedAttempt({L"a", L"b"});
    m_tracker->SetDispatchHeld(true);
    m_tracker->SetFlushOnStop(true);
    m_tracker->SetFlushBudget(kBeyondTheTestMs);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "a\nb\n");
}

TEST_F(AsyncRequestTrackerTests, Flush_EndsAtTheFirstFailure)
{
    StartWithOneFailedAttempt({L"a", L"b", L"c"},
                              [](const std::wstring& path) { return path == L"b" ? DWORD{500} : DWORD{200}; });
    m_tracker->SetFlushOnStop(true);
    m_tracker->SetFlushBudget(kBeyondTheTestMs);
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"a", L"b"}));
    EXPECT_EQ(FileBytes(), "b\nc\n");
}

TEST_F(AsyncRequestTrackerTests, Flush_EndsWhenItsTimeIsOverAndNotBefore)
{
    Requests requests;
    for (int i = 0; i < 200; ++i)
    {
        requests.push_back(L"hit" + std::to_wstring(i));
    }
    StartWithOneFailedAttempt(requests, [](const std::wstring&) {
        ::Sleep(20);
        return DWORD{200};
    });
    m_tracker->SetFlushOnStop(true);
    m_tracker->SetFlushBudget(100);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(m_tracker->Stop());
    // All hits together would take four seconds. A little less than the budget: the timer runs by a different clock.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(80));
    const std::size_t sent = m_winApi.Paths().size() - 1;
    EXPECT_LT(sent, 10U); // five exchanges fit in
    std::string expected;
    for (std::size_t i = sent; i < requests.size(); ++i)
    {
        expected += "hit" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(FileBytes(), expected);
}

// The system's timer, which no facade offers.

namespace
{
bool g_timerIsMade = true;
bool g_timerIsSet = true;
LONGLONG g_dueTime = 0;
int g_timersAsked = 0;

HANDLE WINAPI MakeTimer(LPSECURITY_ATTRIBUTES, BOOL manualReset, LPCWSTR)
{
    ++g_timersAsked;
    // Never set: it does not fire.
    return g_timerIsMade ? ::CreateEventW(nullptr, manualReset, FALSE, nullptr) : nullptr;
}

BOOL WINAPI SetTimerTo(HANDLE, const LARGE_INTEGER* dueTime, LONG, PTIMERAPCROUTINE, LPVOID, BOOL)
{
    g_dueTime = dueTime->QuadPart;
    return g_timerIsSet ? TRUE : FALSE;
}

class FlushTimerTests : public AsyncRequestTrackerTests
{
protected:
    FlushTimerTests()
    {
        g_timerIsMade = true;
        g_timerIsSet = true;
        g_timersAsked = 0;
    }
    void StopWithFlush(DWORD budgetMs)
    {
        StartWithOneFailedAttempt({L"a", L"b"});
        m_tracker->SetFlushOnStop(true);
        m_tracker->SetFlushBudget(budgetMs);
        EXPECT_TRUE(m_tracker->Stop());
        EXPECT_EQ(g_timersAsked, 1);
    }
    KVTest::ImportPatch m_makePatch{__imp_CreateWaitableTimerW, reinterpret_cast<void*>(&MakeTimer)};
    KVTest::ImportPatch m_setPatch{__imp_SetWaitableTimer, reinterpret_cast<void*>(&SetTimerTo)};
};
} // namespace

TEST_F(FlushTimerTests, Time_IsCountedIn64Bits)
{
    StopWithFlush(4000000000);
    EXPECT_EQ(g_dueTime, -40000000000000);
    EXPECT_EQ(FileBytes(), "");
}

TEST_F(FlushTimerTests, TimerThatCannotBeMade_StopsTheFlush)
{
    g_timerIsMade = false;
    StopWithFlush(kBeyondTheTestMs);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "a\nb\n");
}

TEST_F(FlushTimerTests, TimerThatCannotBeSet_StopsTheFlush)
{
    g_timerIsSet = false;
    StopWithFlush(kBeyondTheTestMs);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "a\nb\n");
}

// The bound of the join, and a worker that misses it.

TEST_F(AsyncRequestTrackerTests, JoinBound_WithoutTimeoutAndBudget_IsSeventySeconds)
{
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_kernelApi.joinBound, 70000U);
}

TEST_F(AsyncRequestTrackerTests, JoinBound_CountsTheBudgetAndThreeTimeouts)
{
    m_tracker->SetFlushBudget(5000);
    m_tracker->SetRequestTimeout(120000);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_kernelApi.joinBound, 405000U);
}

TEST_F(AsyncRequestTrackerTests, JoinBound_OfTheLargestBudget_IsNeitherWrappedNorWithoutEnd)
{
    m_tracker->SetFlushBudget(0xFFFFFFFF);
    EXPECT_TRUE(m_tracker->Start());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_EQ(m_kernelApi.joinBound, 0xFFFFFFFEU);
}

TEST_F(AsyncRequestTrackerTests, WorkerLeftBehind_FinishesWithWhatItShares)
{
    Signal isSending;
    Signal goOn;
    m_winApi.answer = [&](const std::wstring&) {
        isSending.Set();
        return goOn.Wait() ? DWORD{200} : DWORD{500};
    };
    m_kernelApi.joinResult = WAIT_TIMEOUT;
    Track({L"a", L"b"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    ASSERT_TRUE(isSending.Wait());
    EXPECT_TRUE(m_tracker->Stop());
    EXPECT_FALSE(m_tracker->Start()); // its worker still exists
    m_tracker.reset();
    EXPECT_EQ(m_kernelApi.sectionsDeleted, 0); // the lock that it holds
    goOn.Set();
    EXPECT_EQ(m_kernelApi.WorkerExitCode(), 0U);
    EXPECT_EQ(m_kernelApi.sectionsDeleted, 2);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(FileBytes(), "b\n");
}

TEST_F(AsyncRequestTrackerTests, WorkerLeftBehindAtTheEndOfTheProcess_TouchesNothing)
{
    Signal isSending;
    Signal goOn;
    m_winApi.answer = [&](const std::wstring&) {
        isSending.Set();
        return goOn.Wait() ? DWORD{200} : DWORD{500};
    };
    m_kernelApi.joinResult = WAIT_TIMEOUT;
    Track({L"a", L"b"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    ASSERT_TRUE(isSending.Wait());
    EXPECT_TRUE(m_tracker->Stop());
    m_tracker->Abandon();
    m_tracker.reset();
    m_kernelApi.TakeCalls();
    goOn.Set();
    EXPECT_EQ(m_kernelApi.WorkerExitCode(), 0U);
    EXPECT_EQ(m_kernelApi.TakeCalls(), std::vector<std::string>());
    EXPECT_EQ(m_kernelApi.sectionsDeleted, 0);
    EXPECT_FALSE(FileExists());
}

TEST_F(AsyncRequestTrackerTests, JoinThatCannotWait_WaitsNeverthelessUntilAllIsSaved)
{
    Signal isSending;
    m_winApi.answer = [&](const std::wstring&) {
        isSending.Set();
        m_kernelApi.joining.Wait();
        ::Sleep(50); // so that a join which gives up usually shows; the outcome does not depend on it
        return DWORD{500};
    };
    m_kernelApi.joinResult = WAIT_FAILED;
    m_kernelApi.failingLooks = 3;
    Track({L"a"});
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    ASSERT_TRUE(isSending.Wait());
    EXPECT_TRUE(m_tracker->Stop());
    ASSERT_TRUE(FileExists());
    EXPECT_EQ(FileBytes(), "a\n");
    EXPECT_TRUE(m_tracker->Start()); // its worker has ended
}

// Callers while the worker sends.

// The first section that the caller enters is the door of the lock; no thread passes it from then on.
TEST_F(AsyncRequestTrackerTests, Caller_WaitsForOneExchangeOnly)
{
    std::atomic<int> exchanges = 0;
    std::vector<int> exchangesAtEntering;
    m_winApi.answer = [&exchanges](const std::wstring&) {
        ::Sleep(2);
        ++exchanges;
        return DWORD{200};
    };
    m_kernelApi.entered = [&, caller = ::GetCurrentThreadId()] {
        if (::GetCurrentThreadId() == caller)
        {
            exchangesAtEntering.push_back(exchanges);
        }
    };
    Track(Requests(400, L"hit"));
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    for (int poll = 0; poll < 30; ++poll)
    {
        exchangesAtEntering.clear();
        (void)Queue();
        ASSERT_EQ(exchangesAtEntering.size(), 2U);
        EXPECT_LE(exchangesAtEntering[1] - exchangesAtEntering[0], 1);
    }
    EXPECT_TRUE(m_tracker->Stop());
}

TEST_F(AsyncRequestTrackerTests, DispatchOfTheCaller_AndTheWorker_SendEachHitOnce)
{
    m_tracker->SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker->Start());
    Paths expected;
    for (int i = 0; i < 200; ++i)
    {
        expected.push_back(L"hit" + std::to_wstring(i));
        Track({expected.back()});
        m_tracker->Dispatch(2);
    }
    EXPECT_TRUE(WaitUntilQueueHas(0));
    EXPECT_EQ(m_winApi.Paths(), expected);
}
