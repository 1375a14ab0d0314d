#include <windows.h>

#include <gtest/gtest.h>

#include "proxy/ProxyResults.h"
#include "tests/support/ChildProcess.h"
#include "utils/FileVersionInfo.h"

namespace
{
constexpr wchar_t kProgram[] = L"..\\..\\proxy\\KVAnalyticsProxy.exe";

TEST(ProgramTests, Run_WithoutConsent_EndsWithNotOptedIn)
{
    EXPECT_EQ(KVTest::RunBesideTest(kProgram, L"/linkid a"),
              static_cast<DWORD>(KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN));
    EXPECT_EQ(KVTest::RunBesideTest(kProgram, L""), static_cast<DWORD>(KVAnalyticsProxy::PROXY_S_NOT_OPTED_IN));
}

TEST(ProgramTests, VersionResource_SaysWhatTheBuildSays)
{
    const KVUtils::CFileVersionInfo info(KVTest::PathBesideTest(kProgram).c_str());
    EXPECT_STREQ(info.GetCompanyName(), KV_TEST_COMPANY_NAME);
    EXPECT_STREQ(info.GetFileDescription(), KV_TEST_FILE_DESCRIPTION);
    EXPECT_STREQ(info.GetFileVersion(), KV_TEST_VERSION);
    EXPECT_STREQ(info.GetProductName(), KV_TEST_PRODUCT_NAME);
    EXPECT_STREQ(info.GetProductVersion(), KV_TEST_VERSION);
}

TEST(ProgramTests, VersionResource_FixedPartSaysTheSameVersion)
{
    const KVUtils::CFileVersionInfo info(KVTest::PathBesideTest(kProgram).c_str());
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
