#include "doctor/Verdict.h"

#include "proxy/ProxyResults.h"

namespace KVAnalyticsDoctor
{
namespace
{
using KVAnalyticsProxy::PROXY_E_INIT_FAILED;
using KVAnalyticsProxy::PROXY_S_DONE;
using KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN;

// Not 3, with which a program ends that lacks memory.
constexpr Verdict kVerdicts[] = {
    {0, L"wouldReport", L"A run would report.", PROXY_S_DONE, L"PROXY_S_DONE"},
    {10, L"noParticipationProgram",
     L"A run would not report: the participation program NorvikCustPartic.exe is not beside the program.",
     PROXY_S_NOT_OPTED_IN, L"PROXY_S_NOT_OPTED_IN"},
    {11, L"optedOut", L"A run would not report: the user has opted out; the mark OptedOut exists.",
     PROXY_S_NOT_OPTED_IN, L"PROXY_S_NOT_OPTED_IN"},
    {12, L"noClientId", L"A run would not report: there is no client id, and none can be stored.", PROXY_E_INIT_FAILED,
     L"PROXY_E_INIT_FAILED"},
    {13, L"programMissing", L"There can be no run: KVAnalyticsProxy.exe is not beside the doctor.", std::nullopt, L""},
    {14, L"notDetermined",
     L"Whether a run would report could not be determined, for lack of time, of memory or of access.", std::nullopt,
     L""},
    {15, L"hostNotReached", L"A run would not get rid of its report: the collection host cannot be reached.",
     PROXY_S_DONE, L"PROXY_S_DONE"},
};
constexpr std::size_t kWouldReport = 0;
constexpr std::size_t kNoParticipationProgram = 1;
constexpr std::size_t kOptedOut = 2;
constexpr std::size_t kNoClientId = 3;
constexpr std::size_t kProgramMissing = 4;
constexpr std::size_t kNotDetermined = 5;
constexpr std::size_t kHostNotReached = 6;

std::size_t Decide(const Findings& findings) noexcept
{
    if (!findings.program)
    {
        return kNotDetermined;
    }
    if (!findings.program->isPresent)
    {
        return kProgramMissing;
    }
    if (!findings.consent)
    {
        return kNotDetermined;
    }
    if (!findings.consent->IsGiven())
    {
        return findings.consent->programPresent ? kOptedOut : kNoParticipationProgram;
    }
    if (!findings.client)
    {
        return kNotDetermined;
    }
    if (!findings.client->CanIdentify())
    {
        return kNoClientId;
    }
    const bool isReached = findings.reach && findings.reach->isReached;
    return findings.isReachAsked && !isReached ? kHostNotReached : kWouldReport;
}
} // namespace

std::span<const Verdict> GetVerdicts() noexcept
{
    return kVerdicts;
}

const Verdict& Judge(const Findings& findings) noexcept
{
    return kVerdicts[Decide(findings)];
}
} // namespace KVAnalyticsDoctor
