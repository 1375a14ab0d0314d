#include "device_manager/Device.h"

#include <gtest/gtest.h>

#include <memory>

namespace
{
class LocalDevice : public KVDeviceManager::IDevice
{
public:
    std::wstring GetModelName() const override { return L"Local"; }
    int GetConnectionKind() const override { return 1; }
};

class NetworkDevice : public KVDeviceManager::INetworkDevice
{
public:
    std::wstring GetModelName() const override { return L"Network"; }
    int GetConnectionKind() const override { return 2; }
    int GetNetworkKind() const override { return 1; }
};

TEST(DeviceTests, NetworkDevice_IsFoundByARunTimeTypeTest)
{
    const std::unique_ptr<KVDeviceManager::IDevice> local = std::make_unique<LocalDevice>();
    const std::unique_ptr<KVDeviceManager::IDevice> network = std::make_unique<NetworkDevice>();
    EXPECT_EQ(dynamic_cast<const KVDeviceManager::INetworkDevice*>(local.get()), nullptr);
    const auto* found = dynamic_cast<const KVDeviceManager::INetworkDevice*>(network.get());
    ASSERT_NE(found, nullptr);
    EXPECT_EQ(found->GetNetworkKind(), 1);
    EXPECT_EQ(found->GetConnectionKind(), 2);
    EXPECT_EQ(found->GetModelName(), L"Network");
}
} // namespace
