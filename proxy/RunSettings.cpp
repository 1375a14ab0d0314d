#include "proxy/RunSettings.h"

#include "utils/SxSConfig.h"

namespace KVAnalyticsProxy
{
namespace
{
constexpr wchar_t kAnalyticsSection[] = L"Analytics";
} // namespace

void ReadPropertyIdPrefix(std::wstring& prefix)
{
    if (!KVUtils::CSxSConfig::_GetIniFile().ReadString(kAnalyticsSection, L"PropertyIDPrefix", prefix))
    {
        prefix.clear();
    }
}

std::wstring MakePropertyId(const std::wstring& prefix)
{
    return prefix + L"3";
}

bool ReadUseSsl()
{
    bool useSsl = true;
    // An absent or empty value leaves it true; any text except "true" gives false.
    KVUtils::CSxSConfig::_GetIniFile().GetBool(kAnalyticsSection, L"UseSSL", useSsl);
    return useSsl;
}
} // namespace KVAnalyticsProxy
