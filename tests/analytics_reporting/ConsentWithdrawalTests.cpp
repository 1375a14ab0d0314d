// Queued hits after the user has withdrawn consent, with the library's own client.

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "analytics_reporting/AnalyticsEngine.h"
#include "ga_client/GAClient.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/KernelApi.h"

namespace
{
using KVAnalyticsReporting::GetAnalyticsEngine;

constexpr DWORD kLongestWaitMs = 20000;

// Counts the rests of the worker between two looks at the queue.
class RestCountingApi : public KVWinApi::CKernelApi
{
public:
    DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs) override
    {
        constexpr DWORD kRestMs = 1000;
        if (timeoutMs == kRestMs)
        {
            ++m_count;
        }
        return CKernelApi::WaitForSingleObject(handle, timeoutMs);
    }
    // Until a rest begins. What the worker does afterwards, it decides after this call.
    void WaitForRest() const
    {
        const int count = m_count;
        for (DWORD waitedMs = 0; m_count == count && waitedMs < kLongestWaitMs; waitedMs += 10)
        {
            ::Sleep(10);
        }
        ASSERT_NE(m_count, count);
    }

private:
    std::atomic<int> m_count = 0;
};

// Three hits are queued on a computer without a connection so far.
class ConsentWithdrawalTests : public testing::Test
{
protected:
    ConsentWithdrawalTests()
    {
        m_winApi.isConnected = false;
        m_winApi.answer = [this](const std::wstring&) {
            ++m_sentCount;
            if (m_sentCount == 3)
            {
                ::SetEvent(m_allSent);
            }
            return DWORD{200};
        };
        EXPECT_TRUE(GetAnalyticsEngine().Initialize(true, L"XX-1", m_name, false));
        EXPECT_TRUE(GetAnalyticsEngine().Start());
        GetAnalyticsEngine().TrackScreenView(L"Home");
    }
    ~ConsentWithdrawalTests() override
    {
        GAClient::GetGAClient().Uninitialize(false, 0);
        ::CloseHandle(m_allSent);
    }
    bool WithdrawConsent() { return GetAnalyticsEngine().Initialize(false, L"XX-1", m_name, false); }
    std::wstring QueueFile() const { return m_winApi.DataFolder(m_name, L"Unknown") + L"Statlet_RequestQueue.txt"; }

    KVTest::SampleComputerApi m_winApi;
    RestCountingApi m_kernelApi;
    HANDLE m_allSent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);

private:
    const std::wstring m_name = KVTest::UniqueApplicationName();
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernelApi};
    std::atomic<int> m_sentCount = 0;
};

TEST_F(ConsentWithdrawalTests, QueuedHits_StillLeave)
{
    EXPECT_FALSE(WithdrawConsent());
    m_winApi.isConnected = true;
    EXPECT_EQ(::WaitForSingleObject(m_allSent, kLongestWaitMs), WAIT_OBJECT_0);
}

// The steps that AnalyticsEngine.h names. The connection comes back when the worker is not on its way to send a hit.
TEST_F(ConsentWithdrawalTests, QueuedHitsOfAHeldClient_StayInTheFile)
{
    GAClient::GetGAClient().SetDispatchHeld(true);
    m_kernelApi.WaitForRest();
    m_winApi.isConnected = true;
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(false, 0));
    EXPECT_FALSE(WithdrawConsent());
    EXPECT_TRUE(m_winApi.Paths().empty());
    const std::string file = KVTest::ReadFileBytes(QueueFile());
    EXPECT_NE(file.find("&t=appview&cd=Home#"), std::string::npos);
    EXPECT_TRUE(::DeleteFileW(QueueFile().c_str()));
}

TEST_F(ConsentWithdrawalTests, AnEngineWithoutConsent_RefusesToBeUninitialised)
{
    EXPECT_FALSE(WithdrawConsent());
    EXPECT_FALSE(GetAnalyticsEngine().Uninitialize(false, 0));
}
} // namespace
