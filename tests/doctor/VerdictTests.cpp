#include "doctor/Verdict.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "proxy/ProxyResults.h"

namespace
{
using KVAnalyticsDoctor::Findings;
using KVAnalyticsDoctor::Judge;

// Of a run that would report.
Findings GoodFindings()
{
    Findings findings;
    findings.program.emplace().isPresent = true;
    findings.consent.emplace().programPresent = true;
    findings.client.emplace().canStoreClientId = true;
    return findings;
}

TEST(DoctorVerdictTests, EverythingThere_WouldReport)
{
    EXPECT_EQ(Judge(GoodFindings()).exitCode, 0);
    EXPECT_EQ(Judge(GoodFindings()).programResult, KVAnalyticsProxy::PROXY_S_DONE);
}

TEST(DoctorVerdictTests, ClientIdThatIsThere_NeedsNoWriting)
{
    Findings findings = GoodFindings();
    findings.client->canStoreClientId = false;
    findings.client->clientId = L"x";
    EXPECT_EQ(Judge(findings).exitCode, 0);
}

TEST(DoctorVerdictTests, Consent)
{
    Findings findings = GoodFindings();
    findings.consent->optedOut = true;
    EXPECT_EQ(Judge(findings).exitCode, 11);
    EXPECT_EQ(Judge(findings).programResult, KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN);
    findings.consent->programPresent = false;
    EXPECT_EQ(Judge(findings).exitCode, 10);
    EXPECT_EQ(Judge(findings).programResult, KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN);
}

TEST(DoctorVerdictTests, NoClientId)
{
    Findings findings = GoodFindings();
    findings.client->canStoreClientId = false;
    EXPECT_EQ(Judge(findings).exitCode, 12);
    EXPECT_EQ(Judge(findings).programResult, KVAnalyticsProxy::PROXY_E_INIT_FAILED);
}

TEST(DoctorVerdictTests, NoProgram)
{
    Findings findings = GoodFindings();
    findings.program->isPresent = false;
    EXPECT_EQ(Judge(findings).exitCode, 13);
    EXPECT_FALSE(Judge(findings).programResult);
}

TEST(DoctorVerdictTests, MissingPartThatARunNeeds_IsNotDetermined)
{
    Findings findings = GoodFindings();
    findings.program.reset();
    EXPECT_EQ(Judge(findings).exitCode, 14);
    findings = GoodFindings();
    findings.consent.reset();
    EXPECT_EQ(Judge(findings).exitCode, 14);
    findings = GoodFindings();
    findings.client.reset();
    EXPECT_EQ(Judge(findings).exitCode, 14);
}

TEST(DoctorVerdictTests, ConsentDecidesBeforeTheClientIsKnown)
{
    Findings findings = GoodFindings();
    findings.consent->optedOut = true;
    findings.client.reset();
    EXPECT_EQ(Judge(findings).exitCode, 11);
}

TEST(DoctorVerdictTests, HostThatWasAskedAndNotReached)
{
    Findings findings = GoodFindings();
    findings.isReachAsked = true;
    EXPECT_EQ(Judge(findings).exitCode, 15); // no answer in time
    findings.reach.emplace();
    EXPECT_EQ(Judge(findings).exitCode, 15);
    findings.reach->isReached = true;
    EXPECT_EQ(Judge(findings).exitCode, 0);
}

TEST(DoctorVerdictTests, ExitCodesAndReasonsDiffer)
{
    std::set<int> codes;
    std::set<std::wstring> reasons;
    for (const KVAnalyticsDoctor::Verdict& verdict : KVAnalyticsDoctor::GetVerdicts())
    {
        codes.insert(verdict.exitCode);
        reasons.insert(verdict.reason);
    }
    EXPECT_EQ(codes, (std::set<int>{0, 10, 11, 12, 13, 14, 15}));
    EXPECT_EQ(reasons.size(), codes.size());
}
} // namespace
