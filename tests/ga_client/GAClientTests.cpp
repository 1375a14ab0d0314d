#include "ga_client/GAClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <stdexcept>

#include "ga_client/DataFolder.h"
#include "tests/ga_client/FailingAllocations.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/Faults.h"
#include "tests/support/Narrow.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"
#include "utils/base/AccessViolation.h"
#include "utils/base/StructuredExceptionScope.h"

using GAClient::CGAClient;
using GAClient::IGAClient;
using KVTest::kMark;
using KVTest::SamplePrefix;
using Requests = std::list<std::wstring>;

namespace
{
// Fails to make the event of an asynchronous tracker, in the way that the tracker takes for a failure.
class EventApi : public KVTest::FixedTimeApi
{
public:
    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) override
    {
        ++events;
        stopEvent =
            eventFails ? INVALID_HANDLE_VALUE : CKernelApi::CreateEventW(attributes, manualReset, initialState, name);
        return stopEvent;
    }
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) override
    {
        constexpr DWORD kShorterThanAnyJoin = 60000;
        constexpr DWORD kUntilStopMs = 600000;
        if (handle == stopEvent)
        {
            return CKernelApi::WaitForSingleObject(handle, restsUntilStop ? kUntilStopMs : 1);
        }
        if (milliseconds > kShorterThanAnyJoin)
        {
            joinBound = milliseconds;
        }
        return CKernelApi::WaitForSingleObject(handle, milliseconds);
    }

    bool eventFails = false;
    int events = 0;
    std::atomic<HANDLE> stopEvent = nullptr;
    std::atomic<bool> restsUntilStop = false; // the worker, from its next rest on
    DWORD joinBound = 0;
};

class UninitialisedGAClientTests : public testing::Test
{
protected:
    UninitialisedGAClientTests() { WriteIdentity(L"1.2.3"); }

    void WriteIdentity(const std::wstring& version)
    {
        const std::wstring file = GAClient::GetDataFolder(L"Lumo", version) + L"Lumo.ini";
        EXPECT_TRUE(::WritePrivateProfileStringW(L"Users", L"UUID", KVTest::kSampleClientId, file.c_str()));
    }
    bool Initialize(bool asynchronous = false)
    {
        return m_client->Initialize(L"XX-1", L"Lumo", L"1.2.3", false, asynchronous);
    }
    Requests Queue()
    {
        Requests queue = {L"replaced"};
        EXPECT_TRUE(m_client->GetQueuedRequests(queue));
        return queue;
    }
    std::wstring QueueFile() const { return m_winApi.DataFolder(L"Lumo", L"1.2.3") + L"Statlet_RequestQueue.txt"; }

    KVTest::SampleComputerApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swapWinApi{KVWinApi::g_winApi, m_winApi};
    EventApi m_kernelApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swapKernelApi{KVWinApi::g_kernelApi, m_kernelApi};
    std::unique_ptr<CGAClient> m_client = std::make_unique<CGAClient>();
};

class GAClientTests : public UninitialisedGAClientTests
{
protected:
    GAClientTests() { EXPECT_TRUE(Initialize()); }
};

std::wstring Hit(const std::wstring& rest, const std::wstring& cacheBuster = KVTest::kFirstCacheBuster)
{
    return L"/collect?" + SamplePrefix(cacheBuster) + rest;
}
} // namespace

TEST(GAClientInterfaceTests, Operations_StandInTheirOrderWithTheDestructorLast)
{
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::Initialize), 0U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::Uninitialize), 1U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::SetDispatchHeld), 2U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::SetMaxQueuedRequests), 3U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::Start), 4U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::Stop), 5U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::SetRequestTimeout), 6U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::SetCustomDimension), 7U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::SetCustomMetric), 8U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::TrackScreenView), 9U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::TrackEvent), 10U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::TrackEventOnScreen), 11U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::TrackException), 12U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::Dispatch), 13U);
    EXPECT_EQ(KVTest::SlotOf(&IGAClient::GetQueuedRequests), 14U);
    EXPECT_EQ(KVTest::SlotCountOf<IGAClient>(), 15U + KVTest::kDestructorSlots);
}

TEST(GAClientAccessorTests, Accessor_AlwaysGivesTheSameClient)
{
    EXPECT_EQ(&GAClient::GetGAClient(), &GAClient::GetGAClient());
    EXPECT_FALSE(GAClient::GetGAClient().Stop());
}

// Without tracker.

TEST_F(UninitialisedGAClientTests, EveryOperation_DoesNothing)
{
    Requests queue = {L"kept"};
    EXPECT_FALSE(m_client->Uninitialize(true, 1));
    m_client->SetDispatchHeld(false);
    m_client->SetMaxQueuedRequests(1);
    EXPECT_FALSE(m_client->Start(L"Home"));
    EXPECT_FALSE(m_client->Stop());
    EXPECT_FALSE(m_client->SetRequestTimeout(1000));
    EXPECT_FALSE(m_client->SetCustomDimension(1, L"x"));
    EXPECT_FALSE(m_client->SetCustomMetric(1, 1));
    EXPECT_FALSE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"L", 1, false), 0);
    EXPECT_EQ(m_client->TrackEventOnScreen(L"A", L"C", L"S", L"L"), 0);
    EXPECT_FALSE(m_client->TrackException(L"Boom", true));
    EXPECT_EQ(m_client->Dispatch(1), 0xFFFFFFFFU);
    EXPECT_FALSE(m_client->GetQueuedRequests(queue));
    EXPECT_EQ(queue, Requests({L"kept"}));
    EXPECT_TRUE(m_winApi.TakeCalls().empty());

    // None of it counts later, and no cache buster was drawn.
    EXPECT_TRUE(Initialize());
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=Home") + kMark}));
}

// Initialisation.

TEST_F(UninitialisedGAClientTests, Initialize_RefusesEmptyTexts)
{
    EXPECT_FALSE(m_client->Initialize(L"", L"Lumo", L"1.2.3", false, false));
    EXPECT_FALSE(m_client->Initialize(L"XX-1", L"", L"1.2.3", false, false));
    EXPECT_FALSE(m_client->Initialize(L"XX-1", L"Lumo", L"", false, false));
    EXPECT_FALSE(m_client->Stop());
}

TEST_F(UninitialisedGAClientTests, Initialize_WithoutClientId_Fails)
{
    m_winApi.shellAnswers = false;
    EXPECT_FALSE(Initialize());
    EXPECT_FALSE(m_client->Stop());
    m_winApi.shellAnswers = true;
    EXPECT_TRUE(Initialize());
}

TEST_F(GAClientTests, Initialize_Twice_ChangesNothing)
{
    WriteIdentity(L"2");
    EXPECT_FALSE(m_client->Initialize(L"YY-2", L"Lumo", L"2", true, true));
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=Home") + kMark}));
}

TEST_F(UninitialisedGAClientTests, Initialize_WhenTheTrackerCannotStart_IsTrueAndTheClientIgnoresAll)
{
    m_kernelApi.eventFails = true;
    EXPECT_TRUE(Initialize(true));
    EXPECT_EQ(m_kernelApi.events, 1);
    Requests queue;
    EXPECT_FALSE(m_client->Start(L"Home"));
    EXPECT_EQ(m_client->Dispatch(1), 0xFFFFFFFFU);
    EXPECT_FALSE(m_client->GetQueuedRequests(queue));
    EXPECT_FALSE(m_client->Uninitialize(false, 0));
    m_kernelApi.eventFails = false;
    EXPECT_TRUE(Initialize(true)); // without tracker it is not initialised
}

// Every allocation fails once, with all that follow.
TEST_F(UninitialisedGAClientTests, Initialize_WithoutMemory_LeavesTheClientUninitialised)
{
    constexpr int kMoreThanItNeeds = 1000;
    for (int failure = 0; failure < kMoreThanItNeeds; ++failure)
    {
        SCOPED_TRACE(failure);
        bool isInitialised = false;
        {
            const KVTest::FailingAllocations hook(failure);
            try
            {
                isInitialised = Initialize();
            }
            catch (const std::bad_alloc&)
            {
                isInitialised = false;
            }
        }
        if (isInitialised && !KVTest::FailingAllocations::HasFailed())
        {
            EXPECT_TRUE(m_client->TrackScreenView(L"A"));
            return;
        }
        ASSERT_FALSE(isInitialised);
        ASSERT_FALSE(m_client->Stop());
    }
    FAIL() << "no attempt succeeded";
}

TEST_F(UninitialisedGAClientTests, Initialize_Asynchronous_SendsOnAThreadOfItsOwn)
{
    EXPECT_TRUE(Initialize(true));
    EXPECT_EQ(m_kernelApi.events, 1);
    m_client->SetDispatchHeld(false);
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_TRUE(m_client->Uninitialize(true, 20000));
    EXPECT_EQ(m_winApi.Paths(), std::vector<std::wstring>({Hit(L"t=appview&cd=Home&qt=0")}));
}

TEST_F(UninitialisedGAClientTests, Initialize_Synchronous_SendsOnTheCallersThread)
{
    EXPECT_TRUE(Initialize(false));
    EXPECT_EQ(m_kernelApi.events, 0);
    m_client->SetDispatchHeld(false);
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(m_winApi.Paths(), std::vector<std::wstring>({Hit(L"t=appview&cd=Home&qt=0")}));
    EXPECT_EQ(m_winApi.posts[0].flags, 0x80000000U);
}

TEST_F(UninitialisedGAClientTests, Initialize_WithSsl_SendsSecurely)
{
    EXPECT_TRUE(m_client->Initialize(L"XX-1", L"Lumo", L"1.2.3", true, false));
    m_client->SetDispatchHeld(false);
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(m_winApi.posts[0].flags, 0x00803000U);
}

TEST_F(UninitialisedGAClientTests, Initialize_WithoutScreenFacts_LeavesThemOut)
{
    class BlindApi : public KVTest::SampleComputerApi
    {
    public:
        HDC GetWindowDC(HWND) override { return nullptr; }
        HDC GetDC(HWND) override { return nullptr; }
        int GetLocaleInfoW(LCID, LCTYPE, LPWSTR, int) override { return 0; }
        BOOL SHGetSpecialFolderPathW(HWND, LPWSTR path, int, BOOL) override
        {
            folder.copy(path, MAX_PATH - 1);
            path[folder.size()] = L'\0';
            return TRUE;
        }
        std::wstring folder;
    };
    BlindApi winApi;
    winApi.folder = m_winApi.localFolder.GetPath();
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> swap{KVWinApi::g_winApi, winApi};
    EXPECT_TRUE(Initialize());
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(), Requests({L"/collect?v=1&z=6093677622&de=UTF-8&je=0&tid=XX-1&an=Lumo&av=1.2.3&aip=1&"
                                 L"cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=Home#1416096000"}));
    m_client.reset();
}

// Hits.

TEST_F(GAClientTests, ScreenView_IsQueuedWhole)
{
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(),
              Requests({L"/collect?v=1&z=6093677622&ul=en-US&de=UTF-8&je=0&sd=32-bit&sr=1920x1080&vp=1920x1080&"
                        L"tid=XX-1&an=Lumo&av=1.2.3&aip=1&cid=3f2504e0-4f89-11d3-9a0c-0305e82c3301&t=appview&cd=Home#"
                        L"1416096000"}));
}

TEST_F(GAClientTests, Event_IsAttributedToTheLastScreen)
{
    EXPECT_EQ(m_client->TrackEvent(L"Click", L"Link", L"Help", 3, true), 1);
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(m_client->TrackEvent(L"Click", L"Link", L"", -1, false), 1);
    EXPECT_EQ(Queue(), Requests({Hit(L"t=event&ec=Link&ea=Click&el=Help&ev=3&ni=1&") + kMark,
                                 Hit(L"t=appview&cd=Home", KVTest::kSecondCacheBuster) + kMark,
                                 Hit(L"t=event&ec=Link&ea=Click&cd=Home", KVTest::kThirdCacheBuster) + kMark}));
}

TEST_F(GAClientTests, EventOnScreen_LeavesTheLastScreen)
{
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(m_client->TrackEventOnScreen(L"Click", L"Link", L"Other", L""), 1);
    EXPECT_EQ(m_client->TrackEvent(L"Click", L"Link", L"", 0, false), 1);
    Requests queue = Queue();
    queue.pop_front();
    EXPECT_EQ(queue, Requests({Hit(L"t=event&ec=Link&ea=Click&cd=Other", KVTest::kSecondCacheBuster) + kMark,
                               Hit(L"t=event&ec=Link&ea=Click&ev=0&cd=Home", KVTest::kThirdCacheBuster) + kMark}));
}

TEST_F(GAClientTests, EventOnScreen_WithLabel)
{
    EXPECT_EQ(m_client->TrackEventOnScreen(L"Click", L"Link", L"Other", L"Help"), 1);
    EXPECT_EQ(Queue(), Requests({Hit(L"t=event&ec=Link&ea=Click&el=Help&cd=Other") + kMark}));
}

TEST_F(GAClientTests, Exception_FatalAndNot)
{
    EXPECT_TRUE(m_client->TrackException(L"Boom", true));
    EXPECT_TRUE(m_client->TrackException(L"Hm", false));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=exception&exd=Boom") + kMark,
                                 Hit(L"t=exception&exd=Hm&exf=0", KVTest::kSecondCacheBuster) + kMark}));
}

TEST_F(GAClientTests, RefusedArguments_BuildNoHitDrawNothingAndKeepTheFacts)
{
    EXPECT_TRUE(m_client->SetCustomDimension(1, L"Online"));
    EXPECT_FALSE(m_client->TrackScreenView(L""));
    EXPECT_FALSE(m_client->Start(L""));
    EXPECT_EQ(m_client->TrackEvent(L"", L"C", L"L", -1, false), 0);
    EXPECT_EQ(m_client->TrackEvent(L"A", L"", L"L", -1, false), 0);
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"L", -2, false), 0);
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"L", INT32_MIN, false), 0);
    EXPECT_EQ(m_client->TrackEventOnScreen(L"", L"C", L"S", L"L"), 0);
    EXPECT_EQ(m_client->TrackEventOnScreen(L"A", L"", L"S", L"L"), 0);
    EXPECT_EQ(m_client->TrackEventOnScreen(L"A", L"C", L"", L"L"), 0);
    EXPECT_FALSE(m_client->TrackException(L"", true));
    EXPECT_EQ(Queue(), Requests());
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"", 2147483647, false), 1);
    EXPECT_EQ(Queue(), Requests({Hit(L"t=event&ec=C&ea=A&ev=2147483647&&cd1=Online") + kMark}));
}

// Session.

TEST_F(GAClientTests, Start_SendsTheSessionScreenViewAndTheLaunch)
{
    EXPECT_TRUE(m_client->Start(L"Begin"));
    EXPECT_EQ(Queue(), Requests({Hit(L"sc=start&t=appview&cd=Begin"),
                                 Hit(L"t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Begin",
                                     KVTest::kSecondCacheBuster)}));
}

TEST_F(GAClientTests, Start_IsNoScreenView)
{
    EXPECT_TRUE(m_client->Start(L"Begin"));
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"", -1, false), 1);
    EXPECT_EQ(Queue().back(), Hit(L"t=event&ec=C&ea=A&", KVTest::kThirdCacheBuster) + kMark);
}

TEST_F(GAClientTests, Stop_EndsTheSessionOnItsScreen)
{
    EXPECT_TRUE(m_client->Start(L"Begin"));
    EXPECT_TRUE(m_client->Stop());
    EXPECT_EQ(Queue().back(),
              Hit(L"sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Begin", KVTest::kThirdCacheBuster));
}

TEST_F(GAClientTests, Stop_WithoutStart_HasNoScreen)
{
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_TRUE(m_client->Stop());
    EXPECT_EQ(Queue().back(),
              Hit(L"sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&", KVTest::kSecondCacheBuster));
}

TEST_F(GAClientTests, LifecycleEvents_CarryTheFactsAndLeaveThemPending)
{
    EXPECT_TRUE(m_client->SetCustomDimension(1, L"Online"));
    EXPECT_TRUE(m_client->SetCustomMetric(2, 5));
    EXPECT_TRUE(m_client->Start(L"Begin"));
    EXPECT_TRUE(m_client->Stop());
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"", -1, false), 1);
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"", -1, false), 1);
    Requests queue = Queue();
    std::vector<std::wstring> ends;
    for (const std::wstring& request : queue)
    {
        ends.push_back(request.substr(request.find(L"3301&") + 5));
    }
    EXPECT_EQ(ends, std::vector<std::wstring>(
                        {L"sc=start&t=appview&cd=Begin",
                         L"t=event&ec=ApplicationLifeCycle&ea=Start&el=Launch&cd=Begin&cd1=Online&cm2=5",
                         L"sc=end&t=event&ec=ApplicationLifeCycle&ea=Stop&el=Launch&cd=Begin&cd1=Online&cm2=5",
                         std::wstring(L"t=event&ec=C&ea=A&&cd1=Online&cm2=5") + kMark,
                         std::wstring(L"t=event&ec=C&ea=A&") + kMark}));
}

// Custom facts.

TEST_F(GAClientTests, CustomFacts_AreReplacedByIndexAndGoOutOnce)
{
    EXPECT_TRUE(m_client->SetCustomDimension(10, L"ten"));
    EXPECT_TRUE(m_client->SetCustomDimension(2, L"old"));
    EXPECT_TRUE(m_client->SetCustomDimension(2, L"two"));
    EXPECT_TRUE(m_client->SetCustomMetric(-1, 1));
    EXPECT_TRUE(m_client->SetCustomMetric(-1, 4294967295U));
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=Home&cd2=two&cd10=ten&cm-1=4294967295") + kMark,
                                 Hit(L"t=appview&cd=Home", KVTest::kSecondCacheBuster) + kMark}));
}

TEST_F(GAClientTests, CustomFacts_AreClearedByEachHitOperation)
{
    const auto set = [this] { return m_client->SetCustomDimension(1, L"x") && m_client->SetCustomMetric(1, 1); };
    const auto lastHasFacts = [this] { return Queue().back().find(L"cd1=x&cm1=1") != std::wstring::npos; };
    EXPECT_TRUE(set());
    EXPECT_EQ(m_client->TrackEventOnScreen(L"A", L"C", L"S", L""), 1);
    EXPECT_TRUE(lastHasFacts());
    EXPECT_TRUE(m_client->TrackException(L"Boom", true));
    EXPECT_FALSE(lastHasFacts());
    EXPECT_TRUE(set());
    EXPECT_TRUE(m_client->TrackException(L"Boom", true));
    EXPECT_TRUE(lastHasFacts());
    EXPECT_EQ(m_client->TrackEventOnScreen(L"A", L"C", L"S", L""), 1);
    EXPECT_FALSE(lastHasFacts());
}

// Settings.

TEST_F(GAClientTests, RequestTimeout_HasItsRange)
{
    for (const std::int32_t refused : {0, -1, 120001, INT32_MIN, INT32_MAX})
    {
        EXPECT_FALSE(m_client->SetRequestTimeout(refused)) << refused;
    }
    EXPECT_TRUE(m_client->SetRequestTimeout(1));
    EXPECT_TRUE(m_client->SetRequestTimeout(120000));
    EXPECT_FALSE(m_client->SetRequestTimeout(120001));
    m_client->SetDispatchHeld(false);
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(m_winApi.TakeCalls()[2], L"option session1 2 120000");
}

// Texts that cannot be read.

// Calls body, which faults.
template <typename Body> void ExpectFault(const Body& body)
{
    EXPECT_THROW(KVUtils::CStructuredExceptionScope().Run(body), KVUtils::CAccessViolation);
}

TEST_F(GAClientTests, SetCustomDimension_TextThatCannotBeRead_ChangesNothing)
{
    const KVTest::UnreadableText text;
    EXPECT_TRUE(m_client->SetCustomDimension(1, L"old"));
    ExpectFault([&] { m_client->SetCustomDimension(1, text.Get()); });
    ExpectFault([&] { m_client->SetCustomDimension(2, text.Get()); });
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=Home&cd1=old") + kMark}));
}

TEST_F(GAClientTests, ScreenName_ThatCannotBeRead_LeavesTheLastOne)
{
    const KVTest::UnreadableText text;
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    ExpectFault([&] { m_client->TrackScreenView(text.Get()); });
    EXPECT_EQ(m_client->TrackEvent(L"A", L"C", L"", -1, false), 1);
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=Home") + kMark,
                                 Hit(L"t=event&ec=C&ea=A&cd=Home", KVTest::kSecondCacheBuster) + kMark}));
}

TEST_F(GAClientTests, SessionScreenName_ThatCannotBeRead_LeavesTheLastOne)
{
    const KVTest::UnreadableText text;
    EXPECT_TRUE(m_client->Start(L"Home"));
    ExpectFault([&] { m_client->Start(text.Get()); });
    EXPECT_TRUE(m_client->Stop());
    EXPECT_EQ(Queue().size(), 3u);
    EXPECT_NE(Queue().back().find(L"&cd=Home"), std::wstring::npos);
}

TEST_F(GAClientTests, TextOfAHit_ThatCannotBeRead_CostsThatHitOnly)
{
    const KVTest::UnreadableText text;
    ExpectFault([&] { m_client->TrackEventOnScreen(L"A", L"C", text.Get(), L"L"); });
    ExpectFault([&] { m_client->TrackEventOnScreen(L"A", L"C", L"S", text.Get()); });
    ExpectFault([&] { m_client->TrackException(text.Get(), true); });
    EXPECT_TRUE(m_client->TrackScreenView(L"Home"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=Home") + kMark}));
}

TEST_F(GAClientTests, MaxQueuedRequests_BelowOne_IsIgnored)
{
    m_client->SetMaxQueuedRequests(0);
    m_client->SetMaxQueuedRequests(-5);
    for (int i = 0; i < 501; ++i)
    {
        EXPECT_TRUE(m_client->TrackScreenView(L"Home")); // even of a dropped hit
    }
    EXPECT_EQ(Queue().size(), 500U);
}

TEST_F(GAClientTests, MaxQueuedRequests_FromOneOn_IsTheLimit)
{
    m_client->SetMaxQueuedRequests(1);
    EXPECT_TRUE(m_client->TrackScreenView(L"A"));
    EXPECT_TRUE(m_client->TrackScreenView(L"B"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=A") + kMark}));
}

TEST_F(GAClientTests, Dispatch_ForwardsItsResults)
{
    EXPECT_TRUE(m_client->TrackScreenView(L"A"));
    EXPECT_TRUE(m_client->TrackScreenView(L"B"));
    EXPECT_EQ(m_client->Dispatch(1), 0U); // held
    m_client->SetDispatchHeld(false);
    EXPECT_EQ(m_client->Dispatch(0), 2U);
    EXPECT_EQ(m_client->Dispatch(1), 1U);
    m_winApi.answer = [](const std::wstring&) { return DWORD{500}; };
    EXPECT_EQ(m_client->Dispatch(1), 0xFFFFFFFFU);
    m_winApi.answer = [](const std::wstring&) { return DWORD{200}; };
    EXPECT_EQ(m_client->Dispatch(2), 0U);
    EXPECT_EQ(Queue(), Requests());
}

TEST_F(GAClientTests, HitThatCannotBeSent_CountsAsTracked)
{
    m_client->SetDispatchHeld(false);
    m_winApi.answer = [](const std::wstring&) { return DWORD{500}; };
    EXPECT_TRUE(m_client->TrackScreenView(L"A"));
    EXPECT_EQ(Queue(), Requests({Hit(L"t=appview&cd=A") + kMark}));
}

// The end.

TEST_F(GAClientTests, Uninitialize_SavesTheQueueAndAllowsAnotherStart)
{
    EXPECT_TRUE(m_client->TrackScreenView(L"A"));
    EXPECT_TRUE(m_client->Uninitialize(false, 0));
    EXPECT_FALSE(m_client->Uninitialize(false, 0));
    const std::wstring hit = Hit(L"t=appview&cd=A") + kMark;
    EXPECT_EQ(KVTest::ReadFileBytes(QueueFile()), KVTest::Narrow(hit) + "\n");
    EXPECT_TRUE(Initialize());
    EXPECT_EQ(Queue(), Requests({hit}));
    EXPECT_EQ(KVTest::ReadFileBytes(QueueFile()), "");
}

TEST_F(GAClientTests, Uninitialize_TellsThatTheSaveFailed)
{
    ASSERT_TRUE(::CreateDirectoryW(QueueFile().c_str(), nullptr));
    EXPECT_FALSE(m_client->Uninitialize(false, 0));
    EXPECT_FALSE(m_client->Stop()); // the tracker is destroyed nevertheless
}

namespace
{
// A client whose only hit could not be sent, and whose worker rests until it is stopped. The server accepts from then
// on: a flush would send the hit.
class RestingClientTests : public UninitialisedGAClientTests
{
protected:
    RestingClientTests()
    {
        m_winApi.answer = [this](const std::wstring&) {
            const bool isFirst = m_attempts++ == 0;
            m_kernelApi.restsUntilStop = true;
            return isFirst ? DWORD{500} : DWORD{200};
        };
        EXPECT_TRUE(Initialize(true));
        m_client->SetDispatchHeld(false);
        EXPECT_TRUE(m_client->TrackScreenView(L"A"));
        constexpr int kMostPolls = 20000;
        for (int poll = 0; poll < kMostPolls && m_attempts == 0; ++poll)
        {
            ::Sleep(1);
        }
        EXPECT_EQ(m_attempts, 1);
    }
    std::string QueuedLine() const
    {
        const std::wstring hit = Hit(L"t=appview&cd=A") + kMark;
        return KVTest::Narrow(hit) + "\n";
    }

    std::atomic<int> m_attempts = 0;
};
} // namespace

TEST_F(RestingClientTests, Uninitialize_HandsOnTheFlushAndItsTime)
{
    EXPECT_TRUE(m_client->Uninitialize(true, 200000));
    EXPECT_EQ(m_attempts, 2);
    EXPECT_EQ(m_kernelApi.joinBound, 270000U);
    EXPECT_EQ(KVTest::ReadFileBytes(QueueFile()), "");
}

TEST_F(RestingClientTests, Uninitialize_WithoutFlush_OnlySaves)
{
    EXPECT_TRUE(m_client->Uninitialize(false, 20000));
    EXPECT_EQ(m_attempts, 1);
    EXPECT_EQ(m_kernelApi.joinBound, 90000U);
    EXPECT_EQ(KVTest::ReadFileBytes(QueueFile()), QueuedLine());
}

TEST_F(RestingClientTests, Destruction_SavesTheQueueWithoutFlush)
{
    m_client.reset();
    EXPECT_EQ(m_attempts, 1);
    EXPECT_EQ(m_kernelApi.joinBound, 70000U);
    EXPECT_EQ(KVTest::ReadFileBytes(QueueFile()), QueuedLine());
}

TEST_F(UninitialisedGAClientTests, Destruction_OfAClientThatCannotSave_EndsQuietly)
{
    class ThrowingApi : public KVTest::FixedTimeApi
    {
    public:
        HANDLE CreateFileW(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE) override
        {
            ++openings;
            throw std::runtime_error("some failure");
        }
        int openings = 0;
    };
    EXPECT_TRUE(Initialize());
    EXPECT_TRUE(m_client->TrackScreenView(L"A"));
    ThrowingApi kernelApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> swap{KVWinApi::g_kernelApi, kernelApi};
    EXPECT_NO_THROW(m_client.reset());
    EXPECT_EQ(kernelApi.openings, 1);
}
