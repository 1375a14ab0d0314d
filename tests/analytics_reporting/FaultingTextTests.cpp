// Texts of the caller that cannot be read, with the library's own client.

#include <windows.h>

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

#include "analytics_reporting/AnalyticsEngine.h"
#include "tests/ga_client/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/utils/Faults.h"

namespace
{
TEST(FaultingTextTests, TextsThatCannotBeRead_CostTheirHitsAndNothingElse)
{
    KVTest::SampleComputerApi winApi;
    const KVTest::ScopedSubstitute<KVWinApi::IWinApi> swap(KVWinApi::g_winApi, winApi);
    const KVTest::ForbiddenPage page;
    const auto& text = *static_cast<const std::wstring*>(page.GetAddress());
    KVAnalyticsReporting::IAnalyticsEngine& engine = KVAnalyticsReporting::GetAnalyticsEngine();
    EXPECT_FALSE(engine.Initialize(true, text, L"Lumo", false));
    ASSERT_TRUE(engine.Initialize(true, L"XX-1", KVTest::UniqueApplicationName(), false));
    ASSERT_TRUE(engine.Start());
    engine.TrackScreenView(text);
    engine.TrackLumoLink(text, L"M", 1, 0);
    engine.TrackLumoLink(L"L", text, 1, 0);
    engine.TrackSelectedPrinter(text, 1, 0, 1);
    engine.TrackSwiftpost(true, true, text);
    engine.TrackInstallResult(1, text);
    std::list<std::wstring> requests;
    EXPECT_TRUE(engine.HasPendingRequests(requests));
    engine.TrackScreenView(L"Home");
    EXPECT_TRUE(engine.Stop());
    EXPECT_TRUE(engine.Uninitialize(true, 20000));
    const std::vector<std::wstring> sent = winApi.Paths();
    ASSERT_EQ(sent.size(), 4u);
    EXPECT_NE(sent[2].find(L"&t=appview&cd=Home"), std::wstring::npos);
    EXPECT_NE(sent[3].find(L"&sc=end&t=event"), std::wstring::npos);
}
} // namespace
