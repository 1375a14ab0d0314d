#include "ga_client/SyncRequestTracker.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <thread>
#include <type_traits>

#include "ga_client/RequestOutbox.h"
#include "tests/ga_client/FailingAllocations.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/Faults.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"
#include "utils/base/StructuredExceptionScope.h"
#include "utils/base/Win32Exception.h"

using Paths = std::vector<std::wstring>;
using Requests = std::list<std::wstring>;

namespace
{
constexpr std::int64_t kNow = 1416096000;
constexpr wchar_t kNowMark[] = L"#1416096000";

class SyncRequestTrackerTests : public testing::Test
{
protected:
    static DWORD Refuse(const std::wstring&) { return 500; }
    static DWORD Accept(const std::wstring&) { return 200; }
    Requests Queue()
    {
        Requests queue = {L"replaced"};
        m_tracker.GetQueuedRequests(queue);
        return queue;
    }
    std::wstring FilePath(const std::wstring& version = KVTest::kSampleVersion) const
    {
        return m_winApi.DataFolder(m_name, version) + L"Statlet_RequestQueue.txt";
    }

    KVTest::FakeInternetApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swapWinApi{KVWinApi::g_winApi, m_winApi};
    KVTest::FixedTimeApi m_kernelApi{kNow};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swapKernelApi{KVWinApi::g_kernelApi, m_kernelApi};
    std::wstring m_name = KVTest::UniqueApplicationName();
    GAClient::CSyncRequestTracker m_tracker{m_name, KVTest::kSampleVersion, false};
};
} // namespace

namespace
{
// Whether the lock of the tracker can be had: asked on a thread of its own, which a lock that was left held keeps.
bool IsLockFree(const std::shared_ptr<GAClient::CSyncRequestTracker>& tracker)
{
    constexpr DWORD kBoundMs = 5000;
    const auto answered = std::shared_ptr<void>(::CreateEventW(nullptr, TRUE, FALSE, nullptr), &::CloseHandle);
    std::thread other([tracker, answered] {
        Requests queue;
        tracker->GetQueuedRequests(queue);
        ::SetEvent(answered.get());
    });
    const bool isFree = ::WaitForSingleObject(answered.get(), kBoundMs) == WAIT_OBJECT_0;
    if (isFree)
    {
        other.join(); // with winpthreads, a thread that starts while a detached one ends is now and then never run
    }
    else
    {
        other.detach();
    }
    return isFree;
}

template <typename Result, typename... Arguments>
constexpr bool TakesAndReturnsValues(Result (GAClient::CRequestOutbox::*)(Arguments...))
{
    return !std::is_reference_v<Result> && !std::is_pointer_v<Result> && !(std::is_reference_v<Arguments> || ...) &&
           !(std::is_pointer_v<Arguments> || ...);
}
static_assert(TakesAndReturnsValues(&GAClient::CRequestOutbox::Append));
static_assert(TakesAndReturnsValues(&GAClient::CRequestOutbox::SendNow));
static_assert(TakesAndReturnsValues(&GAClient::CRequestOutbox::GetSnapshot));
} // namespace

TEST(RequestTrackerInterfaceTests, StartAndStop_FollowTheDestructor)
{
    EXPECT_EQ(KVTest::SlotOf(&GAClient::CRequestTracker::Start), KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotOf(&GAClient::CRequestTracker::Stop), KVTest::kDestructorSlots + 1);
}

// Tracking.

TEST_F(SyncRequestTrackerTests, Track_AtFirst_OnlyQueues)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"a#1"));
    EXPECT_EQ(Queue(), Requests({L"a#1"}));
    EXPECT_TRUE(m_winApi.TakeCalls().empty());
}

TEST_F(SyncRequestTrackerTests, Track_NotHeld_SendsAConvertedCopyAtOnce)
{
    m_tracker.SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker.TrackRequest(L"/collect?v=1#1416095995"));
    EXPECT_EQ(m_winApi.Paths(), Paths({L"/collect?v=1&qt=5000"}));
    EXPECT_EQ(Queue(), Requests());
}

TEST_F(SyncRequestTrackerTests, Track_ThatCannotSend_KeepsTheHitWithItsMark)
{
    m_tracker.SetDispatchHeld(false);
    m_winApi.answer = Refuse;
    EXPECT_FALSE(m_tracker.TrackRequest(std::wstring(L"a") + kNowMark));
    EXPECT_EQ(Queue(), Requests({std::wstring(L"a") + kNowMark}));
}

TEST_F(SyncRequestTrackerTests, HitSentLater_CarriesTheTimeItWaited)
{
    m_tracker.SetDispatchHeld(false);
    m_winApi.answer = Refuse;
    EXPECT_FALSE(m_tracker.TrackRequest(std::wstring(L"a") + kNowMark));
    m_kernelApi.seconds = kNow + 7;
    m_winApi.answer = Accept;
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a&qt=0", L"a&qt=7000"}));
}

TEST_F(SyncRequestTrackerTests, Track_SendsPastHitsThatWait)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"waits"));
    m_tracker.SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker.TrackRequest(L"direct"));
    EXPECT_EQ(m_winApi.Paths(), Paths({L"direct"}));
    EXPECT_EQ(Queue(), Requests({L"waits"}));
}

TEST_F(SyncRequestTrackerTests, Track_OfNothing_QueuesNothing)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L""));
    EXPECT_EQ(Queue(), Requests());
}

TEST_F(SyncRequestTrackerTests, Track_WithFullQueue_DropsSilently)
{
    for (int i = 0; i < 501; ++i)
    {
        EXPECT_TRUE(m_tracker.TrackRequest(std::to_wstring(i)));
    }
    EXPECT_EQ(Queue().size(), 500U);
    EXPECT_EQ(Queue().back(), L"499");
    m_tracker.SetQueueLimit(501);
    EXPECT_TRUE(m_tracker.TrackRequest(L"more"));
    EXPECT_EQ(Queue().back(), L"more");
    m_tracker.SetQueueLimit(1);
    EXPECT_TRUE(m_tracker.TrackRequest(L"too much"));
    EXPECT_EQ(Queue().size(), 501U); // a smaller limit takes nothing away
}

TEST_F(SyncRequestTrackerTests, RequestTimeout_IsHandedToTheTransport)
{
    m_tracker.SetDispatchHeld(false);
    m_tracker.SetRequestTimeout(1500);
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    EXPECT_EQ(m_winApi.TakeCalls()[2], L"option session1 2 1500");
}

TEST_F(SyncRequestTrackerTests, RequestTimeout_AtFirst_IsTheSystems)
{
    m_tracker.SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    EXPECT_EQ(m_winApi.TakeCalls()[2].substr(0, 7), L"connect");
}

TEST_F(SyncRequestTrackerTests, UseSsl_IsHandedToTheTransport)
{
    GAClient::CSyncRequestTracker secure(m_name, KVTest::kSampleVersion, true);
    secure.SetDispatchHeld(false);
    EXPECT_TRUE(secure.TrackRequest(L"a"));
    m_tracker.SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    EXPECT_EQ(m_winApi.posts.at(0).flags, 0x00803000U);
    EXPECT_EQ(m_winApi.posts.at(1).flags, 0x80000000U);
}

// Dispatch.

TEST_F(SyncRequestTrackerTests, Dispatch_Held_SendsNothing)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    EXPECT_EQ(m_tracker.Dispatch(10), 0);
    EXPECT_EQ(Queue(), Requests({L"a"}));
    EXPECT_TRUE(m_winApi.TakeCalls().empty());
}

TEST_F(SyncRequestTrackerTests, Dispatch_SendsOldestFirstAndTellsWhatIsLeft)
{
    for (const wchar_t* hit : {L"a", L"b", L"c", L"d"})
    {
        EXPECT_TRUE(m_tracker.TrackRequest(hit));
    }
    m_tracker.SetDispatchHeld(false);
    EXPECT_EQ(m_tracker.Dispatch(2), 2);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"b"}));
    EXPECT_EQ(Queue(), Requests({L"c", L"d"}));
    EXPECT_EQ(m_tracker.Dispatch(1), 1);
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
}

TEST_F(SyncRequestTrackerTests, Dispatch_OfMoreThanThereIs_IsZero)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    m_tracker.SetDispatchHeld(false);
    EXPECT_EQ(m_tracker.Dispatch(4294967295U), 0);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a"}));
    EXPECT_EQ(m_tracker.Dispatch(5), 0);
}

TEST_F(SyncRequestTrackerTests, Dispatch_OfNone_TellsTheSize)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    EXPECT_TRUE(m_tracker.TrackRequest(L"b"));
    m_tracker.SetDispatchHeld(false);
    EXPECT_EQ(m_tracker.Dispatch(0), 2);
    EXPECT_TRUE(m_winApi.TakeCalls().empty());
}

TEST_F(SyncRequestTrackerTests, Dispatch_ThatFails_KeepsTheHitFirst)
{
    for (const wchar_t* hit : {L"a", L"b", L"c"})
    {
        EXPECT_TRUE(m_tracker.TrackRequest(hit));
    }
    m_tracker.SetDispatchHeld(false);
    m_winApi.answer = [](const std::wstring& path) { return path == L"b" ? DWORD{404} : DWORD{202}; };
    EXPECT_EQ(m_tracker.Dispatch(3), -1);
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a", L"b"}));
    EXPECT_EQ(Queue(), Requests({L"b", L"c"}));
}

TEST_F(SyncRequestTrackerTests, Dispatch_ConvertsAtEachAttempt)
{
    EXPECT_TRUE(m_tracker.TrackRequest(std::wstring(L"a") + kNowMark));
    m_tracker.SetDispatchHeld(false);
    m_winApi.answer = Refuse;
    for (int attempt = 0; attempt < 3; ++attempt)
    {
        EXPECT_EQ(m_tracker.Dispatch(1), -1);
        ++m_kernelApi.seconds;
    }
    EXPECT_EQ(m_winApi.Paths(), Paths({L"a&qt=0", L"a&qt=1000", L"a&qt=2000"}));
    EXPECT_EQ(Queue(), Requests({std::wstring(L"a") + kNowMark}));
}

// The queue file.

TEST_F(SyncRequestTrackerTests, Stop_SavesTheQueueAndKeepsIt)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"a#1"));
    EXPECT_TRUE(m_tracker.TrackRequest(L"b#2"));
    EXPECT_TRUE(m_tracker.Stop());
    EXPECT_EQ(KVTest::ReadFileBytes(FilePath()), "a#1\nb#2\n");
    EXPECT_EQ(Queue(), Requests({L"a#1", L"b#2"}));
}

TEST_F(SyncRequestTrackerTests, Stop_TellsThatTheSaveFailed)
{
    EXPECT_TRUE(m_tracker.Stop());
    ASSERT_TRUE(::DeleteFileW(FilePath().c_str()));
    ASSERT_TRUE(::CreateDirectoryW(FilePath().c_str(), nullptr));
    EXPECT_FALSE(m_tracker.Stop());
}

TEST_F(SyncRequestTrackerTests, Start_LoadsWhatAnEarlierTrackerSaved)
{
    {
        GAClient::CSyncRequestTracker earlier(m_name, KVTest::kSampleVersion, false);
        EXPECT_TRUE(earlier.TrackRequest(L"a#1"));
        EXPECT_TRUE(earlier.Stop());
    }
    EXPECT_TRUE(m_tracker.Start());
    EXPECT_EQ(Queue(), Requests({L"a#1"}));
    EXPECT_EQ(KVTest::ReadFileBytes(FilePath()), "");
}

TEST_F(SyncRequestTrackerTests, StartAndStop_LookForTheFolderOnce)
{
    EXPECT_TRUE(m_tracker.Start());
    EXPECT_TRUE(m_tracker.Stop());
    EXPECT_EQ(m_winApi.shellCalls, 1);
}

TEST_F(SyncRequestTrackerTests, Start_WithoutFile_IsTrue)
{
    EXPECT_TRUE(m_tracker.Start());
    EXPECT_EQ(Queue(), Requests());
}

TEST_F(SyncRequestTrackerTests, Start_LoadsUpToTheLimit)
{
    {
        GAClient::CSyncRequestTracker earlier(m_name, KVTest::kSampleVersion, false);
        EXPECT_TRUE(earlier.TrackRequest(L"a"));
        EXPECT_TRUE(earlier.TrackRequest(L"b"));
        EXPECT_TRUE(earlier.Stop());
    }
    m_tracker.SetQueueLimit(1);
    EXPECT_TRUE(m_tracker.Start());
    EXPECT_EQ(Queue(), Requests({L"a"}));
    EXPECT_EQ(KVTest::ReadFileBytes(FilePath()), "");
}

TEST_F(SyncRequestTrackerTests, Destruction_SavesNothing)
{
    {
        GAClient::CSyncRequestTracker other(m_name, KVTest::kSampleVersion, false);
        EXPECT_TRUE(other.TrackRequest(L"a"));
    }
    EXPECT_EQ(::GetFileAttributesW(FilePath().c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(SyncRequestTrackerTests, EmptyVersion_LeavesTheInitialOne)
{
    GAClient::CSyncRequestTracker tracker(m_name, L"", false);
    EXPECT_TRUE(tracker.TrackRequest(L"a"));
    EXPECT_TRUE(tracker.Stop());
    EXPECT_EQ(KVTest::ReadFileBytes(FilePath(L"1.0.0")), "a\n");
}

TEST_F(SyncRequestTrackerTests, EmptyName_UsesNoFile)
{
    GAClient::CSyncRequestTracker tracker(L"", KVTest::kSampleVersion, false);
    EXPECT_TRUE(tracker.Start());
    EXPECT_TRUE(tracker.TrackRequest(L"a"));
    EXPECT_FALSE(tracker.Stop());
    EXPECT_EQ(::GetFileAttributesW(m_winApi.localFolder.PathOf(L"Norvik").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(SyncRequestTrackerTests, LoadAndSave_TakeTheLockBeforeTheMutex)
{
    class OrderApi : public KVTest::FixedTimeApi
    {
    public:
        void EnterCriticalSection(LPCRITICAL_SECTION section) override
        {
            CKernelApi::EnterCriticalSection(section);
            ++depth;
        }
        void LeaveCriticalSection(LPCRITICAL_SECTION section) override
        {
            --depth;
            CKernelApi::LeaveCriticalSection(section);
        }
        int depth = 0;
    };
    class MutexApi : public KVTest::FakeInternetApi
    {
    public:
        explicit MutexApi(OrderApi& order) : m_order(order) {}
        HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL owner, LPCWSTR name) override
        {
            depths.push_back(m_order.depth);
            return CWinApi::CreateMutexW(attributes, owner, name);
        }
        BOOL ReleaseMutex(HANDLE handle) override
        {
            depths.push_back(m_order.depth);
            return CWinApi::ReleaseMutex(handle);
        }
        std::vector<int> depths;

    private:
        OrderApi& m_order;
    };
    OrderApi kernelApi;
    MutexApi winApi(kernelApi);
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> swapKernelApi{KVWinApi::g_kernelApi, kernelApi};
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> swapWinApi{KVWinApi::g_winApi, winApi};
    GAClient::CSyncRequestTracker tracker(m_name, KVTest::kSampleVersion, false);
    EXPECT_TRUE(tracker.Start());
    EXPECT_TRUE(tracker.Stop());
    EXPECT_EQ(winApi.depths, std::vector<int>({1, 1, 1, 1}));
    EXPECT_EQ(kernelApi.depth, 0);
}

// The lock.

TEST_F(SyncRequestTrackerTests, Lock_IsHeldWhileAHitIsQueuedAndWhileOneIsSent)
{
    class DepthApi : public KVTest::FixedTimeApi
    {
    public:
        void EnterCriticalSection(LPCRITICAL_SECTION section) override
        {
            CKernelApi::EnterCriticalSection(section);
            ++depth;
            ++enters;
        }
        void LeaveCriticalSection(LPCRITICAL_SECTION section) override
        {
            --depth;
            CKernelApi::LeaveCriticalSection(section);
        }
        int depth = 0;
        int enters = 0;
    };
    DepthApi kernelApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> swap{KVWinApi::g_kernelApi, kernelApi};
    EXPECT_TRUE(m_tracker.TrackRequest(L"queued"));
    EXPECT_EQ(kernelApi.enters, 2); // the door of the lock, and the lock
    std::vector<int> depths;
    m_winApi.answer = [&](const std::wstring&) {
        depths.push_back(kernelApi.depth);
        return DWORD{200};
    };
    m_tracker.SetDispatchHeld(false);
    EXPECT_TRUE(m_tracker.TrackRequest(L"sent"));
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(depths, std::vector<int>({1, 1}));
    EXPECT_EQ(kernelApi.depth, 0);
}

TEST_F(SyncRequestTrackerTests, FaultInAListOfTheCaller_LeavesTheLockFree)
{
#if defined(_GLIBCXX_DEBUG)
    GTEST_SKIP() << "a checked list holds a lock of the standard library while it is written";
#endif
    const auto tracker = std::make_shared<GAClient::CSyncRequestTracker>(m_name, KVTest::kSampleVersion, false);
    EXPECT_TRUE(tracker->TrackRequest(L"a"));
    const KVTest::ForbiddenPage page;
    const KVUtils::CStructuredExceptionScope scope;
    auto& badList = *static_cast<Requests*>(page.GetAddress());
    EXPECT_THROW(scope.Run([&] { tracker->GetQueuedRequests(badList); }), KVUtils::CWin32Exception);
    EXPECT_TRUE(IsLockFree(tracker));
}

TEST_F(SyncRequestTrackerTests, FaultInATextOfTheCaller_LeavesTheLockFree)
{
    const auto tracker = std::make_shared<GAClient::CSyncRequestTracker>(m_name, KVTest::kSampleVersion, false);
    const KVTest::ForbiddenPage page;
    const KVUtils::CStructuredExceptionScope scope;
    const auto& badText = *static_cast<const std::wstring*>(page.GetAddress());
    EXPECT_THROW(scope.Run([&] { tracker->TrackRequest(badText); }), KVUtils::CWin32Exception);
    ASSERT_TRUE(IsLockFree(tracker));
    tracker->SetDispatchHeld(false);
    EXPECT_THROW(scope.Run([&] { tracker->TrackRequest(badText); }), KVUtils::CWin32Exception);
    ASSERT_TRUE(IsLockFree(tracker));
    EXPECT_TRUE(m_winApi.Paths().empty());
}

TEST_F(SyncRequestTrackerTests, RequestTimeout_ReachesQueuedHitsToo)
{
    EXPECT_TRUE(m_tracker.TrackRequest(L"a"));
    m_tracker.SetRequestTimeout(1500);
    m_tracker.SetDispatchHeld(false);
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_winApi.TakeCalls()[2], L"option session1 2 1500");
}

// Lack of memory.

TEST_F(SyncRequestTrackerTests, Stop_WithoutMemory_SavesAll)
{
    {
        GAClient::CSyncRequestTracker earlier(m_name, KVTest::kSampleVersion, false);
        EXPECT_TRUE(earlier.TrackRequest(L"loaded"));
        EXPECT_TRUE(earlier.Stop());
    }
    EXPECT_TRUE(m_tracker.Start());
    EXPECT_TRUE(m_tracker.TrackRequest(std::wstring(300000, L'y'))); // longer than what is written at a time
    std::string expected = "loaded\n" + std::string(300000, 'y') + "\n";
    for (int i = 0; i < 300; ++i)
    {
        EXPECT_TRUE(m_tracker.TrackRequest(std::wstring(static_cast<std::size_t>(i), L'x') + L"#1"));
        expected += std::string(static_cast<std::size_t>(i), 'x') + "#1\n";
    }
    bool saved = false;
    {
        const KVTest::FailingAllocations hook(0);
        saved = m_tracker.Stop();
    }
    EXPECT_TRUE(saved);
    EXPECT_FALSE(KVTest::FailingAllocations::HasFailed());
    EXPECT_TRUE(KVTest::ReadFileBytes(FilePath()) == expected); // no megabytes of text in a failure
}

TEST_F(SyncRequestTrackerTests, Stop_WithoutMemory_SavesMoreThanIsWrittenAtATime)
{
    std::string expected;
    for (const char letter : {'a', 'b', 'c', 'd', 'e'})
    {
        EXPECT_TRUE(m_tracker.TrackRequest(std::wstring(100000, static_cast<wchar_t>(letter))));
        expected += std::string(100000, letter) + "\n";
    }
    bool saved = false;
    EXPECT_TRUE(m_tracker.Start()); // finds the data folder
    {
        const KVTest::FailingAllocations hook(0);
        saved = m_tracker.Stop();
    }
    EXPECT_TRUE(saved);
    EXPECT_FALSE(KVTest::FailingAllocations::HasFailed());
    EXPECT_TRUE(KVTest::ReadFileBytes(FilePath()) == expected);
}

// Every allocation of a load fails once, with all that follow.
TEST_F(SyncRequestTrackerTests, Start_WithoutMemory_LeavesTheHitsInTheFileOrTakesThem)
{
    constexpr int kMoreThanALoadNeeds = 1000;
    {
        GAClient::CSyncRequestTracker earlier(m_name, KVTest::kSampleVersion, false);
        for (int i = 0; i < 19; ++i)
        {
            EXPECT_TRUE(earlier.TrackRequest(std::wstring(40, L'x')));
        }
        EXPECT_TRUE(earlier.TrackRequest(std::wstring(300000, L'y'))); // longer than what a save writes at a time
        EXPECT_TRUE(earlier.Stop());
    }
    const std::string bytes = KVTest::ReadFileBytes(FilePath());
    for (int failure = 0; failure < kMoreThanALoadNeeds; ++failure)
    {
        SCOPED_TRACE(failure);
        GAClient::CSyncRequestTracker tracker(m_name, KVTest::kSampleVersion, false);
        bool isLoaded = false;
        {
            const KVTest::FailingAllocations hook(failure);
            try
            {
                isLoaded = tracker.Start();
            }
            catch (const std::bad_alloc&)
            {
                isLoaded = false;
            }
        }
        Requests queue;
        tracker.GetQueuedRequests(queue);
        if (isLoaded && !KVTest::FailingAllocations::HasFailed())
        {
            EXPECT_EQ(queue.size(), 20U);
            return;
        }
        ASSERT_TRUE(queue.empty());
        ASSERT_TRUE(KVTest::ReadFileBytes(FilePath()) == bytes);
    }
    FAIL() << "no load succeeded";
}
