#pragma once

#include <string>

namespace KVAnalyticsReporting
{
/// Facts of a printer driver, from what the spooler keeps of it in the registry (`RegQueryValueExW`). "Unknown" when
/// the driver is not found there, the value is not of its type or size, or the processor is neither x86, x64, IA64 nor
/// ARM. The drivers of the machine's own architecture are looked at, first those of version 3, then those of version 4.
///
/// driverName: exactly as the spooler calls the driver. On any thread.

/// The driver's model: "V3", "V4" or "Unknown".
std::wstring GetDriverType(const std::wstring& driverName);
/// The driver's own version as its maker wrote it, "Unknown" when none is told, empty when it is the empty text.
std::wstring GetDriverVersion(const std::wstring& driverName);
} // namespace KVAnalyticsReporting
