#include "tests/support/OwnComputer.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace
{
// CTest gives the test one of the two variables, or neither. Each test has a process of its own.
TEST(OwnComputerTests, WithoutAVariable_IsNotTheirs)
{
    ::SetEnvironmentVariableW(L"KV_WINE_PREFIX", nullptr);
    ::SetEnvironmentVariableW(L"KV_TEST_ACCOUNT", nullptr);
    EXPECT_FALSE(KVTest::IsComputerOfTheTests());
}

TEST(OwnComputerTests, AccountOfADifferentName_IsNotTheirs)
{
    ::SetEnvironmentVariableW(L"KV_WINE_PREFIX", nullptr);
    ::SetEnvironmentVariableW(L"KV_TEST_ACCOUNT", L"nobody by that name");
    EXPECT_FALSE(KVTest::IsComputerOfTheTests());
}

TEST(OwnComputerTests, EmulatedComputer_IsTheirsIfItsPrefixIs)
{
    const bool isEmulated = ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
    ::SetEnvironmentVariableW(L"KV_WINE_PREFIX", L"/a prefix");
    ::SetEnvironmentVariableW(L"KV_TEST_ACCOUNT", nullptr);
    EXPECT_EQ(KVTest::IsComputerOfTheTests(), isEmulated);
}
} // namespace
