#pragma once

#include "logging/LogModule.h"

namespace KVDeviceManager
{
/// Through which this library logs: "DeviceManagerLib" in the log settings.
extern KVLogging::CLogModule g_logModule;

/// "DiscoveryLib" in the log settings. Nothing of this library logs through it; it stands here for the discovery of
/// devices, which is linked with this library in other programs.
extern KVLogging::CLogModule g_discoveryLogModule;
} // namespace KVDeviceManager
