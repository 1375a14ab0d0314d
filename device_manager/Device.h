#pragma once

#include <string>

#include "device_manager/DeviceKinds.h"

namespace KVDeviceManager
{
/// A device that the caller has discovered or that the user works with. Programs that discover devices implement it and
/// own the objects; an operation that takes one only borrows it.
class IDevice
{
public:
    virtual ~IDevice();
    /// The model as the user knows it; empty when it is not known.
    virtual std::wstring GetModelName() const = 0;
    /// A ConnectionKind.
    virtual int GetConnectionKind() const = 0;
};

/// A device on the network (kConnectionNetwork). Found by a run-time type test on an IDevice.
class INetworkDevice : public IDevice
{
public:
    ~INetworkDevice() override;
    /// A NetworkKind.
    virtual int GetNetworkKind() const = 0;
};
} // namespace KVDeviceManager
