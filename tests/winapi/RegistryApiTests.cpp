#include "winapi/RegistryApi.h"

#include <gtest/gtest.h>

#include "tests/support/RegistrySandbox.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/winapi/Forwarding.h"

#define KV_INTERFACE KVWinApi::IRegistryApi

// In slot order, see Forwarding.h. OWN operations have tests of their own below.
#define KV_OPERATIONS(SAME, LATE, OWN)                                                                                 \
    OWN(RegOpenKeyExW)                                                                                                 \
    SAME(RegCloseKey)                                                                                                  \
    SAME(RegCreateKeyExW)                                                                                              \
    SAME(RegDeleteKeyW)                                                                                                \
    SAME(RegQueryValueExW)                                                                                             \
    SAME(RegSetValueExW)                                                                                               \
    SAME(RegDeleteValueW)                                                                                              \
    SAME(RegEnumKeyExW)                                                                                                \
    SAME(RegEnumValueW)                                                                                                \
    SAME(RegQueryInfoKeyW)

KV_OPERATIONS(KV_DECLARE_IMPORT, KV_DECLARE_LATE, KV_IGNORE)
KV_DECLARE_IMPORT(RegOpenKeyExW)

namespace
{
TEST(RegistryApiTests, Interface_DeclaresItsOperationsInSlotOrder)
{
    std::size_t expectedSlot = 0;
    KV_OPERATIONS(KV_EXPECT_NEXT_SLOT, KV_EXPECT_NEXT_SLOT_LATE, KV_EXPECT_NEXT_SLOT)
    EXPECT_EQ(expectedSlot, 10u);
    EXPECT_EQ(KVTest::SlotCountOf<KV_INTERFACE>(), expectedSlot + KVTest::kDestructorSlots); // which comes last
    static_assert(std::has_virtual_destructor_v<KV_INTERFACE>);
}

TEST(RegistryApiTests, EachOperation_ForwardsArgumentsAndResult)
{
    KV_INTERFACE* const api = KVWinApi::g_registryApi;
    KV_OPERATIONS(KV_EXPECT_FORWARDS, KV_EXPECT_FORWARDS_LATE, KV_IGNORE)
}

class RecordingRegistryApi : public KVWinApi::CRegistryApi
{
public:
    LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, PHKEY phkResult) override
    {
        key = hKey;
        subKey = lpSubKey;
        access = samDesired;
        result = phkResult;
        return ERROR_ACCESS_DENIED;
    }
    HKEY key = nullptr;
    LPCWSTR subKey = nullptr;
    REGSAM access = 0;
    PHKEY result = nullptr;
};

TEST(RegistryApiTests, Substitute_ReceivesTheCallWithTheVeryArguments)
{
    RecordingRegistryApi substitute;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_registryApi, substitute);
    HKEY opened = nullptr;
    const wchar_t subKey[] = L"Software";
    EXPECT_EQ(KVWinApi::g_registryApi->RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey, KEY_QUERY_VALUE, &opened),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(substitute.key, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(substitute.subKey, subKey);
    EXPECT_EQ(substitute.access, static_cast<REGSAM>(KEY_QUERY_VALUE));
    EXPECT_EQ(substitute.result, &opened);
}

struct OpenedKey
{
    HKEY key;
    LPCWSTR subKey;
    DWORD options;
    REGSAM access;
    PHKEY result;
};
OpenedKey s_opened{};

LONG WINAPI RecordOpenedKey(HKEY key, LPCWSTR subKey, DWORD options, REGSAM access, PHKEY result)
{
    s_opened = {key, subKey, options, access, result};
    return ERROR_MORE_DATA;
}

TEST(RegistryApiTests, RegOpenKeyExW_PassesItsArgumentsWithoutOptions)
{
    s_opened.options = 5;
    HKEY opened = nullptr;
    const wchar_t subKey[] = L"Software";
    LONG result = ERROR_SUCCESS;
    {
        const KVTest::ImportPatch patch(__imp_RegOpenKeyExW, reinterpret_cast<void*>(&RecordOpenedKey));
        result = KVWinApi::g_registryApi->RegOpenKeyExW(HKEY_LOCAL_MACHINE, subKey, KEY_QUERY_VALUE, &opened);
    }
    EXPECT_EQ(result, ERROR_MORE_DATA);
    EXPECT_EQ(s_opened.key, HKEY_LOCAL_MACHINE);
    EXPECT_EQ(s_opened.subKey, subKey);
    EXPECT_EQ(s_opened.options, 0u);
    EXPECT_EQ(s_opened.access, static_cast<REGSAM>(KEY_QUERY_VALUE));
    EXPECT_EQ(s_opened.result, &opened);
}

TEST(RegistryApiTests, RealClass_WritesAndReadsTheRegistry)
{
    const KVTest::RegistrySandbox sandbox;
    KVWinApi::IRegistryApi& api = *KVWinApi::g_registryApi;
    HKEY key = nullptr;
    EXPECT_EQ(api.RegOpenKeyExW(HKEY_CURRENT_USER, L"Missing", KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(api.RegCreateKeyExW(HKEY_CURRENT_USER, L"Made", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    const DWORD number = 7;
    EXPECT_EQ(api.RegSetValueExW(key, L"Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof(number)),
              ERROR_SUCCESS);
    EXPECT_EQ(api.RegCloseKey(key), ERROR_SUCCESS);

    ASSERT_EQ(api.RegOpenKeyExW(HKEY_CURRENT_USER, L"Made", KEY_READ, &key), ERROR_SUCCESS);
    DWORD type = 0;
    DWORD value = 0;
    DWORD size = sizeof(value);
    EXPECT_EQ(api.RegQueryValueExW(key, L"Number", nullptr, &type, reinterpret_cast<BYTE*>(&value), &size),
              ERROR_SUCCESS);
    EXPECT_EQ(type, static_cast<DWORD>(REG_DWORD));
    EXPECT_EQ(value, 7u);
    EXPECT_EQ(api.RegQueryValueExW(key, L"Missing", nullptr, nullptr, nullptr, nullptr), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(api.RegCloseKey(key), ERROR_SUCCESS);
}
} // namespace

#undef KV_OPERATIONS
#undef KV_INTERFACE
