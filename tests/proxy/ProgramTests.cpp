#include <windows.h>

#include <gtest/gtest.h>

#include "proxy/ProxyResults.h"
#include "tests/support/BuiltFiles.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/LoadedModules.h"
#include "tests/support/TemporaryFolder.h"
#include "utils/base/FileVersionInfo.h"

namespace
{
TEST(ProgramTests, Run_WithoutConsent_EndsWithNotOptedIn)
{
    for (const wchar_t* const arguments : {L" /linkid a", L""})
    {
        const KVTest::ChildProcess run(L"\"" + KVTest::PathOfBuiltProgram() + L"\"" + arguments);
        EXPECT_EQ(run.WaitForExit(20000), static_cast<DWORD>(KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN)) << arguments;
    }
}

// The program, installed.
class ProgramLoadTests : public testing::Test
{
protected:
    ProgramLoadTests()
    {
        m_product.MakeFolder(L"bin");
        ::CopyFileW(KVTest::PathOfBuiltProgram().c_str(), ProgramPath().c_str(), TRUE);
    }
    void NameDataFolder() const
    {
        m_product.WriteFile(L"config.ini", "[Directories]\r\nDataFolder=C:\\no such folder\r\n");
    }
    void OptIn() const { m_product.WriteFile(L"bin\\NorvikCustPartic.exe", ""); }
    KVTest::LoadedModules Run() const { return KVTest::RunAndListModules(L"\"" + ProgramPath() + L"\" /linkid a"); }
    static std::set<std::wstring> LoadedAtLeast()
    {
        return KVTest::RunAndListModules(KVTest::PathBesideTest(L"kv_floor.exe")).names;
    }

private:
    std::wstring ProgramPath() const { return m_product.PathOf(L"bin\\KVAnalyticsProxy.exe"); }

    KVTest::TemporaryFolder m_product;
};

TEST_F(ProgramLoadTests, RunThatEndsAtTheConsentCheck_LoadsNoFurtherLibrary)
{
    NameDataFolder();
    const KVTest::LoadedModules run = Run();
    EXPECT_EQ(run.exitCode, static_cast<DWORD>(KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN));
    EXPECT_EQ(run.names, LoadedAtLeast());
    EXPECT_EQ(run.names.count(L"kernel32.dll"), 1u);
}

TEST_F(ProgramLoadTests, RunThatEndsAtTheConsentCheck_LoadsTheShellToFindTheDataFolder)
{
    const KVTest::LoadedModules run = Run();
    EXPECT_EQ(run.exitCode, static_cast<DWORD>(KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN));
    EXPECT_EQ(run.names.count(L"shell32.dll"), 1u);
    EXPECT_EQ(run.names.count(L"wininet.dll"), 0u);
    EXPECT_EQ(run.names.count(L"winspool.drv"), 0u);
}

TEST_F(ProgramLoadTests, RunThatEndsAtTheCallerCheck_LoadsNothingMore)
{
    NameDataFolder();
    OptIn();
    const KVTest::LoadedModules run = Run();
    EXPECT_EQ(run.exitCode, static_cast<DWORD>(KVAnalyticsProxy::PROXY_E_NOT_CALLED_BY_LUMO));
    EXPECT_EQ(run.names, LoadedAtLeast());
}

TEST(ProgramTests, VersionResource_SaysWhatTheBuildSays)
{
    const KVUtils::CFileVersionInfo info(KVTest::PathOfBuiltProgram().c_str());
    EXPECT_STREQ(info.GetCompanyName(), KV_TEST_COMPANY_NAME);
    EXPECT_STREQ(info.GetFileDescription(), KV_TEST_FILE_DESCRIPTION);
    EXPECT_STREQ(info.GetFileVersion(), KV_TEST_VERSION);
    EXPECT_STREQ(info.GetStringValue(L"LegalCopyright"), L"Copyright (C) " KV_TEST_COMPANY_NAME);
    EXPECT_STREQ(info.GetProductName(), KV_TEST_PRODUCT_NAME);
    EXPECT_STREQ(info.GetProductVersion(), KV_TEST_VERSION);
}

TEST(ProgramTests, VersionResource_FixedPartSaysTheSameVersion)
{
    const KVUtils::CFileVersionInfo info(KVTest::PathOfBuiltProgram().c_str());
    const VS_FIXEDFILEINFO* fixed = info.GetFixedFileInfo();
    ASSERT_NE(fixed, nullptr);
    const std::wstring version =
        std::to_wstring(HIWORD(fixed->dwFileVersionMS)) + L"." + std::to_wstring(LOWORD(fixed->dwFileVersionMS)) +
        L"." + std::to_wstring(HIWORD(fixed->dwFileVersionLS)) + L"." + std::to_wstring(LOWORD(fixed->dwFileVersionLS));
    EXPECT_EQ(version, KV_TEST_VERSION);
    EXPECT_EQ(fixed->dwProductVersionMS, fixed->dwFileVersionMS);
    EXPECT_EQ(fixed->dwProductVersionLS, fixed->dwFileVersionLS);
}
} // namespace
