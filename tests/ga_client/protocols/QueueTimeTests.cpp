#include "ga_client/protocols/QueueTime.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <locale>
#include <random>
#include <sstream>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/ScopedSubstitute.h"

using namespace Protocols::MeasurementParams;

namespace
{
class QueueTimeTests : public testing::Test
{
protected:
    KVTest::FixedTimeApi m_kernelApi{1416096000};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_swap{KVWinApi::g_kernelApi, m_kernelApi};
};

struct Case
{
    const char* name;
    const wchar_t* stored;
    const wchar_t* sent;
};

class QueueTimeConversionTests : public QueueTimeTests, public testing::WithParamInterface<Case>
{
};
} // namespace

TEST(QueueTimeClockTests, CurrentCalendarTime_IsThatOfTheSystem)
{
    const std::time_t before = std::time(nullptr);
    const std::int64_t now = CurrentCalendarTime();
    EXPECT_GE(now, before - 1); // two clocks of the system may differ by a tick
    EXPECT_LE(now, std::time(nullptr) + 1);
}

TEST_F(QueueTimeTests, CurrentCalendarTime_IsWholeSecondsSince1970)
{
    EXPECT_EQ(CurrentCalendarTime(), 1416096000);
}

TEST_F(QueueTimeTests, Mark_IsAppendedToARequest)
{
    std::wstring request = L"/collect?v=1";
    AppendQueueTimeMark(request);
    EXPECT_EQ(request, L"/collect?v=1#1416096000");
}

TEST_F(QueueTimeTests, Mark_IsNotAppendedToNothing)
{
    std::wstring request;
    AppendQueueTimeMark(request);
    EXPECT_EQ(request, L"");
}

TEST_F(QueueTimeTests, Conversion_WorksOnACopy)
{
    const std::wstring stored = L"/collect?v=1#1416095999";
    EXPECT_EQ(ConvertQueueTimeMark(stored), L"/collect?v=1&qt=1000");
    EXPECT_EQ(stored, L"/collect?v=1#1416095999");
}

TEST_F(QueueTimeTests, Conversion_IgnoresTheLocaleOfTheProgram)
{
    struct Grouping : std::numpunct<wchar_t>
    {
        wchar_t do_thousands_sep() const override { return L'.'; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale previous = std::locale::global(std::locale(std::locale::classic(), new Grouping));
    EXPECT_EQ(ConvertQueueTimeMark(L"a#1416095995"), L"a&qt=5000");
    std::locale::global(previous);
}

// What a text stream writes, for times of every magnitude and beside each border.
TEST_F(QueueTimeTests, Conversion_IsTheDefaultFormatOfATextStream)
{
    const auto expectStreamFormat = [this](std::int64_t markedTime) {
        const double seconds = static_cast<double>(m_kernelApi.seconds) - static_cast<double>(markedTime);
        std::wostringstream stream;
        stream << seconds * 1000.0;
        const std::wstring expected = seconds > 0.0 ? stream.str() : L"0";
        EXPECT_EQ(ConvertQueueTimeMark(L"a#" + std::to_wstring(markedTime)), L"a&qt=" + expected);
    };
    for (std::int64_t power = 1; power <= std::numeric_limits<std::int64_t>::max() / 10; power *= 10)
    {
        for (const std::int64_t elapsed : {power - 1, power, power + 1, 5 * power, 9 * power})
        {
            expectStreamFormat(m_kernelApi.seconds - elapsed);
        }
    }
    std::mt19937_64 random(1); // the same numbers in each run
    for (int i = 0; i < 2000; ++i)
    {
        const auto elapsed = static_cast<std::int64_t>(random() >> (1 + random() % 60));
        expectStreamFormat(m_kernelApi.seconds - elapsed);
    }
}

TEST_P(QueueTimeConversionTests, Conversion)
{
    EXPECT_EQ(ConvertQueueTimeMark(GetParam().stored), GetParam().sent);
}

INSTANTIATE_TEST_SUITE_P(Table, QueueTimeConversionTests,
                         testing::Values(Case{"NoMark", L"/collect?v=1", L"/collect?v=1"}, Case{"Empty", L"", L""},
                                         Case{"NothingAfterTheMark", L"/collect?v=1#", L"/collect?v=1#"},
                                         Case{"FiveSeconds", L"a#1416095995", L"a&qt=5000"},
                                         Case{"Now", L"a#1416096000", L"a&qt=0"},
                                         Case{"Future", L"a#1416096001", L"a&qt=0"},
                                         Case{"OneSecond", L"a#1416095999", L"a&qt=1000"},
                                         Case{"LargestInPlainDigits", L"a#1416095001", L"a&qt=999000"},
                                         Case{"SmallestWithExponent", L"a#1416095000", L"a&qt=1e+06"},
                                         Case{"TwentyMinutes", L"a#1416094766", L"a&qt=1.234e+06"},
                                         Case{"SixDigitsOnly", L"a#1414861433", L"a&qt=1.23457e+09"},
                                         Case{"SevenDigits", L"a#1416094999", L"a&qt=1.001e+06"},
                                         Case{"TieStaysEven", L"a#1415095995", L"a&qt=1e+09"},
                                         Case{"TieBecomesEven", L"a#1415095985", L"a&qt=1.00002e+09"},
                                         Case{"AboveATie", L"a#1415095994", L"a&qt=1.00001e+09"},
                                         Case{"BelowATie", L"a#1415095986", L"a&qt=1.00001e+09"},
                                         Case{"RoundedUpToTheNextPower", L"a#1406096005", L"a&qt=1e+10"},
                                         Case{"NotQuiteTheNextPower", L"a#1406096006", L"a&qt=9.99999e+09"},
                                         Case{"LongerThanAnyClock", L"a#-9223372036854775", L"a&qt=9.22337e+18"},
                                         Case{"SinceTheEpoch", L"a#0", L"a&qt=1.4161e+12"},
                                         Case{"FirstMarkDecides", L"cd=a#1416095995#1416095999", L"cd=a&qt=5000"},
                                         Case{"MarkInAValue", L"cd=a#b#1416096000", L"cd=a&qt=1.4161e+12"},
                                         Case{"DigitsThenText", L"a#1416095995x", L"a&qt=5000"},
                                         Case{"LargestNumber", L"a#9223372036854775807", L"a&qt=0"},
                                         Case{"BeyondTheLargestNumber", L"a#99999999999999999999", L"a&qt=0"},
                                         Case{"SmallestNumber", L"a#-9223372036854775808", L"a&qt=9.22337e+21"},
                                         Case{"OnlyAMark", L"#1416095995", L"&qt=5000"}),
                         [](const testing::TestParamInfo<Case>& row) { return row.param.name; });
