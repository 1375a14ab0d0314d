#include "ga_client/DataFolder.h"

#include <windows.h>

#include <shlobj.h>

#include <gtest/gtest.h>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/ScopedSubstitute.h"

namespace
{
class DataFolderTests : public testing::Test
{
protected:
    KVTest::LocalFolderApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
};

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}
} // namespace

TEST_F(DataFolderTests, Folder_IsNamedAfterApplicationAndVersionAndCreated)
{
    const std::wstring folder = GAClient::GetDataFolder(L"Lumo", L"1.2");
    EXPECT_EQ(folder, m_winApi.localFolder.GetPath() + L"\\Norvik\\Statlet\\Lumo\\1.2\\");
    EXPECT_TRUE(IsFolder(folder));
}

TEST_F(DataFolderTests, Shell_IsAskedForLocalDataAndToCreateIt)
{
    GAClient::GetDataFolder(L"Lumo", L"1.2");
    EXPECT_EQ(m_winApi.shellFolder, CSIDL_LOCAL_APPDATA);
    EXPECT_EQ(m_winApi.shellCreates, TRUE);
    EXPECT_EQ(m_winApi.shellWindow, nullptr);
}

TEST_F(DataFolderTests, Folder_ThatExists_IsTheSame)
{
    const std::wstring folder = GAClient::GetDataFolder(L"Lumo", L"1.2");
    EXPECT_EQ(GAClient::GetDataFolder(L"Lumo", L"1.2"), folder);
    EXPECT_TRUE(IsFolder(folder));
}

TEST_F(DataFolderTests, Folder_WithoutNameOrVersion_IsNone)
{
    EXPECT_EQ(GAClient::GetDataFolder(L"", L"1.2"), L"");
    EXPECT_EQ(GAClient::GetDataFolder(L"Lumo", L""), L"");
    EXPECT_FALSE(IsFolder(m_winApi.localFolder.PathOf(L"Norvik")));
}

TEST_F(DataFolderTests, Folder_OfAShellThatDoesNotAnswer_IsNone)
{
    m_winApi.shellAnswers = false;
    EXPECT_EQ(GAClient::GetDataFolder(L"Lumo", L"1.2"), L"");
}

TEST_F(DataFolderTests, Folder_ThatCannotBeCreated_IsNamedNevertheless)
{
    m_winApi.localFolder.WriteFile(L"Norvik", "a file in the folder's place");
    EXPECT_EQ(GAClient::GetDataFolder(L"Lumo", L"1.2"),
              m_winApi.localFolder.GetPath() + L"\\Norvik\\Statlet\\Lumo\\1.2\\");
}

TEST_F(DataFolderTests, Folder_ThatNothingCanCreate_IsTheSame)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries();
    const std::wstring folder = GAClient::GetDataFolder(L"Lumo", L"1.2");
    EXPECT_EQ(folder, m_winApi.localFolder.GetPath() + L"\\Norvik\\Statlet\\Lumo\\1.2\\");
    EXPECT_FALSE(IsFolder(folder));
}
