#pragma once

#include <string>

namespace KVAnalyticsReporting
{
/// Facts about a printer driver, which the spooler keeps in the registry (`RegQueryValueExW`). "Unknown" if the driver
/// is not found there, the value has a different type or size, or the processor is neither x86, x64, IA64 nor ARM. Only
/// drivers for the machine's own architecture are considered, those of version 3 before those of version 4.
///
/// driverName: exactly the spooler's name of the driver. On any thread.

/// The driver's model: "V3", "V4" or "Unknown".
std::wstring GetDriverType(const std::wstring& driverName);
/// The driver's own version as its maker wrote it: "Unknown" without such a value, empty if the value is the empty
/// text.
std::wstring GetDriverVersion(const std::wstring& driverName);
} // namespace KVAnalyticsReporting
