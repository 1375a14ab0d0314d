#include "winapi/SetupApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::ISetupApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"setupapi.dll", CM_Locate_DevNodeW, CR_CALL_NOT_IMPLEMENTED)                                                 \
    LATE(L"setupapi.dll", CM_Get_DevNode_Status, CR_CALL_NOT_IMPLEMENTED)                                              \
    LATE(L"setupapi.dll", CM_Get_Device_IDW, CR_CALL_NOT_IMPLEMENTED)                                                  \
    LATE(L"setupapi.dll", CM_Get_DevNode_Registry_PropertyW, CR_CALL_NOT_IMPLEMENTED)                                  \
    LATE(L"setupapi.dll", CM_Set_DevNode_Registry_PropertyW, CR_CALL_NOT_IMPLEMENTED)                                  \
    LATE(L"setupapi.dll", CM_Disable_DevNode, CR_CALL_NOT_IMPLEMENTED)                                                 \
    LATE(L"setupapi.dll", SetupDiGetClassDevsW, INVALID_HANDLE_VALUE)                                                  \
    LATE(L"setupapi.dll", SetupDiCreateDeviceInfoList, INVALID_HANDLE_VALUE)                                           \
    LATE(L"setupapi.dll", SetupDiDestroyDeviceInfoList, FALSE)                                                         \
    LATE(L"setupapi.dll", SetupDiEnumDeviceInfo, FALSE)                                                                \
    LATE(L"setupapi.dll", SetupDiGetDeviceRegistryPropertyW, FALSE)                                                    \
    LATE(L"setupapi.dll", SetupDiOpenDeviceInfoW, FALSE)                                                               \
    LATE(L"setupapi.dll", SetupDiCreateDeviceInfoW, FALSE)                                                             \
    LATE(L"setupapi.dll", SetupDiEnumDeviceInterfaces, FALSE)                                                          \
    LATE(L"setupapi.dll", SetupDiGetDeviceInterfaceDetailW, FALSE)                                                     \
    LATE(L"setupapi.dll", SetupDiGetDeviceInstallParamsW, FALSE)                                                       \
    LATE(L"setupapi.dll", SetupDiSetDeviceInstallParamsW, FALSE)                                                       \
    LATE(L"setupapi.dll", SetupDiCallClassInstaller, FALSE)                                                            \
    LATE(L"setupapi.dll", SetupDiOpenClassRegKey, INVALID_HANDLE_VALUE)                                                \
    LATE(L"setupapi.dll", SetupDiCreateDevRegKeyW, INVALID_HANDLE_VALUE)                                               \
    LATE(L"setupapi.dll", SetupDiOpenDevRegKey, INVALID_HANDLE_VALUE)                                                  \
    LATE(L"setupapi.dll", SetupDiBuildDriverInfoList, FALSE)                                                           \
    LATE(L"setupapi.dll", SetupDiDestroyDriverInfoList, FALSE)                                                         \
    LATE(L"setupapi.dll", SetupDiRemoveDevice, FALSE)                                                                  \
    LATE(L"setupapi.dll", SetupDiGetSelectedDriverW, FALSE)                                                            \
    LATE(L"setupapi.dll", SetupDiGetDriverInfoDetailW, FALSE)                                                          \
    LATE(L"setupapi.dll", SetupOpenInfFileW, INVALID_HANDLE_VALUE)                                                     \
    LATE(L"setupapi.dll", SetupFindFirstLineW, FALSE)                                                                  \
    LATE(L"setupapi.dll", SetupGetLineTextW, FALSE)                                                                    \
    LATE(L"setupapi.dll", SetupCloseInfFile, KVTest::kNothing)                                                         \
    LATE(L"setupapi.dll", CMP_WaitNoPendingInstallEvents, WAIT_FAILED)                                                 \
    LATE(L"setupapi.dll", SetupDiSetClassInstallParamsW, FALSE)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(SetupApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 32u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(SetupApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_setupApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(SetupApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_setupApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
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

#undef KV_OPERATIONS
#undef KV_INTERFACE
