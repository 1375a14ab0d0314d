#include "logging/line/TextFormat.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace
{
using namespace KVLogging;

TEST(TextFormatTests, FormatText_FollowsTheWideConventionsOfTheWindowsRuntime)
{
    EXPECT_EQ(FormatText(L"%s %S %ls %hs", L"wide", "narrow", L"wide", "narrow"), L"wide narrow wide narrow");
    EXPECT_EQ(FormatText(L"%I64d %10.10I64d", std::int64_t{-5}, std::int64_t{4711}), L"-5 0000004711");
    EXPECT_EQ(FormatText(L"%d %u %04X 0x%08x %c %%", -1, 2u, 0xAB, 0xCDEFu, L'x'), L"-1 2 00AB 0x0000cdef x %");
}

TEST(TextFormatTests, FormatText_NoArguments)
{
    EXPECT_EQ(FormatText(L"plain"), L"plain");
    EXPECT_EQ(FormatText(L""), L"");
}

TEST(TextFormatTests, FormatText_AnyLength)
{
    for (const std::size_t length : {1u, 259u, 260u, 261u, 100000u})
    {
        const std::wstring text(length, L'x');
        EXPECT_EQ(FormatText(L"<%s>", text.c_str()), L"<" + text + L">");
    }
}

TEST(TextFormatTests, FormatText_NullText_IsNoFault)
{
    const wchar_t* const nothing = nullptr;
    EXPECT_EQ(FormatText(L"%s", nothing), L"(null)");
}

TEST(TextFormatTests, AppendFormatted_AppendsWithinTheBuffer)
{
    ScratchBuffer buffer{};
    std::wstring text = L"before ";
    AppendFormatted(text, buffer, L"%d", 5);
    EXPECT_EQ(text, L"before 5");
    const std::wstring longText(300, L'x');
    AppendFormatted(text, buffer, L"%s", longText.c_str());
    EXPECT_EQ(text, L"before 5" + std::wstring(kScratchLength - 1, L'x'));
    // As much as fits exactly.
    text.clear();
    AppendFormatted(text, buffer, L"%s", longText.substr(0, kScratchLength - 1).c_str());
    EXPECT_EQ(text, longText.substr(0, kScratchLength - 1));
}
} // namespace
