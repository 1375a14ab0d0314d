#include "device_manager/Device.h"

namespace KVDeviceManager
{
// Out of line, so that the type information for the run-time type test is emitted only once.
IDevice::~IDevice() = default;

INetworkDevice::~INetworkDevice() = default;
} // namespace KVDeviceManager
