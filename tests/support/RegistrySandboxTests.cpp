#include "tests/support/RegistrySandbox.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
constexpr wchar_t kKey[] = L"Software\\KVTestSandboxed";

bool UserHasKey()
{
    HKEY key = nullptr;
    const LONG result = ::RegOpenKeyExW(HKEY_CURRENT_USER, kKey, 0, KEY_READ, &key);
    if (result == ERROR_SUCCESS)
    {
        ::RegCloseKey(key);
    }
    return result == ERROR_SUCCESS;
}

TEST(RegistrySandboxTests, Values_AreSeenInsideAndGoneAfterwards)
{
    {
        const KVTest::RegistrySandbox sandbox;
        sandbox.SetDword(kKey, L"Number", 7);
        sandbox.SetString(kKey, L"Text", L"text");
        DWORD number = 0;
        DWORD size = sizeof(number);
        EXPECT_EQ(::RegGetValueW(HKEY_CURRENT_USER, kKey, L"Number", RRF_RT_REG_DWORD, nullptr, &number, &size),
                  ERROR_SUCCESS);
        EXPECT_EQ(number, 7u);
        wchar_t text[16] = {};
        size = sizeof(text);
        EXPECT_EQ(::RegGetValueW(HKEY_CURRENT_USER, kKey, L"Text", RRF_RT_REG_SZ, nullptr, text, &size), ERROR_SUCCESS);
        EXPECT_STREQ(text, L"text");
        EXPECT_TRUE(sandbox.KeyExists(kKey));
        EXPECT_TRUE(UserHasKey());
    }
    EXPECT_FALSE(UserHasKey());
}

TEST(RegistrySandboxTests, NewSandbox_IsEmpty)
{
    {
        const KVTest::RegistrySandbox sandbox;
        sandbox.SetDword(kKey, L"Number", 7);
    }
    const KVTest::RegistrySandbox sandbox;
    EXPECT_FALSE(sandbox.KeyExists(kKey));
}

TEST(RegistrySandboxTests, Deletions_RemoveValuesAndKeys)
{
    const KVTest::RegistrySandbox sandbox;
    sandbox.SetDword(kKey, L"Number", 7);
    sandbox.DeleteValue(kKey, L"Number");
    EXPECT_THROW(sandbox.DeleteValue(kKey, L"Number"), std::runtime_error);
    sandbox.SetDword(std::wstring(kKey) + L"\\Inner", L"Number", 7);
    sandbox.DeleteKey(kKey);
    EXPECT_FALSE(sandbox.KeyExists(kKey));
    sandbox.DeleteKey(kKey);
}
} // namespace
