#include "device_manager/DeviceManagerLogModules.h"

namespace KVDeviceManager
{
// The times are fixed, so that two builds of one source are equal.
KVLogging::CLogModule g_logModule("DeviceManagerLib", "04:48:49");

KVLogging::CLogModule g_discoveryLogModule("DiscoveryLib", "04:48:19");
} // namespace KVDeviceManager
