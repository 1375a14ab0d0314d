#pragma once

#include <string>

#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/PrinterProperties.h"

namespace KVAnalyticsReporting
{
/// "Yes" or "No".
std::wstring GetYesNoText(bool value);

/// The text that hits carry for a KVDeviceManager::ResultKind.
std::wstring GetResultText(int resultCode);

/// The text that hits carry for a KVDeviceManager::WirelessSetupKind.
std::wstring GetWirelessSetupText(int kind);

/// The text, or "Unknown" for an empty one.
std::wstring GetTextOrUnknown(const std::wstring& text);

/// The record's value for the dimension, or "Unknown" if the record has none or an empty one.
std::wstring GetPropertyOrUnknown(const PrinterProperties& record, const Dimension& dimension);
} // namespace KVAnalyticsReporting
