#include "proxy/Consent.h"

#include "utils/FileUtils.h"
#include "utils/PathUtils.h"
#include "utils/SxSConfig.h"

namespace KVAnalyticsProxy
{
Consent FindConsent()
{
    Consent consent;
    consent.programPath = KVUtils::CPathUtils::GetPathOfExecutable() + L"\\NorvikCustPartic.exe";
    consent.programPresent = KVUtils::FileExists(consent.programPath);
    consent.markPath = KVUtils::CSxSConfig::GetDataFolder() + L"\\NorvikCustPartic" + L"\\OptedOut";
    consent.optedOut = KVUtils::FileExists(consent.markPath);
    return consent;
}
} // namespace KVAnalyticsProxy
