#include "utils/base/AsciiCase.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace
{
using KVUtils::CompareIgnoringAsciiCase;

TEST(AsciiCaseTests, ToLower_ChangesAToZOnly)
{
    for (wchar_t character = 0; character < 0x2000; ++character)
    {
        const bool isUpper = character >= 0x41 && character <= 0x5A;
        EXPECT_EQ(KVUtils::ToLowerAscii(character), isUpper ? character + 0x20 : character) << unsigned{character};
    }
}

TEST(AsciiCaseTests, Compare_LettersThatDifferInCase_AreEqual)
{
    EXPECT_EQ(CompareIgnoringAsciiCase(L"abcdefghijklmnopqrstuvwxyz", L"ABCDEFGHIJKLMNOPQRSTUVWXYZ"), 0);
    EXPECT_EQ(CompareIgnoringAsciiCase(L"", L""), 0);
}

TEST(AsciiCaseTests, Compare_CharactersBeyondAsciiAndBesideTheLetters_KeepTheirCase)
{
    EXPECT_NE(CompareIgnoringAsciiCase(L"\u00E4", L"\u00C4"), 0);
    EXPECT_NE(CompareIgnoringAsciiCase(L"\u212A", L"k"), 0); // the Kelvin sign
    EXPECT_NE(CompareIgnoringAsciiCase(L"@", L"`"), 0);      // the neighbours of A and Z, a and z
    EXPECT_NE(CompareIgnoringAsciiCase(L"[", L"{"), 0);
}

TEST(AsciiCaseTests, Compare_DoesNotDependOnTheLocale)
{
    std::setlocale(LC_ALL, "");
    EXPECT_NE(CompareIgnoringAsciiCase(L"\u00E4", L"\u00C4"), 0);
    EXPECT_EQ(CompareIgnoringAsciiCase(L"I", L"i"), 0);
}

TEST(AsciiCaseTests, Compare_ShorterTextThatTheOtherBeginsWith_SortsFirst)
{
    EXPECT_LT(CompareIgnoringAsciiCase(L"link", L"LINKID"), 0);
    EXPECT_GT(CompareIgnoringAsciiCase(L"LINKID", L"link"), 0);
    EXPECT_LT(CompareIgnoringAsciiCase(L"", L"a"), 0);
}

TEST(AsciiCaseTests, Compare_OrdersByTheLowerCaseLetters)
{
    EXPECT_LT(CompareIgnoringAsciiCase(L"a", L"B"), 0);
    EXPECT_LT(CompareIgnoringAsciiCase(L"A", L"b"), 0);
    EXPECT_LT(CompareIgnoringAsciiCase(L"_", L"A"), 0); // between Z and a
    EXPECT_GT(CompareIgnoringAsciiCase(L"\uFFFF", L"z"), 0);
    EXPECT_GT(CompareIgnoringAsciiCase(L"b", L"AA"), 0);
}
} // namespace
