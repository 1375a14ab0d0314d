#include "winapi/UserApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IUserApi

// In slot order. SAME operations forward to the system function of their name, OWN ones have tests of their own below.
#define KV_OPERATIONS(SAME, OWN)                                                                                       \
    SAME(OpenWindowStationW)                                                                                           \
    SAME(CloseWindowStation)                                                                                           \
    SAME(GetProcessWindowStation)                                                                                      \
    SAME(SetProcessWindowStation)                                                                                      \
    SAME(GetThreadDesktop)                                                                                             \
    SAME(SetThreadDesktop)                                                                                             \
    SAME(OpenDesktopW)                                                                                                 \
    SAME(CloseDesktop)                                                                                                 \
    SAME(ExitWindowsEx)                                                                                                \
    SAME(AllowSetForegroundWindow)                                                                                     \
    SAME(GetUserNameW)                                                                                                 \
    SAME(GetUserNameExW)                                                                                               \
    SAME(PeekMessageW)                                                                                                 \
    SAME(MsgWaitForMultipleObjects)                                                                                    \
    SAME(GetSystemMetrics)                                                                                             \
    SAME(SystemParametersInfoW)                                                                                        \
    SAME(LoadIconW)                                                                                                    \
    SAME(DestroyIcon)                                                                                                  \
    SAME(RegisterWindowMessageW)                                                                                       \
    SAME(SetTimer)                                                                                                     \
    SAME(GetMessageW)                                                                                                  \
    SAME(SendMessageCallbackW)                                                                                         \
    SAME(GetKeyState)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_IGNORE)

namespace
{
TEST(UserApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 23u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + 2); // the destructor comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(UserApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_userApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_IGNORE)
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
