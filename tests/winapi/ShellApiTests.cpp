#include "winapi/ShellApi.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IShellApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    LATE(L"shell32.dll", ShellExecuteExW, FALSE)                                                                       \
    LATE(L"shell32.dll", ShellExecuteW, SE_ERR_DLLNOTFOUND)                                                            \
    LATE(L"shell32.dll", SHGetFolderPathW, HRESULT_FROM_WIN32(error))                                                  \
    LATE(L"shell32.dll", SHGetSpecialFolderPathW, FALSE)                                                               \
    LATE(L"shell32.dll", ExtractIconW, nullptr)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)

namespace
{
TEST(ShellApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 5u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(ShellApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_shellApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

TEST(ShellApiTests, EachLateOperation_WithoutItsLibraryOrFunction_FailsByItsOwnConvention)
{
    KV_INTERFACE* const api = KVWinApi::g_shellApi;
    KV_EXPECT_FAILURES(KV_OPERATIONS)
}

class RecordingShellApi : public KVWinApi::CShellApi
{
public:
    HRESULT SHGetFolderPathW(HWND, int csidl, HANDLE, DWORD dwFlags, LPWSTR pszPath) override
    {
        folder = csidl;
        flags = dwFlags;
        buffer = pszPath;
        return E_FAIL;
    }
    int folder = 0;
    DWORD flags = 0;
    LPWSTR buffer = nullptr;
};

TEST(ShellApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingShellApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_shellApi, substitute);
    wchar_t buffer[MAX_PATH];
    EXPECT_EQ(KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_SYSTEM, nullptr, 1, buffer), E_FAIL);
    EXPECT_EQ(substitute.folder, CSIDL_SYSTEM);
    EXPECT_EQ(substitute.flags, 1u);
    EXPECT_EQ(substitute.buffer, buffer);
}

TEST(ShellApiTests, RealClass_GivesTheSystemsFolders)
{
    wchar_t path[MAX_PATH] = {};
    wchar_t expected[MAX_PATH] = {};
    EXPECT_EQ(KVWinApi::g_shellApi->SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, path), S_OK);
    EXPECT_EQ(::SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, expected), S_OK);
    EXPECT_STREQ(path, expected);
    EXPECT_NE(KVWinApi::g_shellApi->SHGetSpecialFolderPathW(nullptr, path, CSIDL_LOCAL_APPDATA, FALSE), FALSE);
    EXPECT_NE(::SHGetSpecialFolderPathW(nullptr, expected, CSIDL_LOCAL_APPDATA, FALSE), FALSE);
    EXPECT_STREQ(path, expected);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
