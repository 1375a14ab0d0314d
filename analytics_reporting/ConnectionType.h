#pragma once

#include <string>

namespace KVAnalyticsReporting
{
/// The text that hits carry for a printer's connection, as device_manager/DeviceKinds.h lists it. connectionKind: a
/// KVDeviceManager::ConnectionKind; networkKind: a KVDeviceManager::NetworkKind, which counts for a network only.
std::wstring GetConnectionTypeText(int connectionKind, int networkKind);
} // namespace KVAnalyticsReporting
