#include "doctor/findings/ClientFindings.h"

#include <windows.h>

#include <shlobj.h>

#include <gtest/gtest.h>

#include <string>

#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/handles/KernelHandles.h"
#include "winapi/ShellApi.h"

namespace
{
using KVAnalyticsDoctor::ClientFindings;
using KVAnalyticsDoctor::FindClient;

// A shell whose local application data folder is the test's.
class ShellOfTest : public KVWinApi::CShellApi
{
public:
    HRESULT SHGetFolderPathW(HWND, int folder, HANDLE, DWORD, LPWSTR path) override
    {
        asked = folder;
        path[base.copy(path, MAX_PATH - 1)] = L'\0';
        return result;
    }

    std::wstring base;
    HRESULT result = S_OK;
    int asked = 0;
};

class ClientFindingsTests : public testing::Test
{
protected:
    ClientFindingsTests() { m_shellApi.base = m_local.GetPath(); }
    void MakeClientFolder() const
    {
        for (const wchar_t* const folder :
             {L"Norvik", L"Norvik\\Statlet", L"Norvik\\Statlet\\LumoLink", L"Norvik\\Statlet\\LumoLink\\1.2"})
        {
            m_local.MakeFolder(folder);
        }
    }
    std::wstring WriteIdentity(const std::string& content) const
    {
        MakeClientFolder();
        return m_local.WriteFile(kIdentity, content);
    }
    bool Exists(const wchar_t* name) const
    {
        return ::GetFileAttributesW(m_local.PathOf(name).c_str()) != INVALID_FILE_ATTRIBUTES;
    }

    static constexpr wchar_t kIdentity[] = L"Norvik\\Statlet\\LumoLink\\1.2\\LumoLink.ini";
    KVTest::TemporaryFolder m_local;
    ShellOfTest m_shellApi;
    KVTest::ScopedSubstitute<KVWinApi::IShellApi> m_swap{KVWinApi::g_shellApi, m_shellApi};
};

TEST_F(ClientFindingsTests, NewUser_HasNoIdAndGetsNoFolder)
{
    const ClientFindings findings = FindClient(L"1.2");
    EXPECT_EQ(findings.folder, m_local.GetPath() + L"\\Norvik\\Statlet\\LumoLink\\1.2\\");
    EXPECT_EQ(findings.identityFile, m_local.PathOf(kIdentity));
    EXPECT_EQ(findings.clientId, L"");
    EXPECT_TRUE(findings.canStoreClientId);
    EXPECT_FALSE(Exists(L"Norvik"));
    EXPECT_EQ(m_shellApi.asked, CSIDL_LOCAL_APPDATA | CSIDL_FLAG_DONT_VERIFY);
}

TEST_F(ClientFindingsTests, IdThatIsThere)
{
    const std::wstring file = WriteIdentity("[Users]\r\nUUID=not a UUID\r\n");
    const ClientFindings findings = FindClient(L"1.2");
    EXPECT_EQ(findings.clientId, L"not a UUID");
    EXPECT_TRUE(findings.CanIdentify());
    EXPECT_EQ(KVTest::ReadFileBytes(file), "[Users]\r\nUUID=not a UUID\r\n");
}

TEST_F(ClientFindingsTests, FileWithoutAnId_CanBeWritten)
{
    WriteIdentity("[Users]\r\nUUID=\r\n");
    const ClientFindings findings = FindClient(L"1.2");
    EXPECT_EQ(findings.clientId, L"");
    EXPECT_TRUE(findings.CanIdentify());
}

TEST_F(ClientFindingsTests, FolderInPlaceOfTheFile)
{
    MakeClientFolder();
    m_local.MakeFolder(kIdentity);
    EXPECT_FALSE(FindClient(L"1.2").CanIdentify());
}

TEST_F(ClientFindingsTests, FileInPlaceOfAFolder)
{
    m_local.WriteFile(L"Norvik", "");
    EXPECT_FALSE(FindClient(L"1.2").CanIdentify());
}

TEST_F(ClientFindingsTests, FileThatAnotherProgramHolds)
{
    const std::wstring path = WriteIdentity("");
    const KVWinApi::CUniqueFile held(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                                   FILE_ATTRIBUTE_NORMAL, nullptr));
    ASSERT_TRUE(held.IsValid());
    EXPECT_FALSE(FindClient(L"1.2").CanIdentify());
}

TEST_F(ClientFindingsTests, DriveThatDoesNotExist)
{
    m_shellApi.base = L"Q:\\None";
    EXPECT_FALSE(FindClient(L"1.2").CanIdentify());
}

TEST_F(ClientFindingsTests, ShellThatKnowsNoFolder)
{
    m_shellApi.result = E_FAIL;
    const ClientFindings findings = FindClient(L"1.2");
    EXPECT_EQ(findings.folder, L"");
    EXPECT_EQ(findings.identityFile, L"");
    EXPECT_FALSE(findings.CanIdentify());
    m_shellApi.result = S_OK;
    m_shellApi.base.clear();
    EXPECT_FALSE(FindClient(L"1.2").CanIdentify());
    EXPECT_FALSE(FindClient(L"").CanIdentify());
}
} // namespace
