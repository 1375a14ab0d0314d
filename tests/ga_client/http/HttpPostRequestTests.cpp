#include "ga_client/http/HttpPostRequest.h"

#include <gtest/gtest.h>

#include <optional>

#include "ga_client/SystemProbes.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"

using Calls = std::vector<std::wstring>;

namespace
{
const std::wstring kHost = Http::kCollectionHost;
constexpr wchar_t kPath[] = L"/collect?v=1";

class HttpPostRequestTests : public testing::Test
{
protected:
    KVTest::FakeInternetApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
    Http::CHttpPostRequest m_transport;
};

class StatusTests : public HttpPostRequestTests, public testing::WithParamInterface<std::pair<DWORD, bool>>
{
};
} // namespace

TEST(HttpPostRequestInterfaceTests, Send_FollowsTheDestructor)
{
    EXPECT_EQ(KVTest::SlotOf(&Http::IHttpPostRequest::Send), KVTest::kDestructorSlots);
    EXPECT_EQ(KVTest::SlotCountOf<Http::IHttpPostRequest>(), KVTest::kDestructorSlots + 1);
}

TEST_F(HttpPostRequestTests, FirstSend_MakesTheseCallsInThisOrder)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls(),
              Calls({L"connected 0", L"open Statlet 0 0", L"connect session1 " + kHost + L" 80 3 0 0",
                     L"request connection2 POST 2147483648 0", L"send request3 0 0", L"query request3 536870931 4",
                     L"close request3"}));
}

TEST_F(HttpPostRequestTests, SecureSend_UsesPort443AndTheSecureFlags)
{
    EXPECT_TRUE(m_transport.Send(kPath, true));
    EXPECT_EQ(m_winApi.TakeCalls(),
              Calls({L"connected 0", L"open Statlet 0 0", L"connect session1 " + kHost + L" 443 3 0 0",
                     L"request connection2 POST " + std::to_wstring(0x00803000) + L" 0", L"send request3 0 0",
                     L"query request3 536870931 4", L"close request3"}));
}

TEST_F(HttpPostRequestTests, Request_IsPathHeaderAndNothingElse)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    ASSERT_EQ(m_winApi.posts.size(), 1U);
    EXPECT_EQ(m_winApi.posts[0].path, kPath);
    EXPECT_EQ(m_winApi.posts[0].header, L"User-Agent: " + GAClient::GetUserAgent());
}

TEST_F(HttpPostRequestTests, Header_IsRebuiltForEverySend)
{
    class Upgraded : public KVTest::FakeInternetApi
    {
    public:
        BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW, DWORD, DWORDLONG) override { return is63 ? TRUE : FALSE; }
        BOOL GetVersionExW(LPOSVERSIONINFOW version) override
        {
            version->dwMajorVersion = 6;
            version->dwMinorVersion = 0;
            return TRUE;
        }
        bool is63 = false;
    };
    Upgraded winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> swap{KVWinApi::g_winApi, winApi};
    Http::CHttpPostRequest transport;
    EXPECT_TRUE(transport.Send(kPath, false));
    winApi.is63 = true;
    EXPECT_TRUE(transport.Send(kPath, false));
    EXPECT_EQ(winApi.posts[0].header, L"User-Agent: Statlet/1.0 (Windows NT 6.0; x64)");
    EXPECT_EQ(winApi.posts[1].header, L"User-Agent: Statlet/1.0 (Windows NT 6.3; x64)");
}

TEST_F(HttpPostRequestTests, SecondSend_ReusesTheConnection)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    m_winApi.TakeCalls();
    EXPECT_TRUE(m_transport.Send(L"/collect?v=2", false));
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"connected 0", L"request connection2 POST 2147483648 0",
                                           L"send request4 0 0", L"query request4 536870931 4", L"close request4"}));
    EXPECT_EQ(m_winApi.Paths(), Calls({kPath, L"/collect?v=2"}));
}

TEST_F(HttpPostRequestTests, EmptyRequest_SendsThePreviousPathAgain)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    EXPECT_TRUE(m_transport.Send(L"", false));
    EXPECT_EQ(m_winApi.Paths(), Calls({kPath, kPath}));
}

TEST_F(HttpPostRequestTests, EmptyRequest_AtFirst_SendsTheEmptyPath)
{
    EXPECT_TRUE(m_transport.Send(L"", false));
    EXPECT_EQ(m_winApi.Paths(), Calls({L""}));
}

// Time-outs.

TEST_F(HttpPostRequestTests, Timeout_IsSetThreeTimesAtTheOpening)
{
    m_transport.SetTimeout(4321);
    EXPECT_TRUE(m_transport.Send(kPath, false)); // though the options are refused
    EXPECT_EQ(m_winApi.TakeCalls(),
              Calls({L"connected 0", L"open Statlet 0 0", L"option session1 2 4321", L"option session1 5 4321",
                     L"option session1 6 4321", L"connect session1 " + kHost + L" 80 3 0 0",
                     L"request connection2 POST 2147483648 0", L"send request3 0 0", L"query request3 536870931 4",
                     L"close request3"}));
}

TEST_F(HttpPostRequestTests, Timeout_ChangedLater_WaitsForTheNextOpening)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    m_transport.SetTimeout(10);
    m_winApi.TakeCalls();
    EXPECT_TRUE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls().size(), 5U);
    m_winApi.answer = [](const std::wstring&) { return DWORD{500}; };
    EXPECT_FALSE(m_transport.Send(kPath, false));
    m_winApi.TakeCalls();
    EXPECT_FALSE(m_transport.Send(kPath, false));
    const Calls calls = m_winApi.TakeCalls();
    ASSERT_GE(calls.size(), 5U);
    EXPECT_EQ(calls[2].substr(calls[2].find(L' ', 7)), L" 2 10");
}

// Status classes.

TEST_P(StatusTests, Status)
{
    m_winApi.answer = [](const std::wstring&) { return GetParam().first; };
    EXPECT_EQ(m_transport.Send(kPath, false), GetParam().second);
    const Calls calls = m_winApi.TakeCalls();
    if (GetParam().second)
    {
        EXPECT_EQ(calls.back(), L"close request3");
    }
    else
    {
        ASSERT_GE(calls.size(), 3U);
        EXPECT_EQ(Calls(calls.end() - 3, calls.end()),
                  Calls({L"close request3", L"close connection2", L"close session1"}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, StatusTests,
    testing::Values(std::pair(100, false), std::pair(199, false), std::pair(200, true), std::pair(201, true),
                    std::pair(202, true), std::pair(203, false), std::pair(204, false), std::pair(206, false),
                    std::pair(301, false), std::pair(302, false), std::pair(304, false), std::pair(400, false),
                    std::pair(404, false), std::pair(407, false), std::pair(500, false), std::pair(503, false)),
    [](const testing::TestParamInfo<std::pair<DWORD, bool>>& row) { return std::to_string(row.param.first); });

// Failures.

TEST_F(HttpPostRequestTests, FailedSend_CountsThoughAStatusOf200IsLeftBehind)
{
    m_winApi.answer = [](const std::wstring&) { return KVTest::FakeInternetApi::kNoAnswer; };
    EXPECT_FALSE(m_transport.Send(kPath, true));
}

TEST_F(HttpPostRequestTests, FailedQuery_IsAFailure)
{
    m_winApi.queryFails = true;
    EXPECT_FALSE(m_transport.Send(kPath, false));
}

TEST_F(HttpPostRequestTests, FailedSend_ClosesAllAndTheNextSendOpensAfresh)
{
    m_winApi.answer = [](const std::wstring&) { return KVTest::FakeInternetApi::kNoAnswer; };
    EXPECT_FALSE(m_transport.Send(kPath, false));
    Calls calls = m_winApi.TakeCalls();
    ASSERT_GE(calls.size(), 3U);
    EXPECT_EQ(Calls(calls.end() - 3, calls.end()), Calls({L"close request3", L"close connection2", L"close session1"}));
    m_winApi.answer = [](const std::wstring&) { return DWORD{200}; };
    EXPECT_TRUE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls(),
              Calls({L"connected 0", L"open Statlet 0 0", L"connect session4 " + kHost + L" 80 3 0 0",
                     L"request connection5 POST 2147483648 0", L"send request6 0 0", L"query request6 536870931 4",
                     L"close request6"}));
}

TEST_F(HttpPostRequestTests, FailedSession_EndsTheSend)
{
    m_winApi.openFails = true;
    EXPECT_FALSE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"connected 0", L"open Statlet 0 0"}));
}

TEST_F(HttpPostRequestTests, FailedConnection_ClosesTheSession)
{
    m_winApi.connectFails = true;
    EXPECT_FALSE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"connected 0", L"open Statlet 0 0",
                                           L"connect session1 " + kHost + L" 80 3 0 0", L"close session1"}));
}

TEST_F(HttpPostRequestTests, FailedRequest_ClosesConnectionAndSession)
{
    m_winApi.requestFails = true;
    EXPECT_FALSE(m_transport.Send(kPath, false));
    const Calls calls = m_winApi.TakeCalls();
    EXPECT_EQ(Calls(calls.end() - 2, calls.end()), Calls({L"close connection2", L"close session1"}));
}

TEST_F(HttpPostRequestTests, NoConnection_OpensNothing)
{
    m_winApi.isConnected = false;
    EXPECT_FALSE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"connected 0"}));
}

TEST_F(HttpPostRequestTests, NoConnection_ClosesWhatIsOpen)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    m_winApi.TakeCalls();
    m_winApi.isConnected = false;
    EXPECT_FALSE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"connected 0", L"close connection2", L"close session1"}));
    m_winApi.isConnected = true;
    EXPECT_TRUE(m_transport.Send(kPath, false));
    EXPECT_EQ(m_winApi.TakeCalls()[1], L"open Statlet 0 0");
}

// The SSL flag.

TEST_F(HttpPostRequestTests, SslFlag_ChangedWhileOpen_KeepsThePortUntilAFailure)
{
    EXPECT_TRUE(m_transport.Send(kPath, false));
    m_winApi.TakeCalls();
    EXPECT_TRUE(m_transport.Send(kPath, true));
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"connected 0", L"request connection2 POST 8400896 0", L"send request4 0 0",
                                           L"query request4 536870931 4", L"close request4"}));
    m_winApi.answer = [](const std::wstring&) { return DWORD{500}; };
    EXPECT_FALSE(m_transport.Send(kPath, true));
    m_winApi.TakeCalls();
    m_winApi.answer = [](const std::wstring&) { return DWORD{200}; };
    EXPECT_TRUE(m_transport.Send(kPath, true));
    EXPECT_EQ(m_winApi.TakeCalls()[2], L"connect session6 " + kHost + L" 443 3 0 0");
}

TEST_F(HttpPostRequestTests, Destruction_ClosesConnectionThenSession)
{
    {
        Http::CHttpPostRequest transport;
        EXPECT_TRUE(transport.Send(kPath, false));
        m_winApi.TakeCalls();
    }
    EXPECT_EQ(m_winApi.TakeCalls(), Calls({L"close connection2", L"close session1"}));
}
