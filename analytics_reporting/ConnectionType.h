#pragma once

#include <string>

namespace KVAnalyticsReporting
{
/// The text that hits carry for a printer's connection: "USB", "Network", "Network-Wired", "Network-Wireless",
/// "Bluetooth", "All" or "Unknown".
///
/// connectionKind: 1 USB, 2 network, 4 Bluetooth, 7 all, any other number unknown.
/// networkKind: 1 wired, 2 wireless, any other number not told; counts for a network connection only.
std::wstring GetConnectionTypeText(int connectionKind, int networkKind);
} // namespace KVAnalyticsReporting
