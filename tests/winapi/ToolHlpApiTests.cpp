#include "winapi/ToolHlpApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IToolHlpApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    SAME(CreateToolhelp32Snapshot)                                                                                     \
    SAME(Process32FirstW)                                                                                              \
    SAME(Process32NextW)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(ToolHlpApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 3u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(ToolHlpApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_toolHlpApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

class RecordingToolHlpApi : public KVWinApi::CToolHlpApi
{
public:
    HANDLE CreateToolhelp32Snapshot(DWORD dwFlags, DWORD th32ProcessID) override
    {
        flags = dwFlags;
        processId = th32ProcessID;
        return INVALID_HANDLE_VALUE;
    }
    DWORD flags = 0;
    DWORD processId = 0;
};

TEST(ToolHlpApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingToolHlpApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_toolHlpApi, substitute);
    EXPECT_EQ(KVWinApi::g_toolHlpApi->CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 4711), INVALID_HANDLE_VALUE);
    EXPECT_EQ(substitute.flags, static_cast<DWORD>(TH32CS_SNAPPROCESS));
    EXPECT_EQ(substitute.processId, 4711u);
}

TEST(ToolHlpApiTests, RealClass_FindsTheOwnProcess)
{
    const HANDLE snapshot = KVWinApi::g_toolHlpApi->CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    ASSERT_NE(snapshot, INVALID_HANDLE_VALUE);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    bool isFound = false;
    for (BOOL more = KVWinApi::g_toolHlpApi->Process32FirstW(snapshot, &entry); more != FALSE && !isFound;
         more = KVWinApi::g_toolHlpApi->Process32NextW(snapshot, &entry))
    {
        isFound = entry.th32ProcessID == ::GetCurrentProcessId();
    }
    EXPECT_TRUE(isFound);
    ::CloseHandle(snapshot);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
