#include "doctor/findings/ProgramFindings.h"

#include "analytics_reporting/SystemFacts.h"
#include "proxy/MshtaPath.h"
#include "utils/FileUtils.h"
#include "utils/PathUtils.h"

namespace KVAnalyticsDoctor
{
ProgramFindings FindProgram()
{
    ProgramFindings findings;
    findings.path = KVUtils::CombinePaths(KVUtils::CPathUtils::GetPathOfExecutable(), L"KVAnalyticsProxy.exe");
    findings.isPresent = KVUtils::FileExists(findings.path);
    findings.version = KVAnalyticsReporting::GetVersionOfProgram(findings.path);
    findings.hostPath = KVAnalyticsProxy::GetMshtaPath();
    findings.isHostPresent = KVUtils::FileExists(findings.hostPath);
    return findings;
}
} // namespace KVAnalyticsDoctor
