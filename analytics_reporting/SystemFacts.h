#pragma once

#include <string>

namespace KVAnalyticsReporting
{
/// The architecture of the machine, not of the process: "x86", "ARM", "IA64", "x64" or "Unknown".
std::wstring GetProcessorArchitectureText();

/// The name of the operating system (KVUtils::GetOSName), or "Unknown" if that is empty.
std::wstring GetOSVersionText();

/// The entry "ProductVersion" in the version resource of the running program (`GetModuleFileNameW`,
/// `GetFileVersionInfoW`), or "Unknown" if it is missing or empty. Reads the program's file at each call.
std::wstring GetApplicationVersion();

/// The same for the program of that path, whether it runs or not.
std::wstring GetVersionOfProgram(const std::wstring& path);
} // namespace KVAnalyticsReporting
