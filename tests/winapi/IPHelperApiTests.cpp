#include "winapi/IPHelperApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IIPHelperApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"iphlpapi.dll", GetAdaptersInfo, error)                                                                      \
    LATE(L"iphlpapi.dll", GetAdaptersAddresses, error)                                                                 \
    LATE(L"iphlpapi.dll", GetIfEntry, error)                                                                           \
    LATE(L"iphlpapi.dll", GetInterfaceInfo, error)                                                                     \
    LATE(L"iphlpapi.dll", IpReleaseAddress, error)                                                                     \
    LATE(L"iphlpapi.dll", IpRenewAddress, error)                                                                       \
    LATE(L"iphlpapi.dll", AddIPAddress, error)                                                                         \
    LATE(L"iphlpapi.dll", DeleteIPAddress, error)                                                                      \
    LATE(L"iphlpapi.dll", IcmpCreateFile, INVALID_HANDLE_VALUE)                                                        \
    LATE(L"iphlpapi.dll", IcmpSendEcho, 0)                                                                             \
    LATE(L"iphlpapi.dll", IcmpCloseHandle, FALSE)                                                                      \
    LATE(L"iphlpapi.dll", NotifyAddrChange, error)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(IPHelperApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 12u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(IPHelperApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_ipHelperApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(IPHelperApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_ipHelperApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingIPHelperApi : public KVWinApi::CIPHelperApi
{
public:
    ULONG GetAdaptersInfo(PIP_ADAPTER_INFO AdapterInfo, PULONG SizePointer) override
    {
        info = AdapterInfo;
        size = SizePointer;
        return ERROR_NO_DATA;
    }
    PIP_ADAPTER_INFO info = nullptr;
    PULONG size = nullptr;
};

TEST(IPHelperApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingIPHelperApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_ipHelperApi, substitute);
    IP_ADAPTER_INFO info{};
    ULONG size = sizeof(info);
    EXPECT_EQ(KVWinApi::g_ipHelperApi->GetAdaptersInfo(&info, &size), static_cast<ULONG>(ERROR_NO_DATA));
    EXPECT_EQ(substitute.info, &info);
    EXPECT_EQ(substitute.size, &size);
}

TEST(IPHelperApiTests, RealClass_GivesTheSystemsResults)
{
    KVWinApi::IIPHelperApi& api = *KVWinApi::g_ipHelperApi;
    ULONG size = 0;
    ULONG expectedSize = 0;
    EXPECT_EQ(api.GetAdaptersInfo(nullptr, &size), ::GetAdaptersInfo(nullptr, &expectedSize));
    EXPECT_EQ(size, expectedSize);
    const HANDLE echo = api.IcmpCreateFile();
    EXPECT_NE(echo, nullptr);
    EXPECT_EQ(api.GetIfEntry(nullptr), ::GetIfEntry(nullptr));
    if (echo != INVALID_HANDLE_VALUE)
    {
        EXPECT_NE(api.IcmpCloseHandle(echo), FALSE);
    }
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
