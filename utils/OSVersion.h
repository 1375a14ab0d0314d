#pragma once

#include <cstdint>
#include <string>

namespace KVUtils
{
/// The architecture of the machine, whatever that of the process: PROCESSOR_ARCHITECTURE_AMD64 (9), _IA64 (6), _INTEL
/// (0) and so on, or PROCESSOR_ARCHITECTURE_UNKNOWN (0xFFFF) on a system that cannot tell (`GetNativeSystemInfo`).
std::uint16_t GetNativeProcessorArchitecture();

/// What the system reports to this program (`VerifyVersionInfoW`, `GetVersionExW`). Systems from Windows 8.1 on report
/// themselves as 6.2 to a program whose manifest does not name them. A call that fails counts as "no".
bool IsWindows8Point1OrGreater();
bool IsWindows8Point1();
bool IsWindowsXP();

/// The name of the operating system for reports, for example "Microsoft Windows 7 64 bit". Deliberate: what reports
/// itself as newer than 8.1, or is not known at all, is "Unsupported OS", and what reports itself as 6.2 for the sake
/// of compatibility is "Microsoft Windows 8".
///
/// Worked out once per process and kept. The first call is not synchronised with calls on other threads.
std::wstring GetOSName();
} // namespace KVUtils
