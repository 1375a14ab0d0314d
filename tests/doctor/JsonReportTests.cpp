#include "doctor/report/JsonReport.h"

#include <gtest/gtest.h>

namespace
{
using KVAnalyticsDoctor::CJsonReport;

TEST(JsonReportTests, Empty)
{
    EXPECT_EQ(CJsonReport().GetText(), L"{\n}\n");
}

TEST(JsonReportTests, EachKindOfValue)
{
    CJsonReport report;
    report.BeginSection(L"a", L"A");
    report.Hint(L"for people");
    report.Text(L"text", L"", L"x");
    report.Number(L"number", L"", -7, L" pieces");
    report.Bits(L"bits", L"", 0xFFFFFFFF);
    report.Flag(L"yes", L"", true);
    report.Flag(L"no", L"", false);
    report.Missing(L"missing", L"", L"gone");
    report.EndSection();
    report.Missing(L"b", L"B", L"unknown");
    EXPECT_EQ(report.GetText(), L"{\n"
                                L"  \"a\": {\n"
                                L"    \"text\": \"x\",\n"
                                L"    \"number\": -7,\n"
                                L"    \"bits\": 4294967295,\n"
                                L"    \"yes\": true,\n"
                                L"    \"no\": false,\n"
                                L"    \"missing\": null\n"
                                L"  },\n"
                                L"  \"b\": null\n"
                                L"}\n");
}

TEST(JsonReportTests, Lists)
{
    CJsonReport report;
    report.BeginSection(L"a", L"A");
    report.BeginList(L"none", L"");
    report.EndList();
    report.BeginList(L"two", L"");
    for (const wchar_t* const value : {L"x", L"y"})
    {
        report.BeginItem();
        report.Text(L"value", L"", value);
        report.EndItem();
    }
    report.EndList();
    report.EndSection();
    EXPECT_EQ(report.GetText(), L"{\n"
                                L"  \"a\": {\n"
                                L"    \"none\": [],\n"
                                L"    \"two\": [\n"
                                L"      {\n        \"value\": \"x\"\n      },\n"
                                L"      {\n        \"value\": \"y\"\n      }\n"
                                L"    ]\n"
                                L"  }\n"
                                L"}\n");
}

TEST(JsonReportTests, EverythingBeyondAsciiIsEscaped)
{
    CJsonReport report;
    report.Text(L"a", L"", std::wstring_view(L"\"\\\x00\x1F\x7F\xE9\xD83D\xDE00\xDC00", 9));
    EXPECT_EQ(report.GetText(), L"{\n  \"a\": \"\\\"\\\\\\u0000\\u001f\\u007f\\u00e9\\ud83d\\ude00\\udc00\"\n}\n");
}

TEST(JsonReportTests, LongValueIsWhole)
{
    CJsonReport report;
    report.Text(L"a", L"", std::wstring(5000, L'x'));
    EXPECT_EQ(report.GetText(), L"{\n  \"a\": \"" + std::wstring(5000, L'x') + L"\"\n}\n");
}
} // namespace
