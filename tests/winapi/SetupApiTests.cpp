#include "winapi/SetupApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::ISetupApi

// In slot order. SAME operations forward to the system function of their name, OWN ones have tests of their own below.
#define KV_OPERATIONS(SAME, OWN)                                                                                       \
    SAME(CM_Locate_DevNodeW)                                                                                           \
    SAME(CM_Get_DevNode_Status)                                                                                        \
    SAME(CM_Get_Device_IDW)                                                                                            \
    SAME(CM_Get_DevNode_Registry_PropertyW)                                                                            \
    SAME(CM_Set_DevNode_Registry_PropertyW)                                                                            \
    SAME(CM_Disable_DevNode)                                                                                           \
    SAME(SetupDiGetClassDevsW)                                                                                         \
    SAME(SetupDiCreateDeviceInfoList)                                                                                  \
    SAME(SetupDiDestroyDeviceInfoList)                                                                                 \
    SAME(SetupDiEnumDeviceInfo)                                                                                        \
    SAME(SetupDiGetDeviceRegistryPropertyW)                                                                            \
    SAME(SetupDiOpenDeviceInfoW)                                                                                       \
    SAME(SetupDiCreateDeviceInfoW)                                                                                     \
    SAME(SetupDiEnumDeviceInterfaces)                                                                                  \
    SAME(SetupDiGetDeviceInterfaceDetailW)                                                                             \
    SAME(SetupDiGetDeviceInstallParamsW)                                                                               \
    SAME(SetupDiSetDeviceInstallParamsW)                                                                               \
    SAME(SetupDiCallClassInstaller)                                                                                    \
    SAME(SetupDiOpenClassRegKey)                                                                                       \
    SAME(SetupDiCreateDevRegKeyW)                                                                                      \
    SAME(SetupDiOpenDevRegKey)                                                                                         \
    SAME(SetupDiBuildDriverInfoList)                                                                                   \
    SAME(SetupDiDestroyDriverInfoList)                                                                                 \
    SAME(SetupDiRemoveDevice)                                                                                          \
    SAME(SetupDiGetSelectedDriverW)                                                                                    \
    SAME(SetupDiGetDriverInfoDetailW)                                                                                  \
    SAME(SetupOpenInfFileW)                                                                                            \
    SAME(SetupFindFirstLineW)                                                                                          \
    SAME(SetupGetLineTextW)                                                                                            \
    SAME(SetupCloseInfFile)                                                                                            \
    SAME(CMP_WaitNoPendingInstallEvents)                                                                               \
    SAME(SetupDiSetClassInstallParamsW)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_IGNORE)

namespace
{
TEST(SetupApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 32u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + 2); // the destructor comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(SetupApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_setupApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_IGNORE)
}

class RecordingSetupApi : public KVWinApi::CSetupApi
{
public:
    BOOL SetupDiEnumDeviceInfo(HDEVINFO DeviceInfoSet, DWORD MemberIndex, PSP_DEVINFO_DATA DeviceInfoData) override
    {
        set = DeviceInfoSet;
        index = MemberIndex;
        data = DeviceInfoData;
        ::SetLastError(ERROR_NO_MORE_ITEMS);
        return FALSE;
    }
    HDEVINFO set = nullptr;
    DWORD index = 0;
    PSP_DEVINFO_DATA data = nullptr;
};

TEST(SetupApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingSetupApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_setupApi, substitute);
    SP_DEVINFO_DATA data{};
    const auto set = reinterpret_cast<HDEVINFO>(0x4711);
    EXPECT_EQ(KVWinApi::g_setupApi->SetupDiEnumDeviceInfo(set, 9, &data), FALSE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
    EXPECT_EQ(substitute.set, set);
    EXPECT_EQ(substitute.index, 9u);
    EXPECT_EQ(substitute.data, &data);
}

TEST(SetupApiTests, RealClass_MakesAndDestroysAnEmptyDeviceList)
{
    KVWinApi::ISetupApi& api = *KVWinApi::g_setupApi;
    const HDEVINFO set = api.SetupDiCreateDeviceInfoList(nullptr, nullptr);
    ASSERT_NE(set, INVALID_HANDLE_VALUE);
    SP_DEVINFO_DATA data{};
    data.cbSize = sizeof(data);
    EXPECT_EQ(api.SetupDiEnumDeviceInfo(set, 0, &data), FALSE);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NO_MORE_ITEMS));
    EXPECT_NE(api.SetupDiDestroyDeviceInfoList(set), FALSE);
}
} // namespace
