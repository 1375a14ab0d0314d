#include "device_manager/Device.h"

namespace KVDeviceManager
{
// Out of line, so that the type information behind the run-time type test stands in one place.
IDevice::~IDevice() = default;

INetworkDevice::~INetworkDevice() = default;
} // namespace KVDeviceManager
