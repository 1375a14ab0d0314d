#include "utils/SxSConfig.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/support/BuiltFiles.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/utils/InstalledProbe.h"
#include "winapi/KernelApi.h"
#include "winapi/ShellApi.h"
#include "winapi/WinApi.h"

namespace
{
using KVUtils::CSxSConfig;

class ProgramAt : public KVWinApi::CKernelApi
{
public:
    DWORD GetModuleFileNameW(HMODULE, LPWSTR buffer, DWORD size) override
    {
        ++calls;
        const std::size_t length = path.copy(buffer, size);
        return static_cast<DWORD>(length);
    }
    std::wstring path; // empty: the call fails
    int calls = 0;
};

class CommonDataAt : public KVWinApi::CShellApi
{
public:
    HRESULT SHGetFolderPathW(HWND window, int folder, HANDLE token, DWORD flags, LPWSTR buffer) override
    {
        ++calls;
        EXPECT_EQ(window, nullptr);
        EXPECT_EQ(folder, 0x23);
        EXPECT_EQ(token, nullptr);
        EXPECT_EQ(flags, 0u); // the current path
        EXPECT_TRUE(std::all_of(buffer, buffer + 261, [](wchar_t unit) { return unit == L'\0'; }));
        path.copy(buffer, MAX_PATH);
        return result;
    }
    std::wstring path = L"C:\\ProgramData";
    HRESULT result = S_OK;
    int calls = 0;
};

// A product folder with a program in its folder "bin", and stand-ins for the system's answers.
class SxSConfigTests : public testing::Test
{
protected:
    SxSConfigTests() : m_productFolder(m_folder.MakeFolder(L"Product"))
    {
        m_kernel.path = m_productFolder + L"\\bin\\program.exe";
    }

    std::wstring WriteIni(const std::string& text) const { return m_folder.WriteFile(L"Product\\config.ini", text); }

    KVTest::TemporaryFolder m_folder;
    std::wstring m_productFolder;
    ProgramAt m_kernel;
    CommonDataAt m_shell;

private:
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernel};
    KVTest::ScopedSubstitute<KVWinApi::IShellApi> m_shellSwap{KVWinApi::g_shellApi, m_shell};
};

TEST_F(SxSConfigTests, GetSxSProductFolder_IsTheParentOfTheExecutablesFolder)
{
    m_kernel.path = L"C:\\Product\\bin\\program.exe";
    EXPECT_EQ(CSxSConfig::GetSxSProductFolder(), L"C:\\Product");
}

TEST_F(SxSConfigTests, GetSxSProductFolder_Known_IsKept)
{
    const std::wstring& first = CSxSConfig::GetSxSProductFolder();
    m_kernel.path = L"C:\\other\\bin\\program.exe";
    const std::wstring& second = CSxSConfig::GetSxSProductFolder();
    EXPECT_EQ(second, m_productFolder);
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(m_kernel.calls, 1);
}

TEST_F(SxSConfigTests, GetSxSProductFolder_Unknown_IsAskedForAgain)
{
    m_kernel.path.clear();
    EXPECT_EQ(CSxSConfig::GetSxSProductFolder(), L"");
    EXPECT_EQ(CSxSConfig::GetSxSProductFolder(), L"");
    EXPECT_EQ(m_kernel.calls, 2);
    m_kernel.path = L"C:\\Product\\bin\\program.exe";
    EXPECT_EQ(CSxSConfig::GetSxSProductFolder(), L"C:\\Product");
}

TEST_F(SxSConfigTests, GetSxSProductFolder_ExecutableInRoot_IsTheRoot)
{
    m_kernel.path = L"C:\\program.exe";
    EXPECT_EQ(CSxSConfig::GetSxSProductFolder(), L"C:\\");
    EXPECT_EQ(CSxSConfig::_GetIniFile().GetFile(), L"C:\\config.ini");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik");
}

TEST_F(SxSConfigTests, GetSxSProductFolder_ExecutableInAFolderOfTheRoot_IsTheRoot)
{
    m_kernel.path = L"C:\\bin\\program.exe";
    EXPECT_EQ(CSxSConfig::GetSxSProductFolder(), L"C:\\");
}

TEST_F(SxSConfigTests, GetIniFile_IsConfigIniInTheProductFolder)
{
    WriteIni("[Analytics]\r\nPropertyIDPrefix=NV-1-\r\n");
    KVUtils::IIniFile& ini = CSxSConfig::_GetIniFile();
    EXPECT_EQ(ini.GetFile(), m_productFolder + L"\\config.ini");
    std::wstring prefix;
    EXPECT_TRUE(ini.ReadString(L"Analytics", L"PropertyIDPrefix", prefix));
    EXPECT_EQ(prefix, L"NV-1-");
}

TEST_F(SxSConfigTests, GetIniFile_EachCall_PutsThePathBackIntoTheOneObject)
{
    KVUtils::IIniFile& ini = CSxSConfig::_GetIniFile();
    ini.SetFile(L"C:\\other.ini");
    EXPECT_EQ(&CSxSConfig::_GetIniFile(), &ini);
    EXPECT_EQ(ini.GetFile(), m_productFolder + L"\\config.ini");
    EXPECT_EQ(m_kernel.calls, 1);
}

TEST_F(SxSConfigTests, GetIniFile_UnknownProductFolder_IsTheBareFileNameAndStaysIt)
{
    m_kernel.path.clear();
    EXPECT_EQ(CSxSConfig::_GetIniFile().GetFile(), L"config.ini");
    m_kernel.path = L"C:\\Product\\bin\\program.exe";
    EXPECT_EQ(CSxSConfig::_GetIniFile().GetFile(), L"config.ini");
}

TEST_F(SxSConfigTests, GetModelName_IsReadOnceAndKept)
{
    WriteIni("[DeviceInfo]\r\nModelName=Norvik 3000\r\n");
    EXPECT_EQ(CSxSConfig::GetModelName(), L"Norvik 3000");
    CSxSConfig::_GetIniFile().SetString(L"DeviceInfo", L"ModelName", L"Other");
    EXPECT_EQ(CSxSConfig::GetModelName(), L"Norvik 3000");
}

TEST_F(SxSConfigTests, GetModelName_AbsentOrEmpty_IsEmptyAndAskedForAgain)
{
    EXPECT_EQ(CSxSConfig::GetModelName(), L"");
    WriteIni("[DeviceInfo]\r\nModelName=\r\n");
    EXPECT_EQ(CSxSConfig::GetModelName(), L"");
    CSxSConfig::_GetIniFile().SetString(L"DeviceInfo", L"ModelName", L"Norvik 3000");
    EXPECT_EQ(CSxSConfig::GetModelName(), L"Norvik 3000");
}

TEST_F(SxSConfigTests, GetModelName_FolderInPlaceOfTheIniFile_IsEmpty)
{
    m_folder.MakeFolder(L"Product\\config.ini");
    EXPECT_EQ(CSxSConfig::GetModelName(), L"");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
}

TEST_F(SxSConfigTests, GetDataFolder_Configured_IsTakenAsItStands)
{
    WriteIni("[Directories]\r\nDataFolder=%ProgramData%\\relative/folder\\\r\n");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"%ProgramData%\\relative/folder\\");
    EXPECT_EQ(m_shell.calls, 0);
}

TEST_F(SxSConfigTests, GetDataFolder_Configured_IsKept)
{
    WriteIni("[Directories]\r\nDataFolder=C:\\first\r\n");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\first");
    CSxSConfig::_GetIniFile().SetString(L"Directories", L"DataFolder", L"C:\\second");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\first");
}

TEST_F(SxSConfigTests, GetDataFolder_ConfiguredWithManyKilobytes_IsTakenWhole)
{
    const std::string folder = "C:\\" + std::string(20000, 'f');
    WriteIni("[Directories]\r\nDataFolder=" + folder + "\r\n");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), std::wstring(folder.begin(), folder.end()));
}

TEST_F(SxSConfigTests, GetDataFolder_NotConfigured_IsBelowTheCommonApplicationData)
{
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
    EXPECT_EQ(m_shell.calls, 1);
}

TEST_F(SxSConfigTests, GetDataFolder_ConfiguredEmpty_IsTheDefault)
{
    WriteIni("[Directories]\r\nDataFolder=\r\n");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
}

TEST_F(SxSConfigTests, GetDataFolder_ReadWithSuccessButEmpty_IsTheDefault)
{
    class EmptyTextOfSomeLength : public KVWinApi::CWinApi
    {
    public:
        DWORD GetPrivateProfileStringW(LPCWSTR, LPCWSTR, LPCWSTR, LPWSTR buffer, DWORD, LPCWSTR) override
        {
            buffer[0] = L'\0';
            return 1;
        }
    } profile;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
}

TEST_F(SxSConfigTests, GetDataFolder_Default_IsKept)
{
    const std::wstring& first = CSxSConfig::GetDataFolder();
    m_shell.path = L"D:\\other";
    CSxSConfig::_GetIniFile().SetString(L"Directories", L"DataFolder", L"C:\\second");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
    EXPECT_EQ(&CSxSConfig::GetDataFolder(), &first);
    EXPECT_EQ(m_shell.calls, 1);
}

TEST_F(SxSConfigTests, GetDataFolder_CommonApplicationDataUnknown_IsEmptyAndAskedForAgain)
{
    for (const HRESULT failure : {E_FAIL, S_FALSE}) // anything except 0
    {
        m_shell.result = failure;
        EXPECT_EQ(CSxSConfig::GetDataFolder(), L"");
    }
    EXPECT_EQ(m_shell.calls, 2);
    m_shell.result = S_OK;
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
}

TEST_F(SxSConfigTests, GetDataFolder_UnknownProductFolder_EndsWithNorvik)
{
    m_kernel.path.clear();
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik");
}

TEST_F(SxSConfigTests, GetDataFolder_CommonApplicationDataWithBackslash_IsJoinedWithOne)
{
    m_shell.path = L"D:\\";
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"D:\\Norvik\\Product");
}

TEST(InstalledProgramTests, InstalledProgram_FindsItsProductAndItsSettings)
{
    KVTest::InstalledProbe probe;
    const std::wstring product = probe.GetFolder().PathOf(L"Product");
    probe.GetFolder().WriteFile(L"Product\\config.ini",
                                "[DeviceInfo]\r\nModelName=Norvik 3000\r\n[Directories]\r\nDataFolder=C:\\data\r\n");
    probe.Run();
    EXPECT_EQ(probe.Told(L"executable folder"), product + L"\\bin");
    EXPECT_EQ(probe.Told(L"product folder"), product);
    EXPECT_EQ(probe.Told(L"ini file"), product + L"\\config.ini");
    EXPECT_EQ(probe.Told(L"model name"), L"Norvik 3000");
    EXPECT_EQ(probe.Told(L"data folder"), L"C:\\data");
}

// An unedited sample must neither report to a property nor name a model.
TEST_F(SxSConfigTests, SampleFile_SetsNothing)
{
    WriteIni(KVTest::ReadFileBytes(KVTest::PathInSources(L"packaging/config.sample.ini")));
    std::wstring prefix;
    EXPECT_FALSE(CSxSConfig::_GetIniFile().ReadString(L"Analytics", L"PropertyIDPrefix", prefix));
    bool useSsl = false;
    EXPECT_FALSE(CSxSConfig::_GetIniFile().GetBool(L"Analytics", L"UseSSL", useSsl));
    EXPECT_EQ(CSxSConfig::GetModelName(), L"");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product"); // the default
}

// Without its semicolons, the sample has the values that it states.
TEST_F(SxSConfigTests, SampleFile_WithoutItsSemicolons_SetsWhatItSays)
{
    std::string sample = KVTest::ReadFileBytes(KVTest::PathInSources(L"packaging/config.sample.ini"));
    for (const char* const key : {"PropertyIDPrefix", "UseSSL", "ModelName", "DataFolder"})
    {
        const std::size_t semicolon = sample.find(std::string(";") + key + "=");
        ASSERT_NE(semicolon, std::string::npos) << key;
        sample.erase(semicolon, 1);
    }
    WriteIni(sample);
    std::wstring prefix;
    EXPECT_TRUE(CSxSConfig::_GetIniFile().ReadString(L"Analytics", L"PropertyIDPrefix", prefix));
    EXPECT_EQ(prefix, L"NV-1000-");
    bool useSsl = false;
    EXPECT_TRUE(CSxSConfig::_GetIniFile().GetBool(L"Analytics", L"UseSSL", useSsl));
    EXPECT_TRUE(useSsl);
    EXPECT_EQ(CSxSConfig::GetModelName(), L"Norvik 3000");
    EXPECT_EQ(CSxSConfig::GetDataFolder(), L"C:\\ProgramData\\Norvik\\Product");
}

TEST(InstalledProgramTests, InstalledProgram_WithoutSettings_HasItsDataBelowTheCommonApplicationData)
{
    KVTest::InstalledProbe probe;
    probe.Run();
    wchar_t commonData[MAX_PATH] = {};
    ASSERT_EQ(::SHGetFolderPathW(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, commonData), S_OK);
    EXPECT_EQ(probe.Told(L"model name"), L"");
    EXPECT_EQ(probe.Told(L"data folder"), std::wstring(commonData) + L"\\Norvik\\Product");
}

TEST(InstalledProgramTests, InstalledProgram_SeesItsCommandLine)
{
    KVTest::InstalledProbe probe;
    probe.Run(L"/LinkID \"a \U0001F5A8 b\" -tabid");
    EXPECT_EQ(probe.Told(L"program path"), probe.GetProgramPath());
    EXPECT_EQ(probe.Told(L"first argument"), L"/LinkID");
    EXPECT_EQ(probe.Told(L"argument string"), L"/LinkID \"a \U0001F5A8 b\" -tabid");
    EXPECT_EQ(probe.Told(L"switch LinkID"), L"a \U0001F5A8 b");
    EXPECT_EQ(probe.Told(L"switch tabid"), L"");
}

TEST(InstalledProgramTests, InstalledProgram_LongestCommandLine_IsSeenWhole)
{
    KVTest::InstalledProbe probe;
    constexpr std::size_t kLongest = 32767 - 1; // with the null
    const std::size_t rest = kLongest - probe.GetProgramPath().size() - std::wstring(L"\"\" /linkid ").size();
    const std::wstring value = std::wstring(rest - 1, L'x') + L"y";
    probe.Run(L"/linkid " + value);
    EXPECT_EQ(probe.Told(L"switch linkid"), value);
}
} // namespace
