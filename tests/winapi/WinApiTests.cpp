#include "winapi/WinApi.h"

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IWinApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"wininet.dll", InternetOpenW, nullptr)                                                                       \
    LATE(L"wininet.dll", InternetSetOptionW, FALSE)                                                                    \
    LATE(L"wininet.dll", InternetConnectW, nullptr)                                                                    \
    LATE(L"wininet.dll", InternetCloseHandle, FALSE)                                                                   \
    LATE(L"wininet.dll", HttpOpenRequestW, nullptr)                                                                    \
    LATE(L"wininet.dll", HttpSendRequestW, FALSE)                                                                      \
    LATE(L"wininet.dll", HttpQueryInfoW, FALSE)                                                                        \
    LATE(L"wininet.dll", InternetGetConnectedState, FALSE)                                                             \
    SAME(GetVersionExW)                                                                                                \
    LATE(L"user32.dll", GetDC, nullptr)                                                                                \
    LATE(L"user32.dll", ReleaseDC, 0)                                                                                  \
    LATE(L"gdi32.dll", GetDeviceCaps, 0)                                                                               \
    LATE(L"user32.dll", GetDesktopWindow, nullptr)                                                                     \
    LATE(L"user32.dll", GetWindowDC, nullptr)                                                                          \
    SAME(GetCurrentProcess)                                                                                            \
    SAME(VerifyVersionInfoW)                                                                                           \
    SAME(GetLocaleInfoW)                                                                                               \
    SAME(GetPrivateProfileStringW)                                                                                     \
    SAME(WritePrivateProfileStringW)                                                                                   \
    SAME(GetProcAddress)                                                                                               \
    SAME(GetModuleHandleW)                                                                                             \
    SAME(CreateMutexW)                                                                                                 \
    SAME(CloseHandle)                                                                                                  \
    SAME(WaitForSingleObject)                                                                                          \
    SAME(ReleaseMutex)                                                                                                 \
    LATE(L"shell32.dll", SHGetSpecialFolderPathW, FALSE)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(WinApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 26u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot); // no destructor
    static_assert(!std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(WinApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_winApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(WinApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_winApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingWinApi : public KVWinApi::CWinApi
{
public:
    HINTERNET InternetOpenW(LPCWSTR lpszAgent, DWORD dwAccessType, LPCWSTR, LPCWSTR, DWORD dwFlags) override
    {
        agent = lpszAgent;
        numbers = {dwAccessType, dwFlags};
        return nullptr;
    }
    LPCWSTR agent = nullptr;
    std::pair<DWORD, DWORD> numbers;
};

TEST(WinApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingWinApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, substitute);
    const wchar_t agent[] = L"agent";
    EXPECT_EQ(KVWinApi::g_winApi->InternetOpenW(agent, INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 9), nullptr);
    EXPECT_EQ(substitute.agent, agent);
    EXPECT_EQ(substitute.numbers, std::make_pair(static_cast<DWORD>(INTERNET_OPEN_TYPE_DIRECT), DWORD{9}));
}

TEST(WinApiTests, RealClass_GivesTheSystemsResults)
{
    KVWinApi::IWinApi& api = *KVWinApi::g_winApi;
    EXPECT_EQ(api.GetModuleHandleW(nullptr), ::GetModuleHandleW(nullptr));
    EXPECT_EQ(api.GetModuleHandleW(L"no such module"), nullptr);
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(api.GetCurrentProcess(), ::GetCurrentProcess());
    const HINTERNET session = api.InternetOpenW(L"agent", INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
    ASSERT_NE(session, nullptr);
    EXPECT_NE(api.InternetCloseHandle(session), FALSE);
    const KVTest::TemporaryFolder folder;
    const std::wstring file = folder.WriteFile(L"profile.ini", "[Section]\r\nKey=value\r\n");
    wchar_t value[16] = {};
    EXPECT_EQ(api.GetPrivateProfileStringW(L"Section", L"Key", L"", value, 16, file.c_str()), 5u);
    EXPECT_STREQ(value, L"value");
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
