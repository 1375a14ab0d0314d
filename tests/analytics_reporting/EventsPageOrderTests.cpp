// Compares the rows of docs/events.md about operations with the calls that a client records, in their order.

#include <windows.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/analytics_reporting/EngineExamples.h"
#include "tests/analytics_reporting/EventsPage.h"
#include "tests/analytics_reporting/FakeSystem.h"
#include "tests/analytics_reporting/FakeWmi.h"
#include "tests/analytics_reporting/KnownSystem.h"
#include "tests/analytics_reporting/RecordingClient.h"
#include "tests/support/ScopedSubstitute.h"

namespace
{
using KVTest::EngineExample;
using PageRows = std::vector<KVTest::EventsPage::Row>;

// "a|b|c"
std::vector<std::wstring> PartsOf(const std::wstring& call)
{
    std::vector<std::wstring> parts;
    std::wistringstream stream(call);
    for (std::wstring part; std::getline(stream, part, L'|');)
    {
        parts.push_back(part);
    }
    return parts;
}

// The numbers of a cell such as "13 kind, 10, 1 modelName".
std::wstring NumbersOf(const std::wstring& cell)
{
    std::wstring numbers;
    std::wistringstream stream(cell);
    for (std::wstring item; std::getline(stream, item, L',');)
    {
        const std::size_t begin = item.find_first_not_of(L' ');
        numbers += (numbers.empty() ? L"" : L", ") + item.substr(begin, item.find(L' ', begin) - begin);
    }
    return numbers;
}

// The calls as rows of the page: one for each hit, or for several hits in a row that differ only in their values.
PageRows RowsOf(const std::wstring& operation, const std::vector<std::wstring>& calls)
{
    PageRows rows;
    std::wstring dimensions;
    for (const std::wstring& call : calls)
    {
        const std::vector<std::wstring> parts = PartsOf(call);
        if (parts.at(0) == L"SetCustomDimension")
        {
            dimensions += (dimensions.empty() ? L"" : L", ") + parts.at(1);
            continue;
        }
        const bool isEvent = parts.at(0) == L"TrackEvent";
        KVTest::EventsPage::Row row = {operation, isEvent ? L"event" : L"screen view", L"once", dimensions, L"", L"",
                                       L""};
        if (isEvent)
        {
            EXPECT_EQ(parts.at(4) + L" " + parts.at(5), L"-1 interaction");
            row[4] = parts.at(2);
            row[5] = parts.at(1);
            row[6] = parts.at(3) == L"support" ? L"linkId" : parts.at(3); // the link of the example
        }
        dimensions.clear();
        KVTest::EventsPage::Row repeated = row;
        repeated[2] = L"for each printer";
        if (!rows.empty() && (rows.back() == row || rows.back() == repeated))
        {
            rows.back() = repeated;
            continue;
        }
        rows.push_back(row);
    }
    EXPECT_EQ(dimensions, L"") << "each dimension is followed by a hit";
    return rows;
}

class EventsPageOrderTests : public testing::TestWithParam<EngineExample>
{
protected:
    EventsPageOrderTests() { KVTest::InstallExamplePrinters(m_spooler, m_registry); }

private:
    KVTest::Calls m_calls;
    KVTest::KnownSystem m_system{6, 1, PROCESSOR_ARCHITECTURE_AMD64};
    KVTest::FakeRegistry m_registry{m_calls};
    KVTest::FakeSpooler m_spooler{m_calls};
    KVTest::FakeWmi m_wmi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_systemSwap{KVWinApi::g_kernelApi, m_system};
    KVTest::ScopedSubstitute<KVWinApi::IRegistryApi> m_registrySwap{KVWinApi::g_registryApi, m_registry};
    KVTest::ScopedSubstitute<KVWinApi::ISpoolerApi> m_spoolerSwap{KVWinApi::g_spoolerApi, m_spooler};
    KVTest::ScopedSubstitute<KVWinApi::IComApi> m_wmiSwap{KVWinApi::g_comApi, m_wmi};
};

TEST_P(EventsPageOrderTests, Rows_AreTheCallsOfTheClientInTheirOrder)
{
    KVAnalyticsReporting::IAnalyticsEngine& engine = KVAnalyticsReporting::GetAnalyticsEngine();
    engine.Initialize(true, L"XX-1", L"Lumo", true);
    engine.Start();
    KVTest::GetRecordingClient().TakeCalls();
    GetParam().run(engine);
    PageRows expected;
    for (KVTest::EventsPage::Row row : KVTest::EventsPage().GetTable(L"## Operations"))
    {
        if (row.at(0) == GetParam().operation)
        {
            row.at(3) = NumbersOf(row.at(3));
            expected.push_back(row);
        }
    }
    EXPECT_EQ(RowsOf(GetParam().operation, KVTest::GetRecordingClient().TakeCalls()), expected);
}

// Without Start and Stop, whose hits only the library's own client makes.
std::vector<EngineExample> TrackingExamples()
{
    std::vector<EngineExample> examples = KVTest::EngineExamples();
    examples.erase(examples.begin());
    examples.pop_back();
    return examples;
}

INSTANTIATE_TEST_SUITE_P(Each, EventsPageOrderTests, testing::ValuesIn(TrackingExamples()),
                         [](const auto& entry) { return std::string(entry.param.name); });
} // namespace
