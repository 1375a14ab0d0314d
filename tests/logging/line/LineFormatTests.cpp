#include "logging/line/LineFormat.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <ctime>
#include <regex>

#include "logging/system/PerformanceClock.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/Narrow.h"

namespace
{
using namespace KVLogging;

struct TagRow
{
    const char* name;
    std::uint32_t flags;
    const wchar_t* tags;
};

class LineFormatTagTests : public testing::TestWithParam<TagRow>
{
};

TEST_P(LineFormatTagTests, Tags_OfTheFlags_AreWrittenInTheirFixedOrder)
{
    std::wstring text = L"before ";
    AppendTags(text, GetParam().flags);
    EXPECT_EQ(text, std::wstring(L"before ") + GetParam().tags);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, LineFormatTagTests,
    testing::Values(TagRow{"None", 0, L""}, TagRow{"DetailLevelAlone", 0xF, L""}, TagRow{"Info", 0x10, L"(I0) "},
                    TagRow{"InfoLevel7", 23, L"(I7) "}, TagRow{"InfoLevel15", 0x1F, L"(I15) "},
                    TagRow{"Exception", 0x20, L"(EX) "}, TagRow{"Warning", 0x40, L"(WN) "},
                    TagRow{"Error", 0x80, L"(##) "}, TagRow{"Status", 0x100, L"(ST) "},
                    TagRow{"Debug", 0x200, L"(DB) "}, TagRow{"Entry", 0x400, L"(->) "}, TagRow{"Exit", 0x800, L"(<-) "},
                    TagRow{"Marker1", 0x1000, L"(M1) "}, TagRow{"Marker15", 0xF000, L"(M15) "},
                    TagRow{"CreateModuleKey", 0x1000000, L""}, TagRow{"Locking", 0x2000000, L"(LK) "},
                    TagRow{"InterProcess", 0x4000000, L"(IP) "}, TagRow{"Debugger", 0x8000000, L""},
                    TagRow{"ErrorCode", 0x20000000, L"(**) "}, TagRow{"Header", 0x40000000, L"(++) "},
                    TagRow{"All", 0xFFFFFFFF, L"(EX) (##) (WN) (++) (I15) (ST) (DB) (->) (<-) (**) (LK) (IP) (M15) "}),
    [](const auto& row) { return row.param.name; });

class LineFormatPrefixTests : public testing::Test
{
protected:
    std::wstring Compose(std::uint32_t options, int lineNumber = 0, std::int64_t previousLine = 0,
                         std::uint32_t flags = 0)
    {
        return ComposePrefix({options, flags, lineNumber, m_processTag, previousLine});
    }

    static std::wstring LocalTime(const wchar_t* format)
    {
        const std::time_t now = std::time(nullptr);
        wchar_t text[64] = {};
        std::wcsftime(text, 64, format, std::localtime(&now));
        return text;
    }

    // The clock may reach the next second between the two readings, though not twice.
    template <typename Composed> static void ExpectTime(const wchar_t* format, const Composed& composed)
    {
        const std::wstring before = LocalTime(format);
        const std::wstring text = composed();
        EXPECT_TRUE(text == before || text == LocalTime(format)) << KVTest::Narrow(text);
    }

    std::wstring m_processTag = L"[4711] ";
};

TEST_F(LineFormatPrefixTests, NoOptions_NoFlags_IsEmpty)
{
    EXPECT_EQ(Compose(0, 17), L"");
}

TEST_F(LineFormatPrefixTests, Date_IsLocalWithSlashes)
{
    ExpectTime(L"%Y/%m/%d ", [&] { return Compose(0x1000000); });
}

TEST_F(LineFormatPrefixTests, Time_IsLocalWithColons)
{
    ExpectTime(L"%H:%M:%S ", [&] { return Compose(0x2000000); });
}

TEST_F(LineFormatPrefixTests, DateAndTime_DateComesFirst)
{
    ExpectTime(L"%Y/%m/%d %H:%M:%S ", [&] { return Compose(0x3000000); });
}

TEST_F(LineFormatPrefixTests, CompactDateAndTime_HaveNoSeparatorsAtAll)
{
    ExpectTime(L"%Y%m%d%H%M%S", [&] { return Compose(0x3800000); });
    ExpectTime(L"%Y%m%d", [&] { return Compose(0x1800000); });
    ExpectTime(L"%H%M%S", [&] { return Compose(0x2800000); });
}

TEST_F(LineFormatPrefixTests, CompactAlone_AddsNothing)
{
    EXPECT_EQ(Compose(0x800000), L"");
}

TEST_F(LineFormatPrefixTests, CounterAndLine_IsOneBitForBoth)
{
    EXPECT_TRUE(KVTest::Matches(Compose(0x20000000, 17), R"(\d{10} 0017: )"));
    EXPECT_TRUE(KVTest::Matches(Compose(0x20000000, 12345), R"(\d{10} 12345: )"));
}

TEST_F(LineFormatPrefixTests, LineNumber_Negative_HasFourCharactersToo)
{
    EXPECT_TRUE(KVTest::Matches(Compose(0x20000000, -5), R"(\d{10} -005: )"));
    EXPECT_TRUE(KVTest::Matches(Compose(0x20000000, -12345), R"(\d{10} -12345: )"));
}

TEST_F(LineFormatPrefixTests, LineNumberZero_GivesSixBlanks)
{
    EXPECT_TRUE(KVTest::Matches(Compose(0x20000000, 0), R"(\d{10} {7})"));
}

TEST_F(LineFormatPrefixTests, CompactCounter_IsPrecededByAColon)
{
    EXPECT_TRUE(KVTest::Matches(Compose(0x20800000, 17), R"(:\d{10} 0017: )"));
    EXPECT_TRUE(KVTest::Matches(Compose(0x23800000, 17), R"(\d{14}:\d{10} 0017: )"));
}

TEST_F(LineFormatPrefixTests, Counter_IsThePerformanceCounterInMicrosecondsOfTenDigits)
{
    constexpr std::int64_t kModulus = 10000000000;
    const std::int64_t before = TicksToMicroseconds(GetPerformanceTicks());
    const std::int64_t counter = std::stoll(Compose(0x20000000).substr(0, 10));
    const std::int64_t after = TicksToMicroseconds(GetPerformanceTicks());
    EXPECT_LE((counter - before % kModulus + kModulus) % kModulus, after - before);
}

TEST_F(LineFormatPrefixTests, Counter_BeyondTenDigits_LosesTheOthers)
{
    const KVTest::FrozenPerformanceCounter counter;
    KVTest::FrozenPerformanceCounter::SetMicroseconds(9'999'999'999);
    EXPECT_EQ(Compose(0x20000000), L"9999999999       ");
    KVTest::FrozenPerformanceCounter::SetMicroseconds(120'000'000'345);
    EXPECT_EQ(Compose(0x20000000), L"0000000345       ");
}

TEST_F(LineFormatPrefixTests, SincePrevious_IsInMillisecondsOfSixDigitsTruncated)
{
    const std::int64_t previous = GetPerformanceTicks();
    ::Sleep(3);
    const std::int64_t least = TicksToMicroseconds(GetPerformanceTicks() - previous) / 1000;
    const std::wstring text = Compose(0x10000000, 0, previous);
    const std::int64_t most = TicksToMicroseconds(GetPerformanceTicks() - previous) / 1000;
    ASSERT_TRUE(KVTest::Matches(text, R"(\(\d{6} ms\) )")) << KVTest::Narrow(text);
    const std::int64_t value = std::stoll(text.substr(1, 6));
    EXPECT_GE(value, least);
    EXPECT_LE(value, most);
}

TEST_F(LineFormatPrefixTests, SincePrevious_LessThanAMillisecond_IsZero)
{
    std::wstring text;
    std::int64_t most = 1000;
    for (int i = 0; i < 100 && most >= 1000; ++i) // a busy machine may take longer once
    {
        const std::int64_t previous = GetPerformanceTicks();
        text = Compose(0x10000000, 0, previous);
        most = TicksToMicroseconds(GetPerformanceTicks() - previous);
    }
    EXPECT_EQ(text, L"(000000 ms) ");
}

TEST_F(LineFormatPrefixTests, SincePrevious_OfALaterLine_IsNegative)
{
    const KVTest::FrozenPerformanceCounter counter;
    KVTest::FrozenPerformanceCounter::SetMicroseconds(10'000);
    const std::int64_t later = GetPerformanceTicks();
    KVTest::FrozenPerformanceCounter::SetMicroseconds(5'000);
    EXPECT_EQ(Compose(0x10000000, 0, later), L"(-000005 ms) ");
}

TEST_F(LineFormatPrefixTests, ProcessTagAndThreadId)
{
    EXPECT_EQ(Compose(0x4000000), L"[4711] ");
    wchar_t expected[32] = {};
    _snwprintf(expected, 31, L"{tid: 0x%04X} ", static_cast<unsigned>(::GetCurrentThreadId()));
    EXPECT_EQ(Compose(0x8000000), expected);
}

DWORD WINAPI GetLongThreadId()
{
    return 0xABCDE;
}

TEST_F(LineFormatPrefixTests, ThreadId_OfMoreThanFourDigits_HasThemAll)
{
    std::wstring text;
    {
        const KVTest::ImportPatch patch(__imp_GetCurrentThreadId, reinterpret_cast<void*>(&GetLongThreadId));
        text = Compose(0x8000000);
    }
    EXPECT_EQ(text, L"{tid: 0xABCDE} ");
}

void WINAPI GetEarlyTime(SYSTEMTIME* time)
{
    *time = {2009, 3, 3, 4, 5, 6, 7, 8};
}

TEST_F(LineFormatPrefixTests, DateAndTime_EachPartHasItsDigits)
{
    const KVTest::ImportPatch patch(__imp_GetLocalTime, reinterpret_cast<void*>(&GetEarlyTime));
    EXPECT_EQ(Compose(0x3000000), L"2009/03/04 05:06:07 ");
    EXPECT_EQ(Compose(0x3800000), L"20090304050607");
}

TEST_F(LineFormatPrefixTests, EverythingOn_ComesInOrder)
{
    const std::wstring text = Compose(0x3F000000, 17, GetPerformanceTicks(), 0x412);
    EXPECT_TRUE(KVTest::Matches(text, R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d \d{10} \(\d{6} ms\) \[4711\] )"
                                      R"(\{tid: 0x[0-9A-F]{4,8}\} 0017: \(I2\) \(->\) )"))
        << KVTest::Narrow(text);
}

TEST(PerformanceClockTests, TicksToMicroseconds_TruncatesTowardZero)
{
    EXPECT_EQ(TicksToMicroseconds(0, 10000000), 0);
    EXPECT_EQ(TicksToMicroseconds(19, 10000000), 1);
    EXPECT_EQ(TicksToMicroseconds(-19, 10000000), -1);
    EXPECT_EQ(TicksToMicroseconds(3, 3), 1000000);
    EXPECT_EQ(TicksToMicroseconds(4, 3), 1333333);
}

TEST(PerformanceClockTests, TicksToMicroseconds_MachineUpForYears_DoesNotOverflow)
{
    constexpr std::int64_t kTenYears = 10LL * 365 * 24 * 3600;
    EXPECT_EQ(TicksToMicroseconds(kTenYears * 10000000 + 5, 10000000), kTenYears * 1000000);
    EXPECT_EQ(TicksToMicroseconds(kTenYears * 3579545, 3579545), kTenYears * 1000000);
}

TEST(PerformanceClockTests, TicksToMicroseconds_FrequencyZero_CountsAsAMillion)
{
    EXPECT_EQ(TicksToMicroseconds(4711, 0), 4711);
}
} // namespace
