#pragma once

#include <cstdint>
#include <string>

namespace KVUtils
{
/// The architecture of the machine, which may differ from that of the process: PROCESSOR_ARCHITECTURE_AMD64 (9), _IA64
/// (6), _INTEL (0) and so on (`GetNativeSystemInfo`). PROCESSOR_ARCHITECTURE_UNKNOWN (0xFFFF) if that is unavailable.
std::uint16_t GetNativeProcessorArchitecture();

/// The version that the system reports to this program (`VerifyVersionInfoW`, `GetVersionExW`). From Windows 8.1 on,
/// systems report 6.2 to a program whose manifest does not name them. If a call fails, the result is false.
bool IsWindows8Point1OrGreater();
bool IsWindows8Point1();
bool IsWindowsXP();

/// The name of the operating system for reports, for example "Microsoft Windows 7 64 bit". Deliberate: a system that
/// reports a version after 8.1, or an unknown one, is "Unsupported OS", and a system that reports 6.2 for compatibility
/// is "Microsoft Windows 8". Receivers of the reports know these names.
///
/// Determined once per process. The first call is not synchronised with calls on other threads.
std::wstring GetOSName();
} // namespace KVUtils
