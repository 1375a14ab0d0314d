#include "winapi/UserApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IUserApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"user32.dll", OpenWindowStationW, nullptr)                                                                   \
    LATE(L"user32.dll", CloseWindowStation, FALSE)                                                                     \
    LATE(L"user32.dll", GetProcessWindowStation, nullptr)                                                              \
    LATE(L"user32.dll", SetProcessWindowStation, FALSE)                                                                \
    LATE(L"user32.dll", GetThreadDesktop, nullptr)                                                                     \
    LATE(L"user32.dll", SetThreadDesktop, FALSE)                                                                       \
    LATE(L"user32.dll", OpenDesktopW, nullptr)                                                                         \
    LATE(L"user32.dll", CloseDesktop, FALSE)                                                                           \
    LATE(L"user32.dll", ExitWindowsEx, FALSE)                                                                          \
    LATE(L"user32.dll", AllowSetForegroundWindow, FALSE)                                                               \
    SAME(GetUserNameW)                                                                                                 \
    LATE(L"secur32.dll", GetUserNameExW, FALSE)                                                                        \
    LATE(L"user32.dll", PeekMessageW, FALSE)                                                                           \
    LATE(L"user32.dll", MsgWaitForMultipleObjects, WAIT_FAILED)                                                        \
    LATE(L"user32.dll", GetSystemMetrics, 0)                                                                           \
    LATE(L"user32.dll", SystemParametersInfoW, FALSE)                                                                  \
    LATE(L"user32.dll", LoadIconW, nullptr)                                                                            \
    LATE(L"user32.dll", DestroyIcon, FALSE)                                                                            \
    LATE(L"user32.dll", RegisterWindowMessageW, 0)                                                                     \
    LATE(L"user32.dll", SetTimer, 0)                                                                                   \
    LATE(L"user32.dll", GetMessageW, -1)                                                                               \
    LATE(L"user32.dll", SendMessageCallbackW, FALSE)                                                                   \
    LATE(L"user32.dll", GetKeyState, 0)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(UserApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 23u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(UserApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_userApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(UserApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_userApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingUserApi : public KVWinApi::CUserApi
{
public:
    int GetSystemMetrics(int nIndex) override
    {
        index = nIndex;
        return 4711;
    }
    int index = -1;
};

TEST(UserApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingUserApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_userApi, substitute);
    EXPECT_EQ(KVWinApi::g_userApi->GetSystemMetrics(SM_CYSCREEN), 4711);
    EXPECT_EQ(substitute.index, SM_CYSCREEN);
}

TEST(UserApiTests, RealClass_GivesTheSystemsResults)
{
    EXPECT_EQ(KVWinApi::g_userApi->GetSystemMetrics(SM_CXSCREEN), ::GetSystemMetrics(SM_CXSCREEN));
    wchar_t name[256] = {};
    wchar_t expected[256] = {};
    DWORD length = 256;
    DWORD expectedLength = 256;
    EXPECT_EQ(KVWinApi::g_userApi->GetUserNameW(name, &length), ::GetUserNameW(expected, &expectedLength));
    EXPECT_STREQ(name, expected);
    EXPECT_EQ(length, expectedLength);
    DWORD none = 0;
    EXPECT_EQ(KVWinApi::g_userApi->GetUserNameW(nullptr, &none), FALSE);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
