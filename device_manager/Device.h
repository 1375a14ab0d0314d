#pragma once

#include <string>

namespace KVDeviceManager
{
/// A device that the caller has discovered or that the user works with. Implemented by the programs that discover
/// devices; whoever hands one to an operation keeps owning it.
class IDevice
{
public:
    virtual ~IDevice();
    /// The model as the user knows it; empty when it is not known.
    virtual std::wstring GetModelName() const = 0;
    /// How the device is connected: 1 USB, 2 network, 4 Bluetooth, 7 all; any other number is an unknown connection.
    virtual int GetConnectionKind() const = 0;
};

/// A device on the network (connection kind 2). Found by a run-time type test on an IDevice.
class INetworkDevice : public IDevice
{
public:
    ~INetworkDevice() override;
    /// 1 wired, 2 wireless; any other number is a network of unknown kind.
    virtual int GetNetworkKind() const = 0;
};
} // namespace KVDeviceManager
