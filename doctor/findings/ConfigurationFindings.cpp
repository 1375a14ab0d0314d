#include "doctor/findings/ConfigurationFindings.h"

#include "proxy/RunSettings.h"
#include "utils/FileUtils.h"
#include "utils/SxSConfig.h"

namespace KVAnalyticsDoctor
{
namespace
{
using Source = ConfigurationFindings::DataFolderSource;
} // namespace

ConfigurationFindings FindConfiguration()
{
    ConfigurationFindings findings;
    const KVUtils::IIniFile& ini = KVUtils::CSxSConfig::_GetIniFile();
    findings.path = ini.GetFile();
    findings.isPresent = KVUtils::FileExists(findings.path);
    KVAnalyticsProxy::ReadPropertyIdPrefix(findings.propertyIdPrefix);
    findings.propertyId = KVAnalyticsProxy::MakePropertyId(findings.propertyIdPrefix);
    ini.ReadString(L"Analytics", L"UseSSL", findings.useSslText);
    findings.useSsl = KVAnalyticsProxy::ReadUseSsl();
    findings.modelName = KVUtils::CSxSConfig::GetModelName();
    findings.dataFolder = KVUtils::CSxSConfig::GetDataFolder();
    std::wstring configured;
    const bool isConfigured = ini.ReadString(L"Directories", L"DataFolder", configured) && !configured.empty();
    findings.dataFolderSource = isConfigured                   ? Source::kConfigured
                                : !findings.dataFolder.empty() ? Source::kDefault
                                                               : Source::kNone;
    return findings;
}
} // namespace KVAnalyticsDoctor
