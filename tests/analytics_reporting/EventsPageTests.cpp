// Compares docs/events.md with the engine and the library's own client: the tables of values and the whole hits.

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "analytics_reporting/ConnectionType.h"
#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/DimensionValues.h"
#include "ga_client/DataFolder.h"
#include "tests/analytics_reporting/EngineExamples.h"
#include "tests/analytics_reporting/EventsPage.h"
#include "tests/analytics_reporting/FakeSystem.h"
#include "tests/analytics_reporting/FakeWmi.h"
#include "tests/analytics_reporting/KnownSystem.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/VirtualSlots.h"

namespace
{
using KVAnalyticsReporting::GetAnalyticsEngine;
using KVAnalyticsReporting::IAnalyticsEngine;
using KVTest::EngineExample;
using KVTest::EngineExamples;
using KVTest::EventsPage;
using Texts = std::vector<std::wstring>;

constexpr wchar_t kOperations[] = L"## Operations";
constexpr wchar_t kWholeHits[] = L"## Whole hits";
constexpr std::uint32_t kFlushBudgetMs = 20000;

// Windows 7 on x64 at the time of the examples, with a program of version 1.2.3.
class ExampleSystem : public KVTest::KnownSystem
{
public:
    ExampleSystem() : KnownSystem(6, 1, PROCESSOR_ARCHITECTURE_AMD64) {}
    void GetSystemTime(LPSYSTEMTIME time) override { m_clock.GetSystemTime(time); }
    DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) override
    {
        return module == nullptr ? static_cast<DWORD>(m_program.copy(buffer, size))
                                 : CKernelApi::GetModuleFileNameW(module, buffer, size);
    }

private:
    KVTest::FixedTimeApi m_clock;
    std::wstring m_program = KVTest::PathBesideTest(L"kv_version_events_page.dll");
};

// The computer of the page's examples.
class EventsPageTests : public testing::TestWithParam<EngineExample>
{
protected:
    EventsPageTests()
    {
        const std::wstring file = GAClient::GetDataFolder(L"Lumo", L"1.2.3") + L"Lumo.ini";
        EXPECT_TRUE(::WritePrivateProfileStringW(L"Users", L"UUID", KVTest::kSampleClientId, file.c_str()));
        KVTest::InstallExamplePrinters(m_spooler, m_registry);
    }

    // The hits of a session with these operations and without an end.
    Texts Send(const std::vector<EngineExample>& examples)
    {
        IAnalyticsEngine& engine = GetAnalyticsEngine();
        EXPECT_TRUE(engine.Initialize(true, L"XX-1", L"Lumo", false));
        for (const EngineExample& example : examples)
        {
            example.run(engine);
        }
        EXPECT_TRUE(engine.Uninitialize(true, kFlushBudgetMs));
        return m_winApi.Paths();
    }

    const EventsPage m_page;

private:
    KVTest::Calls m_calls;
    KVTest::SampleComputerApi m_winApi;
    ExampleSystem m_system;
    KVTest::FakeRegistry m_registry{m_calls};
    KVTest::FakeSpooler m_spooler{m_calls};
    KVTest::FakeWmi m_wmi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_winSwap{KVWinApi::g_winApi, m_winApi};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_systemSwap{KVWinApi::g_kernelApi, m_system};
    KVTest::ScopedSubstitute<KVWinApi::IRegistryApi> m_registrySwap{KVWinApi::g_registryApi, m_registry};
    KVTest::ScopedSubstitute<KVWinApi::ISpoolerApi> m_spoolerSwap{KVWinApi::g_spoolerApi, m_spooler};
    KVTest::ScopedSubstitute<KVWinApi::IComApi> m_wmiSwap{KVWinApi::g_comApi, m_wmi};
};

// Start, a screen view, and the operation itself if it is neither.
TEST_P(EventsPageTests, WholeHits_AreTheOnesThatAreSent)
{
    std::vector<EngineExample> session = {EngineExamples().at(0), EngineExamples().at(1)};
    if (GetParam().call != session[0].call && GetParam().call != session[1].call)
    {
        session.push_back(GetParam());
    }
    Texts expected;
    for (const EngineExample& example : session)
    {
        const Texts hits = m_page.GetHits(kWholeHits, example.call);
        EXPECT_FALSE(hits.empty()) << example.name;
        expected.insert(expected.end(), hits.begin(), hits.end());
    }
    EXPECT_EQ(Send(session), expected);
}

INSTANTIATE_TEST_SUITE_P(Each, EventsPageTests, testing::ValuesIn(EngineExamples()),
                         [](const auto& entry) { return std::string(entry.param.name); });

Texts OperationsOf(const std::vector<EngineExample>& examples)
{
    Texts operations;
    for (const EngineExample& example : examples)
    {
        operations.push_back(example.operation);
    }
    return operations;
}

TEST(EventsPageTablesTests, Operations_AreThoseOfTheEngine)
{
    Texts operations; // each once, however many rows it has
    for (const EventsPage::Row& row : EventsPage().GetTable(kOperations))
    {
        if (operations.empty() || operations.back() != row.at(0))
        {
            operations.push_back(row.at(0));
        }
    }
    EXPECT_EQ(operations, OperationsOf(EngineExamples()));
    // The three that send nothing, and the destructor.
    EXPECT_EQ(KVTest::SlotCountOf<IAnalyticsEngine>(), operations.size() + 3 + KVTest::kDestructorSlots);
}

TEST(EventsPageTablesTests, WholeHits_AreShownOfEachOperation)
{
    Texts titles;
    for (const EventsPage::Example& example : EventsPage().GetExamples(kWholeHits))
    {
        titles.push_back(example.title);
    }
    Texts calls;
    for (const EngineExample& example : EngineExamples())
    {
        calls.push_back(example.call);
    }
    EXPECT_EQ(titles, calls);
}

// The value of a parameter of a hit, empty if it has none.
std::wstring ParameterOf(const std::wstring& hit, const std::wstring& key)
{
    const std::size_t place = hit.find(L"&" + key + L"=");
    const std::size_t begin = place + key.size() + 2;
    return place == std::wstring::npos ? L"" : hit.substr(begin, hit.find(L'&', begin) - begin);
}

// EventsPageOrderTests compare the rows of the other operations, whose dimensions have an order too.
TEST(EventsPageTablesTests, LifecycleRows_AreThoseOfTheirWholeHits)
{
    const EventsPage page;
    std::vector<EventsPage::Row> rows;
    for (const std::wstring operation : {L"Start()", L"Stop()"})
    {
        for (const std::wstring& hit : page.GetHits(kWholeHits, operation))
        {
            const bool isEvent = ParameterOf(hit, L"t") == L"event";
            rows.push_back({operation, isEvent ? L"event" : L"session screen view " + ParameterOf(hit, L"cd"), L"once",
                            L"", ParameterOf(hit, L"ec"), ParameterOf(hit, L"ea"), ParameterOf(hit, L"el")});
        }
    }
    std::vector<EventsPage::Row> shown = page.GetTable(kOperations);
    shown.erase(std::remove_if(shown.begin(), shown.end(),
                               [](const EventsPage::Row& row) { return row.at(0).starts_with(L"Track"); }),
                shown.end());
    EXPECT_EQ(shown, rows);
}

TEST(EventsPageTablesTests, Dimensions_AreThoseOfTheEngine)
{
    std::vector<EventsPage::Row> expected;
    for (const KVAnalyticsReporting::Dimension& dimension : KVAnalyticsReporting::Dimensions::kAll)
    {
        expected.push_back({std::to_wstring(dimension.number), dimension.name});
    }
    std::vector<EventsPage::Row> shown = EventsPage().GetTable(L"## Dimensions");
    for (EventsPage::Row& row : shown)
    {
        row.resize(2); // the description of the values is prose
    }
    EXPECT_EQ(shown, expected);
}

// The value that a table shows for a number: that of its own row, or of the row "any other".
std::wstring ValueFor(const std::vector<EventsPage::Row>& rows, int number)
{
    const std::wstring text = std::to_wstring(number);
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const EventsPage::Row& row) {
        return row.at(0) == text || row.at(0) == L"any other";
    });
    return found == rows.end() ? L"no row" : found->at(1);
}

TEST(EventsPageTablesTests, ResultsAndSetups_HaveTheirValues)
{
    const std::vector<EventsPage::Row> results = EventsPage().GetTable(L"### Results");
    const std::vector<EventsPage::Row> setups = EventsPage().GetTable(L"### Wireless set-ups");
    for (int number = -2; number < 100; ++number)
    {
        EXPECT_EQ(ValueFor(results, number), KVAnalyticsReporting::GetResultText(number)) << number;
        EXPECT_EQ(ValueFor(setups, number), KVAnalyticsReporting::GetWirelessSetupText(number)) << number;
    }
}

TEST(EventsPageTablesTests, Connections_HaveTheirValues)
{
    const std::vector<EventsPage::Row> rows = EventsPage().GetTable(L"### Connections");
    const auto fits = [](const std::wstring& cell, int number) {
        return cell == std::to_wstring(number) || cell == L"any" || cell == L"any other";
    };
    for (int connection = -1; connection < 20; ++connection)
    {
        for (int network = -1; network < 20; ++network)
        {
            const auto found = std::find_if(rows.begin(), rows.end(), [&](const EventsPage::Row& row) {
                return fits(row.at(0), connection) && fits(row.at(1), network);
            });
            EXPECT_EQ(found == rows.end() ? L"no row" : found->at(2),
                      KVAnalyticsReporting::GetConnectionTypeText(connection, network))
                << connection << " " << network;
        }
    }
}
} // namespace
