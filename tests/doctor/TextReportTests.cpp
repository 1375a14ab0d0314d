#include "doctor/report/TextReport.h"

#include <gtest/gtest.h>

namespace
{
using KVAnalyticsDoctor::CTextReport;

std::wstring ShownAs(std::wstring_view value)
{
    CTextReport report;
    report.BeginSection(L"", L"S");
    report.Text(L"", L"label", value);
    const std::wstring text = report.GetText();
    constexpr std::size_t kBefore = 3 + 30; // the title's line, and the label with its blanks
    return text.substr(kBefore, text.size() - kBefore - 2);
}

TEST(TextReportTests, EachKindOfValue)
{
    CTextReport report;
    report.BeginSection(L"a", L"First");
    report.Hint(L"a remark");
    report.Text(L"", L"text", L"x");
    report.Number(L"", L"number", 7, L" pieces");
    report.Bits(L"", L"bits", 0xC0);
    report.Flag(L"", L"flag", true);
    report.Flag(L"", L"other", false);
    report.Missing(L"", L"nothing", L"gone");
    report.EndSection();
    report.BeginSection(L"b", L"Second");
    report.EndSection();
    EXPECT_EQ(report.GetText(), L"First\r\n"
                                L"                              a remark\r\n"
                                L"  text                        x\r\n"
                                L"  number                      7 pieces\r\n"
                                L"  bits                        0x000000C0\r\n"
                                L"  flag                        yes\r\n"
                                L"  other                       no\r\n"
                                L"  nothing                     gone\r\n"
                                L"\r\n"
                                L"Second\r\n");
}

TEST(TextReportTests, Lists)
{
    CTextReport report;
    report.BeginSection(L"a", L"S");
    report.BeginList(L"", L"none of these");
    report.EndList();
    report.BeginList(L"", L"one");
    report.BeginItem();
    report.Text(L"", L"value", L"x");
    report.EndItem();
    report.EndList();
    report.Text(L"", L"after", L"y");
    report.EndSection();
    EXPECT_EQ(report.GetText(), L"S\r\n"
                                L"  none of these\r\n"
                                L"    none\r\n"
                                L"  one\r\n"
                                L"    -\r\n"
                                L"      value                   x\r\n"
                                L"  after                       y\r\n");
}

TEST(TextReportTests, EmptyTextIsNamed)
{
    EXPECT_EQ(ShownAs(L""), L"(empty)");
}

TEST(TextReportTests, ControlCharactersAreShownAsNumbers)
{
    EXPECT_EQ(ShownAs(std::wstring_view(L"a\x00\x1B[b\r\n\x7F\x85\x202E\x2066\x200F", 12)),
              L"a\\u0000\\u001B[b\\u000D\\u000A\\u007F\\u0085\\u202E\\u2066\\u200F");
    EXPECT_EQ(ShownAs(L"\xE9\x4E2D ~"), L"\xE9\x4E2D ~");
}

TEST(TextReportTests, LongValueIsCut)
{
    EXPECT_EQ(ShownAs(std::wstring(400, L'x')), std::wstring(400, L'x'));
    EXPECT_EQ(ShownAs(std::wstring(401, L'x')), std::wstring(400, L'x') + L"... (401 characters)");
}

TEST(TextReportTests, LongLabelIsFollowedByABlank)
{
    CTextReport report;
    report.Text(L"", L"a label that is much longer than the others", L"x");
    EXPECT_EQ(report.GetText(), L"a label that is much longer than the others x\r\n");
}
} // namespace
