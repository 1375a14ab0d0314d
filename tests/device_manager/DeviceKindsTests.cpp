#include "device_manager/DeviceKinds.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <vector>

namespace
{
using Numbers = std::vector<int>;

// Linked programs pass these numbers.
TEST(DeviceKindsTests, Connections_HaveTheirNumbers)
{
    EXPECT_EQ((Numbers{KVDeviceManager::kConnectionUnknown, KVDeviceManager::kConnectionUsb,
                       KVDeviceManager::kConnectionNetwork, KVDeviceManager::kConnectionBluetooth,
                       KVDeviceManager::kConnectionAll}),
              (Numbers{0, 1, 2, 4, 7}));
}

TEST(DeviceKindsTests, Networks_HaveTheirNumbers)
{
    EXPECT_EQ(
        (Numbers{KVDeviceManager::kNetworkUnknown, KVDeviceManager::kNetworkWired, KVDeviceManager::kNetworkWireless}),
        (Numbers{0, 1, 2}));
}

TEST(DeviceKindsTests, Results_HaveTheirNumbers)
{
    EXPECT_EQ((Numbers{KVDeviceManager::kResultYes, KVDeviceManager::kResultNo, KVDeviceManager::kResultCancelled}),
              (Numbers{1, 2, 3}));
}

TEST(DeviceKindsTests, WirelessSetups_HaveTheirNumbers)
{
    EXPECT_EQ(
        (Numbers{KVDeviceManager::kSetupAlreadyOnNetwork, KVDeviceManager::kSetupAwc, KVDeviceManager::kSetupUsbSow,
                 KVDeviceManager::kSetupFpSow, KVDeviceManager::kSetupUsbToWireless,
                 KVDeviceManager::kSetupReconfigureUsb, KVDeviceManager::kSetupReconfigureFp,
                 KVDeviceManager::kSetupUsbPlusWifi, KVDeviceManager::kSetupWirelessDirect}),
        (Numbers{1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

// A device of another program may answer with any number.
TEST(DeviceKindsTests, AnyNumber_CanBeAKind)
{
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<KVDeviceManager::ConnectionKind>, int>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<KVDeviceManager::NetworkKind>, int>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<KVDeviceManager::ResultKind>, int>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<KVDeviceManager::WirelessSetupKind>, int>));
}
} // namespace
