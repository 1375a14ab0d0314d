#pragma once

#include <cstdint>
#include <string>

#include "analytics_reporting/PrinterProperties.h"

namespace KVAnalyticsReporting
{
/// "Yes" or "No".
std::wstring GetYesNoText(bool value);

/// The result of something: 1 "Yes", 2 "No", 3 "Cancelled", any other number "Unknown".
std::wstring GetResultText(int resultCode);

/// How a wireless set-up was done; the numbers and texts are listed at IAnalyticsEngine::TrackWirelessSetup.
std::wstring GetWirelessSetupText(int kind);

/// The text, or "Unknown" for an empty one.
std::wstring GetTextOrUnknown(const std::wstring& text);

/// What the record says, or "Unknown" when it does not say or says nothing.
std::wstring GetPropertyOrUnknown(const PrinterProperties& record, std::uint32_t dimension);
} // namespace KVAnalyticsReporting
