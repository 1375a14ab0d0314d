#include "device_manager/DeviceManagerLogModules.h"

#include <gmock/gmock.h>

#include "tests/support/LogHeader.h"

namespace
{
using testing::HasSubstr;

TEST(DeviceManagerLogModulesTests, Modules_HaveTheirNames)
{
    EXPECT_EQ(KVDeviceManager::g_logModule.GetName(), L"DeviceManagerLib");
    EXPECT_EQ(KVDeviceManager::g_discoveryLogModule.GetName(), L"DiscoveryLib");
}

TEST(DeviceManagerLogModulesTests, LogModule_TellsItsBuildTime)
{
    EXPECT_THAT(KVTest::GetLogHeader(KVDeviceManager::g_logModule),
                HasSubstr(L"(++)         Built on: Aug 22 2014 04:48:49\r\n"));
}

TEST(DeviceManagerLogModulesTests, DiscoveryLogModule_TellsItsBuildTime)
{
    EXPECT_THAT(KVTest::GetLogHeader(KVDeviceManager::g_discoveryLogModule),
                HasSubstr(L"(++)         Built on: Aug 22 2014 04:48:19\r\n"));
}
} // namespace
