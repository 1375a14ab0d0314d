#include "doctor/Doctor.h"

#include <gtest/gtest.h>

#include <string>

#include "doctor/report/Description.h"
#include "doctor/report/JsonReport.h"
#include "tests/support/TemporaryFolder.h"
#include "utils/PathOfExecutableOverride.h"

namespace
{
using KVAnalyticsDoctor::Answer;
using KVAnalyticsDoctor::AskDoctor;
using KVAnalyticsDoctor::Findings;
using KVAnalyticsDoctor::Options;

// The report of a user with this id, one of whose hits waits.
std::wstring Report(const std::wstring& clientId, const Options& options)
{
    Findings findings;
    findings.client.emplace().clientId = clientId;
    findings.queue.emplace().view.requests = {L"/collect?cid=" + clientId};
    KVAnalyticsDoctor::CJsonReport report;
    Describe(findings, KVAnalyticsDoctor::GetVerdicts()[0], options, report);
    return report.GetText();
}

TEST(DoctorTests, UnknownArgument_IsAnErrorAndNothingElse)
{
    const Answer answer = AskDoctor({L"/json", L"/what"});
    EXPECT_EQ(answer.exitCode, 2);
    EXPECT_EQ(answer.text, L"");
    EXPECT_EQ(answer.errorText, L"KVAnalyticsDoctor: unknown argument /what; /? shows the known ones\r\n");
}

TEST(DoctorTests, Help_NamesEachExitCode)
{
    const Answer answer = AskDoctor({L"/?"});
    EXPECT_EQ(answer.exitCode, 0);
    EXPECT_EQ(answer.errorText, L"");
    for (const KVAnalyticsDoctor::Verdict& verdict : KVAnalyticsDoctor::GetVerdicts())
    {
        EXPECT_NE(answer.text.find(L" " + std::to_wstring(verdict.exitCode) + L"  " + verdict.text + L"\r\n"),
                  std::wstring::npos)
            << verdict.exitCode;
    }
}

TEST(DoctorTests, FolderWithoutTheProgram)
{
    const KVTest::TemporaryFolder folder;
    KVUtils::g_pathOfExecutableOverride = folder.GetPath();
    const Answer json = AskDoctor({L"/json"});
    const Answer text = AskDoctor({});
    KVUtils::g_pathOfExecutableOverride.clear();
    EXPECT_EQ(json.exitCode, 13);
    EXPECT_EQ(json.text.front(), L'{');
    EXPECT_TRUE(json.isComplete);
    EXPECT_EQ(text.exitCode, 13);
    EXPECT_TRUE(text.text.starts_with(L"Verdict\r\n"));
}

TEST(DoctorTests, ClientId_IsShownWholeOnlyOnRequest)
{
    const std::wstring id = L"3f2504e0-4f89-11d3-9a0c-0305e82c3301";
    Options options;
    options.hits = true;
    EXPECT_EQ(Report(id, options).find(L"3f250"), std::wstring::npos);
    EXPECT_NE(Report(id, options).find(L"3f25..."), std::wstring::npos);
    options.id = true;
    EXPECT_NE(Report(id, options).find(id), std::wstring::npos);
}

TEST(DoctorTests, ShortClientId_IsNotShownAtAll)
{
    EXPECT_EQ(Report(L"abcdefgh", {}).find(L"abcd"), std::wstring::npos);
}

TEST(DoctorTests, HitsAreDecodedOnlyOnRequest)
{
    Options options;
    EXPECT_EQ(Report(L"x", options).find(L"decodedHits"), std::wstring::npos);
    options.hits = true;
    EXPECT_NE(Report(L"x", options).find(L"decodedHits"), std::wstring::npos);
}
} // namespace
