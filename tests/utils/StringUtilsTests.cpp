#include "utils/StringUtils.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/utils/RandomCases.h"

namespace
{
using namespace std::string_literals;

const std::wstring kAllWhiteSpace = L" \t\n\r\f\v";

TEST(StringUtilsTests, EndsWith_ComparesTheEndExactly)
{
    EXPECT_TRUE(KVUtils::EndsWith(L"printer.inf", L".inf"));
    EXPECT_TRUE(KVUtils::EndsWith(L".inf", L".inf"));
    EXPECT_FALSE(KVUtils::EndsWith(L"printer.inf", L".INF"));
    EXPECT_FALSE(KVUtils::EndsWith(L"printer.inf ", L".inf"));
    EXPECT_FALSE(KVUtils::EndsWith(L"printer.inf", L"printer"));
}

TEST(StringUtilsTests, EndsWith_AffixLongerThanText_IsFalse)
{
    EXPECT_FALSE(KVUtils::EndsWith(L"nf", L"inf"));
    EXPECT_FALSE(KVUtils::EndsWith(L"", L"f"));
}

TEST(StringUtilsTests, EndsWith_EmptyAffix_IsTrue)
{
    EXPECT_TRUE(KVUtils::EndsWith(L"text", L""));
    EXPECT_TRUE(KVUtils::EndsWith(L"", L""));
}

TEST(StringUtilsTests, StartsWith_ComparesTheBeginningExactly)
{
    EXPECT_TRUE(KVUtils::StartsWith(L"USB001", L"USB"));
    EXPECT_TRUE(KVUtils::StartsWith(L"USB", L"USB"));
    EXPECT_FALSE(KVUtils::StartsWith(L"USB001", L"usb"));
    EXPECT_FALSE(KVUtils::StartsWith(L" USB001", L"USB"));
    EXPECT_FALSE(KVUtils::StartsWith(L"USB001", L"001"));
}

TEST(StringUtilsTests, StartsWith_AffixLongerThanText_IsFalse)
{
    EXPECT_FALSE(KVUtils::StartsWith(L"US", L"USB"));
    EXPECT_FALSE(KVUtils::StartsWith(L"", L"U"));
}

TEST(StringUtilsTests, StartsWith_EmptyAffix_IsTrue)
{
    EXPECT_TRUE(KVUtils::StartsWith(L"text", L""));
    EXPECT_TRUE(KVUtils::StartsWith(L"", L""));
}

TEST(StringUtilsTests, Trim_TakesEachOfTheSixWhiteSpaceCharactersFromItsSides)
{
    for (const wchar_t space : kAllWhiteSpace)
    {
        const std::wstring text = std::wstring(2, space) + L"a" + space + L"b" + std::wstring(2, space);
        const std::wstring inner = std::wstring(L"a") + space + L"b";
        EXPECT_EQ(KVUtils::TrimLeft(text), inner + std::wstring(2, space)) << static_cast<int>(space);
        EXPECT_EQ(KVUtils::TrimRight(text), std::wstring(2, space) + inner) << static_cast<int>(space);
        EXPECT_EQ(KVUtils::Trim(text), inner) << static_cast<int>(space);
    }
}

TEST(StringUtilsTests, Trim_WhiteSpaceOnly_GivesTheEmptyText)
{
    EXPECT_EQ(KVUtils::TrimLeft(kAllWhiteSpace), L"");
    EXPECT_EQ(KVUtils::TrimRight(kAllWhiteSpace), L"");
    EXPECT_EQ(KVUtils::Trim(kAllWhiteSpace), L"");
    EXPECT_EQ(KVUtils::Trim(L""), L"");
}

TEST(StringUtilsTests, Trim_OtherSpaces_Stay)
{
    // No-break space, next line, en quad, ideographic space, byte-order mark, null.
    for (const wchar_t other : L"\u00A0\u0085\u2000\u3000\uFEFF"s)
    {
        const std::wstring text = std::wstring(1, other) + L"a" + other;
        EXPECT_EQ(KVUtils::TrimLeft(text), text) << static_cast<int>(other);
        EXPECT_EQ(KVUtils::TrimRight(text), text) << static_cast<int>(other);
        EXPECT_EQ(KVUtils::Trim(text), text) << static_cast<int>(other);
    }
    EXPECT_EQ(KVUtils::Trim(L"\0a\0"s), L"\0a\0"s);
}

TEST(StringUtilsTests, ReplaceAll_ReplacesEveryOccurrenceFromTheLeftWithoutOverlap)
{
    EXPECT_EQ(KVUtils::ReplaceAll(L"aaa", L"aa", L"b"), L"ba");
    EXPECT_EQ(KVUtils::ReplaceAll(L"a-b-c", L"-", L" and "), L"a and b and c");
    EXPECT_EQ(KVUtils::ReplaceAll(L"-a-", L"-", L""), L"a");
    EXPECT_EQ(KVUtils::ReplaceAll(L"---", L"-", L""), L"");
    EXPECT_EQ(KVUtils::ReplaceAll(L"abc", L"x", L"y"), L"abc");
    EXPECT_EQ(KVUtils::ReplaceAll(L"abc", L"abcd", L"y"), L"abc");
    EXPECT_EQ(KVUtils::ReplaceAll(L"abc", L"B", L"y"), L"abc");
}

TEST(StringUtilsTests, ReplaceAll_DoesNotSearchWhatItPutIn)
{
    EXPECT_EQ(KVUtils::ReplaceAll(L"aa", L"a", L"aa"), L"aaaa");
    EXPECT_EQ(KVUtils::ReplaceAll(L"aab", L"ab", L"b"), L"ab"); // not searched again together with the text before it
}

TEST(StringUtilsTests, ReplaceAll_EmptyTextOrNothingToReplace)
{
    EXPECT_EQ(KVUtils::ReplaceAll(L"", L"a", L"b"), L"");
    EXPECT_EQ(KVUtils::ReplaceAll(L"", L"", L"b"), L"");
    EXPECT_EQ(KVUtils::ReplaceAll(L"abc", L"", L"b"), L"abc");
}

// The models define the operations, character by character.
std::wstring TrimmedByModel(std::wstring text)
{
    const auto isSpace = [](wchar_t c) { return c == 32 || (c >= 9 && c <= 13); };
    while (!text.empty() && isSpace(text.front()))
    {
        text.erase(0, 1);
    }
    while (!text.empty() && isSpace(text.back()))
    {
        text.pop_back();
    }
    return text;
}

std::wstring ReplacedByModel(const std::wstring& text, const std::wstring& from, const std::wstring& to)
{
    std::wstring result;
    for (std::size_t i = 0; i < text.size();)
    {
        if (!from.empty() && text.substr(i, from.size()) == from)
        {
            result += to;
            i += from.size();
        }
        else
        {
            result += text[i++];
        }
    }
    return result;
}

TEST(StringUtilsTests, RandomTexts_GiveWhatTheModelsGive)
{
    constexpr int kCases = 20000;
    KVTest::RandomCases random;
    for (int i = 0; i < kCases; ++i)
    {
        const std::wstring text = random.Text(random.Below(12), L"ab \t\r\n\f\v\u00A0");
        const std::wstring from = random.Text(random.Below(3), L"ab ");
        const std::wstring to = random.Text(random.Below(4), L"abc");
        ASSERT_EQ(KVUtils::Trim(text), TrimmedByModel(text));
        ASSERT_EQ(KVUtils::ReplaceAll(text, from, to), ReplacedByModel(text, from, to));
        ASSERT_EQ(KVUtils::StartsWith(text, from), text.substr(0, from.size()) == from);
        ASSERT_EQ(KVUtils::EndsWith(text, from),
                  from.size() <= text.size() && text.substr(text.size() - from.size()) == from);
    }
}
} // namespace
