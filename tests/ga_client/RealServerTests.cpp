#include "tests/ga_client/LoopbackServer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>

#include "ga_client/AsyncRequestTracker.h"
#include "ga_client/SyncRequestTracker.h"
#include "tests/ga_client/RedirectedInternet.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"

using KVTest::LoopbackServer;
using Requests = std::list<std::wstring>;
using Targets = std::vector<std::string>;
using Answer = LoopbackServer::Answer;
using Request = LoopbackServer::Request;

namespace
{
constexpr DWORD kLongMs = 20000; // that no test reaches

// The worker retries after milliseconds rather than a second.
class ImpatientApi : public KVTest::FixedTimeApi
{
public:
    HANDLE CreateEventW(LPSECURITY_ATTRIBUTES attributes, BOOL manualReset, BOOL initialState, LPCWSTR name) override
    {
        m_stopEvent = CKernelApi::CreateEventW(attributes, manualReset, initialState, name);
        return m_stopEvent;
    }
    DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) override
    {
        constexpr DWORD kRetryMs = 5;
        return CKernelApi::WaitForSingleObject(handle, handle == m_stopEvent ? (std::min)(milliseconds, kRetryMs)
                                                                             : milliseconds);
    }

private:
    std::atomic<HANDLE> m_stopEvent = nullptr;
};

class RealServerTests : public testing::Test
{
protected:
    ~RealServerTests() override
    {
        if (m_worker != nullptr)
        {
            m_worker->Stop();
        }
    }
    // The tracker that sends on this thread, with one hit that waits.
    void TrackOne(const std::wstring& request = L"/collect?v=1")
    {
        EXPECT_TRUE(m_tracker.TrackRequest(request));
        m_tracker.SetDispatchHeld(false);
    }
    Requests Queue()
    {
        Requests queue;
        m_tracker.GetQueuedRequests(queue);
        return queue;
    }
    // The hits /collect?n=0 and so on are tracked by a tracker with a worker; true when it has sent them.
    bool SendByWorker(int count)
    {
        m_worker = std::make_shared<GAClient::CAsyncRequestTracker>(m_name, KVTest::kSampleVersion, false);
        m_worker->SetDispatchHeld(false);
        EXPECT_TRUE(m_worker->Start());
        for (int i = 0; i < count; ++i)
        {
            m_expected.push_back("/collect?n=" + std::to_string(i));
            EXPECT_TRUE(m_worker->TrackRequest(std::wstring(m_expected.back().begin(), m_expected.back().end())));
        }
        for (DWORD waited = 0; waited < kLongMs; waited += 5)
        {
            Requests queue;
            m_worker->GetQueuedRequests(queue);
            if (queue.empty())
            {
                return true;
            }
            ::Sleep(5);
        }
        return false;
    }

    std::atomic<int> m_count = 0;
    std::function<Answer(const Request&)> m_answer = [](const Request&) { return LoopbackServer::Status(200); };
    LoopbackServer m_server{[this](const Request& request) { return m_answer(request); }};
    KVTest::RedirectedInternet<KVTest::LocalFolderApi> m_winApi{m_server.GetPort()};
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swapWinApi{KVWinApi::g_winApi, m_winApi};
    ImpatientApi m_kernelApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swapKernelApi{KVWinApi::g_kernelApi, m_kernelApi};
    std::wstring m_name = KVTest::UniqueApplicationName();
    GAClient::CSyncRequestTracker m_tracker{m_name, KVTest::kSampleVersion, false};
    std::shared_ptr<GAClient::CAsyncRequestTracker> m_worker;
    Targets m_expected;
};

class RealServerStatusTests : public RealServerTests, public testing::WithParamInterface<std::pair<int, bool>>
{
};
} // namespace

TEST_F(RealServerTests, Hit_ArrivesAsAPostWithoutContent)
{
    TrackOne(L"/collect?v=1&z=6093677622&t=appview&cd=Home#1416095995");
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    const std::vector<Request> requests = m_server.Requests();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].method, "POST");
    EXPECT_EQ(requests[0].target, "/collect?v=1&z=6093677622&t=appview&cd=Home&qt=5000");
    EXPECT_NE(requests[0].head.find("Content-Length: 0\r\n"), std::string::npos);
    EXPECT_NE(requests[0].head.find("User-Agent: Statlet"), std::string::npos);
}

TEST_P(RealServerStatusTests, Status)
{
    const auto [status, isAccepted] = GetParam();
    m_answer = [this, first = status](const Request&) { return LoopbackServer::Status(m_count++ == 0 ? first : 200); };
    TrackOne();
    EXPECT_EQ(m_tracker.Dispatch(1), isAccepted ? 0 : -1);
    EXPECT_EQ(Queue().size(), isAccepted ? 0U : 1U);
    EXPECT_EQ(m_tracker.Dispatch(1), 0); // on a new connection after a failure
    EXPECT_EQ(m_server.Accepted(), Targets({"/collect?v=1"}));
    EXPECT_EQ(m_server.Arrived().size(), isAccepted ? 1U : 2U);
}

INSTANTIATE_TEST_SUITE_P(Table, RealServerStatusTests,
                         testing::Values(std::pair(200, true), std::pair(201, true), std::pair(202, true),
                                         std::pair(204, false), std::pair(205, false), std::pair(301, false),
                                         std::pair(304, false), std::pair(400, false), std::pair(404, false),
                                         std::pair(410, false), std::pair(500, false), std::pair(503, false)),
                         [](const testing::TestParamInfo<std::pair<int, bool>>& row) {
                             return std::to_string(row.param.first);
                         });

TEST_F(RealServerTests, NobodyListens_KeepsTheHit)
{
    m_server.Stop();
    TrackOne();
    EXPECT_EQ(m_tracker.Dispatch(1), -1);
    EXPECT_EQ(Queue(), Requests({L"/collect?v=1"}));
}

TEST_F(RealServerTests, SlowServer_IsWaitedFor)
{
    m_answer = [](const Request&) {
        Answer answer = LoopbackServer::Status(200);
        answer.delayMs = 400;
        return answer;
    };
    TrackOne();
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_server.Arrived(), Targets({"/collect?v=1"}));
}

TEST_F(RealServerTests, ServerThatClosesBeforeItsAnswer_GetsTheHitAgain)
{
    m_answer = [this](const Request&) { return m_count++ == 0 ? Answer{"", true} : LoopbackServer::Status(200); };
    TrackOne();
    int attempts = 1;
    while (m_tracker.Dispatch(1) != 0 && attempts < 5)
    {
        ++attempts;
    }
    EXPECT_EQ(attempts, 2);
    EXPECT_EQ(m_server.Accepted(), Targets({"/collect?v=1"}));
}

TEST_F(RealServerTests, ServerThatClosesInTheHead_GetsTheHitAgain)
{
    m_answer = [this](const Request&) {
        return m_count++ == 0 ? Answer{"HTTP/1.1 50", true} : LoopbackServer::Status(200);
    };
    TrackOne();
    EXPECT_EQ(m_tracker.Dispatch(1), -1);
    EXPECT_EQ(Queue().size(), 1U);
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_server.Accepted(), Targets({"/collect?v=1"}));
}

TEST_F(RealServerTests, ServerThatClosesInTheContent_HasAccepted)
{
    m_answer = [](const Request&) { return Answer{"HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf", true}; };
    TrackOne();
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_server.Arrived(), Targets({"/collect?v=1"}));
}

TEST_F(RealServerTests, Content_OfAnAnswer_IsNotTakenForTheNextAnswer)
{
    m_answer = [](const Request&) {
        return Answer{"HTTP/1.1 200 OK\r\nContent-Length: 26\r\n\r\nHTTP/1.1 500 Not this one\r\n"};
    };
    EXPECT_TRUE(m_tracker.TrackRequest(L"/collect?n=1"));
    EXPECT_TRUE(m_tracker.TrackRequest(L"/collect?n=2"));
    TrackOne();
    EXPECT_EQ(m_tracker.Dispatch(4), 0);
    EXPECT_EQ(m_server.Arrived(), Targets({"/collect?n=1", "/collect?n=2", "/collect?v=1"}));
}

// Whether such an answer counts is the system's choice: some take it for one of the protocol's first version.
TEST_F(RealServerTests, Garbage_EndsTheExchangeAndNothingElse)
{
    m_answer = [](const Request&) { return Answer{"\x01\x02 garbage\r\n\r\n\xFF\xFE", true}; };
    TrackOne();
    const std::int32_t result = m_tracker.Dispatch(1);
    EXPECT_EQ(m_server.Arrived(), Targets({"/collect?v=1"}));
    EXPECT_EQ(Queue().size(), result == 0 ? 0U : 1U);
    m_answer = [](const Request&) { return LoopbackServer::Status(200); };
    EXPECT_EQ(m_tracker.Dispatch(1), 0);
    EXPECT_EQ(m_server.Arrived().size(), result == 0 ? 1U : 2U);
}

// What a damaged queue file can hand to the transport. Whether such a hit arrives, and how, is the system's choice.
TEST_F(RealServerTests, OddRequests_AreSentOrKeptAndHoldUpNobodyForEver)
{
    const std::wstring odd[] = {
        std::wstring(1048576, L'x'),
        L"/collect?" + std::wstring(1048576, L'y'),
        std::wstring(L"/collect?a\0b", 12),
        L"\uFF80\uFFFF\uFFE9",
        L"http://other.example/collect?v=1",
        L"//other.example/collect?v=1",
        L"/collect?v=1 HTTP/1.1\r\nX-Field: 1",
        L"\t\x01\x7F",
        L"#",
        L"##1#",
    };
    for (const std::wstring& request : odd)
    {
        GAClient::CSyncRequestTracker tracker(m_name, KVTest::kSampleVersion, false);
        tracker.SetDispatchHeld(false);
        const bool isSent = tracker.TrackRequest(request);
        Requests queue;
        tracker.GetQueuedRequests(queue);
        EXPECT_EQ(queue, isSent ? Requests() : Requests({request}));
    }
    for (const Request& request : m_server.Requests())
    {
        EXPECT_EQ(request.method, "POST");
        EXPECT_NE(request.head.find("Content-Length: 0\r\n"), std::string::npos);
    }
}

TEST_F(RealServerTests, Worker_SendsAllHitsOnceAndInOrder)
{
    EXPECT_TRUE(SendByWorker(100));
    EXPECT_EQ(m_server.Arrived(), m_expected);
}

TEST_F(RealServerTests, Worker_WithAServerThatRefusesNowAndThen_SendsAllOnceAndInOrder)
{
    m_answer = [this](const Request&) { return LoopbackServer::Status(m_count++ % 3 == 0 ? 503 : 200); };
    EXPECT_TRUE(SendByWorker(60));
    EXPECT_EQ(m_server.Accepted(), m_expected);
}

TEST_F(RealServerTests, Worker_WithAServerThatClosesEachConnection_SendsAllOnceAndInOrder)
{
    m_answer = [](const Request&) {
        return Answer{"HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 0\r\n\r\n", true};
    };
    EXPECT_TRUE(SendByWorker(40));
    EXPECT_EQ(m_server.Arrived(), m_expected);
}

TEST_F(RealServerTests, ServerThatRestartsInTheMiddle_GetsAllHitsOnceAndInOrder)
{
    std::thread restarts([this] {
        for (int i = 0; i < 3; ++i)
        {
            ::Sleep(60);
            m_server.Stop();
            ::Sleep(30);
            m_server.Restart();
        }
    });
    m_answer = [](const Request&) {
        ::Sleep(2);
        return LoopbackServer::Status(200);
    };
    EXPECT_TRUE(SendByWorker(150));
    restarts.join();
    EXPECT_EQ(m_server.Accepted(), m_expected);
}
