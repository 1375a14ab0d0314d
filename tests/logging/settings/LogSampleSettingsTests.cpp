#include <windows.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/logging/LogTest.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/ChildProcess.h"

// The files that a support engineer imports. They change the settings of the real user, which the other tests do not
// see: only where that user is the one of a prefix that scripts/wine has made.

namespace
{
constexpr wchar_t kKey[] = L"Software\\Norvik\\KV\\Logging";

void Import(const std::wstring& fileName)
{
    wchar_t system[MAX_PATH] = {};
    ASSERT_NE(::GetSystemDirectoryW(system, MAX_PATH), 0u);
    const KVTest::ChildProcess import(L"\"" + std::wstring(system) + L"\\reg.exe\" import \"" +
                                      KVTest::PathInSources(L"packaging/" + fileName) + L"\"");
    ASSERT_EQ(import.WaitForExit(20000), 0u);
}

std::optional<DWORD> ReadDword(const wchar_t* valueName)
{
    DWORD value = 0;
    DWORD size = sizeof(value);
    if (::RegGetValueW(HKEY_CURRENT_USER, kKey, valueName, RRF_RT_REG_DWORD, nullptr, &value, &size) != ERROR_SUCCESS)
    {
        return std::nullopt;
    }
    return value;
}

std::wstring ReadString(const wchar_t* valueName)
{
    wchar_t text[MAX_PATH] = {};
    DWORD size = sizeof(text);
    const DWORD flags = RRF_RT_REG_SZ | RRF_NOEXPAND;
    const LONG status = ::RegGetValueW(HKEY_CURRENT_USER, kKey, valueName, flags, nullptr, text, &size);
    return status == ERROR_SUCCESS ? text : L"";
}

bool IsPrefixOfOurs()
{
    const HMODULE system = ::GetModuleHandleW(L"ntdll.dll");
    return ::GetProcAddress(system, "wine_get_version") != nullptr &&
           ::GetEnvironmentVariableW(L"KV_WINE_PREFIX", nullptr, 0) != 0;
}

TEST(LogSampleSettingsTests, UserOfAnotherPrefix_IsLeftAlone)
{
    ::SetEnvironmentVariableW(L"KV_WINE_PREFIX", nullptr);
    EXPECT_FALSE(IsPrefixOfOurs());
}

TEST(LogSampleSettingsTests, Files_SetWhatTheyTellAndTheLastRemovesIt)
{
    if (!IsPrefixOfOurs())
    {
        GTEST_SKIP() << "this user's settings are not a test's to change";
    }
    Import(L"logging-on.reg");
    EXPECT_EQ(ReadDword(L"LogCategories"), 0x66000FF0u);
    EXPECT_EQ(ReadDword(L"LogInfoDetailLevel"), 15u);
    EXPECT_EQ(ReadDword(L"LogOptions"), 0x2F602800u);
    EXPECT_EQ(ReadString(L"LogFileName"), L"%TEMP%\\kvtrace.log");
    Import(L"logging-on-brief.reg");
    EXPECT_EQ(ReadDword(L"LogCategories"), 0x400000F0u);
    EXPECT_EQ(ReadDword(L"LogInfoDetailLevel"), 0u);
    EXPECT_EQ(ReadDword(L"LogOptions"), 0x07000400u);
    EXPECT_EQ(ReadString(L"LogFileName"), L"%TEMP%\\kvtrace.log");
    Import(L"logging-off.reg");
    EXPECT_EQ(ReadDword(L"LogCategories"), std::nullopt);
    EXPECT_EQ(ReadString(L"LogFileName"), L"");
}
} // namespace
