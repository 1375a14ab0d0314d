// Memory of the caller that faults when it is touched, with the library's own client.

#include <windows.h>

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "analytics_reporting/AnalyticsEngine.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/Faults.h"
#include "tests/support/ScopedSubstitute.h"

namespace
{
using KVAnalyticsReporting::GetAnalyticsEngine;

constexpr DWORD kLongestSendMs = 20000;

// A session on a computer with a connection, and a page that faults.
class FaultingMemoryTests : public testing::Test
{
protected:
    FaultingMemoryTests()
    {
        EXPECT_FALSE(GetAnalyticsEngine().Initialize(true, Text(), L"Lumo", false));
        EXPECT_TRUE(GetAnalyticsEngine().Initialize(true, L"XX-1", KVTest::UniqueApplicationName(), false));
        EXPECT_TRUE(GetAnalyticsEngine().Start());
    }
    const std::wstring& Text() const { return *static_cast<const std::wstring*>(m_page.GetAddress()); }
    std::list<std::wstring>& List() const { return *static_cast<std::list<std::wstring>*>(m_page.GetAddress()); }

    KVTest::SampleComputerApi m_winApi;

private:
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
    KVTest::ForbiddenPage m_page;
};

TEST_F(FaultingMemoryTests, TextsThatCannotBeRead_CostTheirHitsAndNothingElse)
{
    KVAnalyticsReporting::IAnalyticsEngine& engine = GetAnalyticsEngine();
    engine.TrackScreenView(Text());
    engine.TrackLumoLink(Text(), L"M", 1, 0);
    engine.TrackLumoLink(L"L", Text(), 1, 0);
    engine.TrackSelectedPrinter(Text(), 1, 0, 1);
    engine.TrackSwiftpost(true, true, Text());
    engine.TrackInstallResult(1, Text());
    engine.TrackScreenView(L"Home");
    EXPECT_TRUE(engine.Stop());
    EXPECT_TRUE(engine.Uninitialize(true, kLongestSendMs));
    const std::vector<std::wstring> sent = m_winApi.Paths();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_NE(sent[2].find(L"&t=appview&cd=Home"), std::wstring::npos);
    EXPECT_NE(sent[3].find(L"&sc=end&t=event"), std::wstring::npos);
}

// A lock of the client that stayed held would keep its worker from sending anything more.
TEST_F(FaultingMemoryTests, AListThatCannotBeWritten_LeavesNoLockBehind)
{
#if defined(_GLIBCXX_DEBUG)
    GTEST_SKIP() << "a checked list holds a lock of the standard library while it is written";
#endif
    HANDLE sent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    m_winApi.answer = [sent](const std::wstring& path) {
        if (path.find(L"&cd=Home") != std::wstring::npos)
        {
            ::SetEvent(sent);
        }
        return DWORD{200};
    };
    EXPECT_FALSE(GetAnalyticsEngine().HasPendingRequests(List()));
    GetAnalyticsEngine().TrackScreenView(L"Home");
    ASSERT_EQ(::WaitForSingleObject(sent, kLongestSendMs), WAIT_OBJECT_0);
    std::list<std::wstring> requests;
    EXPECT_TRUE(GetAnalyticsEngine().HasPendingRequests(requests));
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(true, kLongestSendMs));
    ::CloseHandle(sent);
}
} // namespace
