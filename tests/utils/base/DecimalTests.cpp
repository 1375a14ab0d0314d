#include "utils/base/Decimal.h"

#include <gtest/gtest.h>

#include <cwchar>
#include <limits>
#include <locale>

namespace
{
using KVUtils::AppendDecimal;
using KVUtils::CDecimalText;
using KVUtils::ToDecimal;

TEST(DecimalTests, Number_IsWrittenWithoutLeadingZeros)
{
    EXPECT_EQ(ToDecimal(0), L"0");
    EXPECT_EQ(ToDecimal(7), L"7");
    EXPECT_EQ(ToDecimal(10), L"10");
    EXPECT_EQ(ToDecimal(1416096000), L"1416096000");
    EXPECT_EQ(ToDecimal(-1), L"-1");
    EXPECT_EQ(ToDecimal(-10), L"-10");
}

TEST(DecimalTests, Number_AtTheLimitsOfItsType_IsWrittenInFull)
{
    EXPECT_EQ(ToDecimal(std::numeric_limits<std::int32_t>::min()), L"-2147483648");
    EXPECT_EQ(ToDecimal(std::numeric_limits<std::int32_t>::max()), L"2147483647");
    EXPECT_EQ(ToDecimal(std::numeric_limits<std::uint32_t>::max()), L"4294967295");
    EXPECT_EQ(ToDecimal(std::numeric_limits<std::int64_t>::min()), L"-9223372036854775808");
    EXPECT_EQ(ToDecimal(std::numeric_limits<std::int64_t>::max()), L"9223372036854775807");
}

TEST(DecimalTests, Number_OfEachLength_IsThatOfTheRuntime)
{
    for (std::int64_t power = 1; power <= std::numeric_limits<std::int64_t>::max() / 10; power *= 10)
    {
        for (const std::int64_t number : {power - 1, power, power + 1, 9 * power, 1 - power, -power, -power - 1})
        {
            EXPECT_EQ(ToDecimal(number), std::to_wstring(number));
        }
    }
}

TEST(DecimalTests, Append_KeepsWhatIsThere)
{
    std::wstring text = L"cd";
    AppendDecimal(text, 12);
    AppendDecimal(text, -3);
    EXPECT_EQ(text, L"cd12-3");
}

TEST(DecimalTests, Text_EndsWithATerminatorBehindItsView)
{
    for (const std::int64_t number : {std::int64_t{0}, std::int64_t{-5}, std::numeric_limits<std::int64_t>::min()})
    {
        const CDecimalText text(number);
        EXPECT_EQ(text.ZeroTerminated(), text.View().data());
        EXPECT_EQ(std::wcslen(text.ZeroTerminated()), text.View().size());
    }
}
} // namespace
