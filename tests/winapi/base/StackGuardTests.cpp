#include <gtest/gtest.h>

#include <optional>
#include <set>

#include "tests/support/ChildProcess.h"
#include "tests/support/LoadedModules.h"

namespace
{
std::optional<DWORD> Smash(const wchar_t* arguments)
{
    return KVTest::RunBesideTest(L"kv_smashing.exe", arguments);
}

TEST(StackGuardTests, BufferFilledToItsEnd_DoesNoHarm)
{
    EXPECT_EQ(Smash(L"16"), 0u);
}

TEST(StackGuardTests, BufferOverflow_EndsTheProcessWithTheSystemsCodeForIt)
{
    EXPECT_EQ(Smash(L"48"), 0xC0000409u);
}

TEST(StackGuardTests, Value_IsAnotherInEveryProcessAndStartsWithAZero)
{
    std::set<DWORD> values;
    for (int i = 0; i < 4; ++i)
    {
        values.insert(Smash(L"").value_or(0));
    }
    EXPECT_EQ(values.count(0), 0u);
    EXPECT_EQ(values.size(), 4u);
}

TEST(StackGuardTests, Value_NeedsNoLibrary)
{
    const KVTest::LoadedModules run = KVTest::RunAndListModules(KVTest::PathBesideTest(L"kv_smashing.exe"));
    for (const wchar_t* const provider : {L"rsaenh.dll", L"bcrypt.dll", L"crypt32.dll", L"cryptbase.dll"})
    {
        EXPECT_EQ(run.names.count(provider), 0u);
    }
    EXPECT_EQ(run.names.count(L"kernel32.dll"), 1u);
}
} // namespace
