#pragma once

#include <string>

namespace KVAnalyticsProxy
{
/// The name under which the client keeps its files and hits name the program.
inline constexpr wchar_t kApplicationName[] = L"LumoLink";

/// What a run reads from config.ini. An unreadable file counts as one without keys. Model name and data folder are
/// KVUtils::CSxSConfig's.

/// Section "Analytics", key "PropertyIDPrefix"; empty if it is absent.
void ReadPropertyIdPrefix(std::wstring& prefix);
/// The property ID that hits of that prefix name.
std::wstring MakePropertyId(const std::wstring& prefix);
/// Section "Analytics", key "UseSSL": true if it is absent or empty, and otherwise for "true" in any letter case only.
bool ReadUseSsl();
} // namespace KVAnalyticsProxy
