#pragma once

#include <string>

#include "utils/SxSConfig.h"

namespace KVAnalyticsProxy
{
/// The name under which the client keeps its files and hits name the program.
inline constexpr wchar_t kApplicationName[] = L"LumoLink";

/// What a run reads from config.ini. An unreadable file counts as one without keys. Model name and data folder are
/// KVUtils::CSxSConfig's. Inline: in a source of its own the code is larger, and the size of the program is bounded.
inline constexpr wchar_t kAnalyticsSection[] = L"Analytics";

/// Section "Analytics", key "PropertyIDPrefix"; empty if it is absent.
inline void ReadPropertyIdPrefix(std::wstring& prefix)
{
    if (!KVUtils::CSxSConfig::_GetIniFile().ReadString(kAnalyticsSection, L"PropertyIDPrefix", prefix))
    {
        prefix.clear();
    }
}

/// The property ID that hits of that prefix name.
inline std::wstring MakePropertyId(const std::wstring& prefix)
{
    return prefix + L"3";
}

/// Section "Analytics", key "UseSSL": true if it is absent or empty, and otherwise for "true" in any letter case only.
inline bool ReadUseSsl()
{
    bool useSsl = true;
    KVUtils::CSxSConfig::_GetIniFile().GetBool(kAnalyticsSection, L"UseSSL", useSsl);
    return useSsl;
}
} // namespace KVAnalyticsProxy
