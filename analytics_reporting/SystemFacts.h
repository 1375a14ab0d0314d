#pragma once

#include <string>

namespace KVAnalyticsReporting
{
/// The architecture of the machine, whatever that of the process: "x86", "ARM", "IA64", "x64" or "Unknown".
std::wstring GetProcessorArchitectureText();

/// The name of the operating system (KVUtils::GetOSName), or "Unknown" when it has none.
std::wstring GetOSVersionText();

/// The entry "ProductVersion" in the version resource of the running program, or "Unknown" when there is none or it is
/// empty (`GetModuleFileNameW`, `GetFileVersionInfoW`). Reads the program's file at each call.
std::wstring GetApplicationVersion();
} // namespace KVAnalyticsReporting
