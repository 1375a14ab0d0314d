#include "doctor/findings/ReachFindings.h"

#include <windows.h>

#include <wininet.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "doctor/report/NetworkErrors.h"
#include "ga_client/http/CollectionHost.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"

namespace
{
using KVAnalyticsDoctor::GetMeaningOfReach;
using KVAnalyticsDoctor::ReachFindings;
using KVAnalyticsDoctor::TryToReach;

class ReachFindingsTests : public testing::Test
{
protected:
    ReachFindings Reach(DWORD status)
    {
        m_winApi.answer = [status](const std::wstring&) { return status; };
        return TryToReach(true);
    }

    KVTest::FakeInternetApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
};

TEST_F(ReachFindingsTests, Encrypted_IsOneRequestForTheHeadOfAPage)
{
    EXPECT_TRUE(TryToReach(true).isReached);
    const std::wstring host = Http::kCollectionHost;
    EXPECT_EQ(m_winApi.TakeCalls(),
              (std::vector<std::wstring>{L"open Statlet 0 0", L"connect session1 " + host + L" 443 3 0 0",
                                         L"request connection2 HEAD " +
                                             std::to_wstring(0x00803000 | 0x80000000 | 0x04280200) + L" 0",
                                         L"send request3 0 0", L"query request3 536870931 4", L"close request3",
                                         L"close connection2", L"close session1"}));
    EXPECT_EQ(m_winApi.Paths(), (std::vector<std::wstring>{L"/"}));
}

TEST_F(ReachFindingsTests, Plain_UsesPort80)
{
    EXPECT_TRUE(TryToReach(false).isReached);
    const std::wstring host = Http::kCollectionHost;
    EXPECT_EQ(m_winApi.TakeCalls().at(1), L"connect session1 " + host + L" 80 3 0 0");
}

TEST_F(ReachFindingsTests, NothingIsStoredAndNoOtherHostAsked)
{
    TryToReach(true);
    constexpr DWORD kWanted = INTERNET_FLAG_NO_COOKIES | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_AUTO_REDIRECT;
    EXPECT_EQ(m_winApi.posts.at(0).flags & kWanted, kWanted);
}

TEST_F(ReachFindingsTests, AnyStatusOfTheHost_IsReached)
{
    for (const DWORD status : {200UL, 301UL, 404UL, 501UL, 503UL})
    {
        const ReachFindings findings = Reach(status);
        EXPECT_TRUE(findings.isReached) << status;
        EXPECT_EQ(findings.status, status);
    }
}

TEST_F(ReachFindingsTests, ProxyThatAsksForAPassword_IsNotReached)
{
    const ReachFindings findings = Reach(407);
    EXPECT_FALSE(findings.isReached);
    EXPECT_EQ(findings.status, 407U);
    EXPECT_STREQ(GetMeaningOfReach(findings), L"the proxy asks for a password, which no run gives");
}

TEST_F(ReachFindingsTests, GatewayThatCannotReachTheHost_IsNotTheHost)
{
    for (const DWORD status : {502UL, 504UL})
    {
        const ReachFindings findings = Reach(status);
        EXPECT_FALSE(findings.isReached) << status;
        EXPECT_STREQ(GetMeaningOfReach(findings), L"the proxy cannot reach the host");
    }
}

TEST_F(ReachFindingsTests, RequestThatFails_GivesTheSystemsError)
{
    m_winApi.answer = [](const std::wstring&) {
        ::SetLastError(ERROR_INTERNET_CANNOT_CONNECT);
        return KVTest::FakeInternetApi::kNoAnswer;
    };
    const ReachFindings findings = TryToReach(true);
    EXPECT_FALSE(findings.isReached);
    EXPECT_EQ(findings.error, static_cast<DWORD>(ERROR_INTERNET_CANNOT_CONNECT));
    EXPECT_STREQ(GetMeaningOfReach(findings), L"the host, or the proxy, refuses connections");
}

TEST_F(ReachFindingsTests, EachStepThatFails_EndsTheAttempt)
{
    m_winApi.requestFails = true;
    EXPECT_FALSE(TryToReach(true).isReached);
    m_winApi.connectFails = true;
    EXPECT_FALSE(TryToReach(true).isReached);
    m_winApi.openFails = true;
    EXPECT_FALSE(TryToReach(true).isReached);
    m_winApi.openFails = m_winApi.connectFails = m_winApi.requestFails = false;
    m_winApi.queryFails = true;
    EXPECT_FALSE(TryToReach(true).isReached);
}

TEST_F(ReachFindingsTests, UnknownError_HasAMeaningToo)
{
    ReachFindings findings;
    findings.error = 4711;
    EXPECT_STREQ(GetMeaningOfReach(findings), L"the request has failed");
}
} // namespace
