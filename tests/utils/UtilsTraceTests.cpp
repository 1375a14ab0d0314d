#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TraceCapture.h"
#include "utils/FileUtils.h"
#include "utils/OSVersion.h"
#include "utils/PathOfExecutableOverride.h"
#include "utils/PathUtils.h"
#include "utils/StringUtils.h"
#include "utils/SxSConfig.h"
#include "winapi/KernelApi.h"
#include "winapi/ShellApi.h"

namespace
{
const std::wstring kModuleKey = L"Software\\Norvik\\KV\\Logging\\utils_tests.exe\\Utils";

constexpr DWORD kInfo = 0x10;
constexpr DWORD kEntryAndExit = 0xC00;
constexpr DWORD kEverything = 0xFF0;
constexpr DWORD kHeader = 0x40000000;

class ExecutableInProduct : public KVWinApi::CKernelApi
{
public:
    DWORD GetModuleFileNameW(HMODULE, LPWSTR buffer, DWORD size) override
    {
        return static_cast<DWORD>(std::wstring(L"C:\\Product\\bin\\program.exe").copy(buffer, size));
    }
};

class CommonDataInProgramData : public KVWinApi::CShellApi
{
public:
    HRESULT SHGetFolderPathW(HWND, int, HANDLE, DWORD, LPWSTR buffer) override
    {
        std::wstring(L"C:\\ProgramData").copy(buffer, MAX_PATH);
        return S_OK;
    }
};

// Reads the log file that the registry names, with a program at C:\Product\bin. Nothing is logged before a test sets
// the categories.
class UtilsTraceTests : public testing::Test
{
protected:
    void Enable(DWORD categories) const { m_trace.Enable(categories); }
    void Enable(DWORD categories, DWORD detailLevel) const { m_trace.Enable(categories, detailLevel); }
    std::wstring Log() const { return m_trace.GetText(); }

    KVTest::TraceCapture m_trace;
    ExecutableInProduct m_kernel;
    CommonDataInProgramData m_shell;

private:
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernel};
    KVTest::ScopedSubstitute<KVWinApi::IShellApi> m_shellSwap{KVWinApi::g_shellApi, m_shell};
};

TEST_F(UtilsTraceTests, GetPathOfExecutable_LogsItsResultAtDetailLevel7)
{
    Enable(kEverything);
    KVUtils::CPathUtils::GetPathOfExecutable();
    EXPECT_EQ(Log(), L"(->) CPathUtils::GetPathOfExecutable\r\n"
                     L"(->) CPathUtils::StripFilename\r\n"
                     L"(<-) CPathUtils::StripFilename\r\n"
                     L"(I7) GetPathOfExecutable: wstrResult = C:\\Product\\bin\r\n"
                     L"(<-) CPathUtils::GetPathOfExecutable\r\n");
}

TEST_F(UtilsTraceTests, GetPathOfExecutable_BelowDetailLevel7_LogsNoResult)
{
    Enable(kInfo | kEntryAndExit, 6);
    KVUtils::CPathUtils::GetPathOfExecutable();
    EXPECT_EQ(Log().find(L"wstrResult"), std::wstring::npos);
}

TEST_F(UtilsTraceTests, GetPathOfExecutable_Override_IsNotLogged)
{
    Enable(kEverything);
    KVUtils::g_pathOfExecutableOverride = L"C:\\elsewhere";
    KVUtils::CPathUtils::GetPathOfExecutable();
    EXPECT_EQ(Log(), L"(->) CPathUtils::GetPathOfExecutable\r\n"
                     L"(<-) CPathUtils::GetPathOfExecutable\r\n");
}

TEST_F(UtilsTraceTests, StripFilename_EmptyPath_IsTraced)
{
    Enable(kEverything);
    KVUtils::CPathUtils::StripFilename(L"");
    EXPECT_EQ(Log(), L"(->) CPathUtils::StripFilename\r\n"
                     L"(<-) CPathUtils::StripFilename\r\n");
}

TEST_F(UtilsTraceTests, GetDataFolder_Default_LogsTheFolderUnderTheNameOfAnotherFunction)
{
    Enable(kInfo, 0);
    KVUtils::CSxSConfig::GetDataFolder();
    EXPECT_EQ(Log(), L"(I0) CSxSConfig::SetSxSProductFolder, data folder is C:\\ProgramData\\Norvik\\Product\r\n");
}

TEST_F(UtilsTraceTests, GetDataFolder_KnownAlready_LogsItsScopeAlone)
{
    KVUtils::CSxSConfig::GetDataFolder();
    // Seen at once: as long as the log file has not been opened the settings are read for each line.
    Enable(kEverything);
    KVUtils::CSxSConfig::GetDataFolder();
    EXPECT_EQ(Log(), L"(->) CSxSConfig::GetDataFolder\r\n"
                     L"(<-) CSxSConfig::GetDataFolder\r\n");
}

TEST_F(UtilsTraceTests, GetDataFolder_OpensItsScopeAndThatOfTheIniFile)
{
    m_trace.GetRegistry().SetDword(kModuleKey + L"\\sxsconfig.cpp", L"LogCategories", kEverything);
    KVUtils::CSxSConfig::GetDataFolder();
    EXPECT_EQ(Log(), L"(->) CSxSConfig::GetDataFolder\r\n"
                     L"(->) CSxSConfig::_GetIniFile\r\n"
                     L"(<-) CSxSConfig::_GetIniFile\r\n"
                     L"(I0) CSxSConfig::SetSxSProductFolder, data folder is C:\\ProgramData\\Norvik\\Product\r\n"
                     L"(<-) CSxSConfig::GetDataFolder\r\n");
}

TEST_F(UtilsTraceTests, Settings_OfTheSourceFilePathUtils_ReachThatFileAlone)
{
    m_trace.GetRegistry().SetDword(kModuleKey + L"\\pathutils.cpp", L"LogCategories", kEntryAndExit);
    KVUtils::CSxSConfig::_GetIniFile();
    EXPECT_EQ(Log(), L"(->) CPathUtils::GetPathOfExecutable\r\n"
                     L"(->) CPathUtils::StripFilename\r\n"
                     L"(<-) CPathUtils::StripFilename\r\n"
                     L"(<-) CPathUtils::GetPathOfExecutable\r\n"
                     L"(->) CPathUtils::StripFilename\r\n"
                     L"(<-) CPathUtils::StripFilename\r\n");
}

TEST_F(UtilsTraceTests, Header_TellsTheBuildTimeOfTheLibrary)
{
    Enable(kHeader | kEntryAndExit);
    KVUtils::CPathUtils::StripFilename(L"C:\\a");
    EXPECT_NE(Log().find(L"(++)         Built on: Aug 22 2014 04:48:18\r\n"), std::wstring::npos) << Log();
}

TEST_F(UtilsTraceTests, OtherFunctions_AreNotTraced)
{
    Enable(kEverything);
    KVUtils::CombinePaths(L"a", L"b");
    KVUtils::GetLastPathComponent(L"a\\b");
    KVUtils::FileExists(L"C:\\a");
    KVUtils::GetOSName();
    KVUtils::Trim(L" a ");
    EXPECT_TRUE(m_trace.IsEmpty());
}

TEST_F(UtilsTraceTests, TracedFunctions_KeepTheLastError)
{
    constexpr DWORD kMark = 0x20001234;
    Enable(kEverything);
    ::SetLastError(kMark);
    KVUtils::g_pathOfExecutableOverride = L"C:\\elsewhere";
    KVUtils::CPathUtils::GetPathOfExecutable();
    EXPECT_EQ(::GetLastError(), kMark);
}

TEST_F(UtilsTraceTests, LoggingOff_WritesNothing)
{
    KVUtils::CSxSConfig::GetDataFolder();
    EXPECT_TRUE(m_trace.IsEmpty());
}
} // namespace
