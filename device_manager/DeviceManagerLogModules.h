#pragma once

#include "logging/LogModule.h"

namespace KVDeviceManager
{
/// The log module of this library, "DeviceManagerLib" in the log settings.
extern KVLogging::CLogModule g_logModule;

/// The log module "DiscoveryLib". Nothing in this library logs through it: it serves the discovery of devices, which
/// other programs link together with this library.
extern KVLogging::CLogModule g_discoveryLogModule;
} // namespace KVDeviceManager
