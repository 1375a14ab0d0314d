#include "ga_client/ClientId.h"

#include <gtest/gtest.h>

#include <regex>

#include "tests/support/ClientTestSupport.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/Narrow.h"
#include "tests/support/ScopedSubstitute.h"

using GAClient::LoadOrCreateClientId;

namespace
{
class FailingProfileApi : public KVTest::LocalFolderApi
{
public:
    DWORD GetPrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR defaultValue, LPWSTR value, DWORD size,
                                   LPCWSTR file) override
    {
        ++reads;
        readSize = size;
        readDefault = defaultValue;
        readFile = file;
        return CWinApi::GetPrivateProfileStringW(section, key, defaultValue, value, size, file);
    }
    BOOL WritePrivateProfileStringW(LPCWSTR section, LPCWSTR key, LPCWSTR value, LPCWSTR file) override
    {
        ++writes;
        return writeFails ? FALSE : CWinApi::WritePrivateProfileStringW(section, key, value, file);
    }

    bool writeFails = false;
    int reads = 0;
    int writes = 0;
    DWORD readSize = 0;
    std::wstring readDefault = L"none";
    std::wstring readFile;
};

class ClientIdTests : public testing::Test
{
protected:
    // Puts an identity file in place before the first run.
    void WriteIdentity(const std::string& bytes)
    {
        std::wstring id;
        LoadOrCreateClientId(L"Lumo", L"1.2", id);
        KVTest::TemporaryFolder content;
        ::CopyFileW(content.WriteFile(L"identity", bytes).c_str(), IdentityFile(L"1.2").c_str(), FALSE);
    }
    std::wstring IdentityFile(const std::wstring& version) const
    {
        return m_winApi.DataFolder(L"Lumo", version) + L"Lumo.ini";
    }

    FailingProfileApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_swap{KVWinApi::g_winApi, m_winApi};
};

bool IsPlainUuid(const std::wstring& text)
{
    return std::regex_match(text, std::wregex(L"[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}"));
}
} // namespace

TEST_F(ClientIdTests, FirstRun_CreatesALowerCaseUuidAndWritesIt)
{
    std::wstring id;
    ASSERT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_EQ(id.size(), 36U);
    EXPECT_TRUE(IsPlainUuid(id)) << KVTest::Narrow(id);
    EXPECT_EQ(KVTest::ReadFileBytes(IdentityFile(L"1.2")), "[Users]\r\nUUID=" + KVTest::Narrow(id) + "\r\n");
}

TEST_F(ClientIdTests, File_IsReadWithAnEmptyDefaultAndABufferOf256)
{
    std::wstring id;
    LoadOrCreateClientId(L"Lumo", L"1.2", id);
    EXPECT_EQ(m_winApi.readSize, 256U);
    EXPECT_EQ(m_winApi.readDefault, L"");
    EXPECT_EQ(m_winApi.readFile, IdentityFile(L"1.2"));
}

TEST_F(ClientIdTests, SecondRun_ReusesTheId)
{
    std::wstring first;
    std::wstring second;
    ASSERT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", first));
    ASSERT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", second));
    EXPECT_EQ(second, first);
    EXPECT_EQ(m_winApi.writes, 1);
}

TEST_F(ClientIdTests, NewVersion_HasANewId)
{
    std::wstring first;
    std::wstring second;
    ASSERT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", first));
    ASSERT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.3", second));
    EXPECT_NE(second, first);
    EXPECT_TRUE(IsPlainUuid(second));
    EXPECT_NE(::GetFileAttributesW(IdentityFile(L"1.3").c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST_F(ClientIdTests, ExistingValue_IsNotValidated)
{
    WriteIdentity("[Users]\r\nUUID=Not a UUID {x}\r\n");
    std::wstring id;
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_EQ(id, L"Not a UUID {x}");
}

TEST_F(ClientIdTests, ExistingValue_OfOneCharacter_IsEnough)
{
    WriteIdentity("[Users]\r\nUUID=7\r\n");
    std::wstring id;
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_EQ(id, L"7");
}

TEST_F(ClientIdTests, ExistingValue_LongerThanTheBuffer_IsCut)
{
    WriteIdentity("[Users]\r\nUUID=" + std::string(400, 'x') + "\r\n");
    std::wstring id;
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_EQ(id, std::wstring(255, L'x'));
}

TEST_F(ClientIdTests, EmptyValue_IsReplaced)
{
    WriteIdentity("[Users]\r\nUUID=\r\n");
    std::wstring id;
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_TRUE(IsPlainUuid(id));
}

TEST_F(ClientIdTests, DamagedFile_IsGivenAnId)
{
    WriteIdentity(std::string("\0\xFF[Users\nUUID", 13));
    std::wstring first;
    std::wstring second;
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", first));
    EXPECT_TRUE(IsPlainUuid(first));
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", second));
    EXPECT_EQ(second, first);
}

TEST_F(ClientIdTests, FailedWrite_FailsThoughTheIdIsKept)
{
    m_winApi.writeFails = true;
    std::wstring id;
    EXPECT_FALSE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_TRUE(IsPlainUuid(id));
}

TEST_F(ClientIdTests, FolderInPlaceOfTheFile_Fails)
{
    std::wstring id;
    LoadOrCreateClientId(L"Lumo", L"1.2", id);
    ::DeleteFileW(IdentityFile(L"1.2").c_str());
    ASSERT_TRUE(::CreateDirectoryW(IdentityFile(L"1.2").c_str(), nullptr));
    EXPECT_FALSE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_TRUE(IsPlainUuid(id));
}

TEST_F(ClientIdTests, NoApplicationName_FailsAndTouchesNothing)
{
    std::wstring id = L"kept";
    EXPECT_FALSE(LoadOrCreateClientId(L"", L"1.2", id));
    EXPECT_EQ(id, L"kept");
    EXPECT_EQ(m_winApi.reads, 0);
    EXPECT_EQ(m_winApi.writes, 0);
}

TEST_F(ClientIdTests, NoVersion_FailsWithANewIdAndUsesNoFile)
{
    std::wstring id;
    EXPECT_FALSE(LoadOrCreateClientId(L"Lumo", L"", id));
    EXPECT_TRUE(IsPlainUuid(id));
    EXPECT_EQ(m_winApi.reads, 0);
    EXPECT_EQ(m_winApi.writes, 0);
}

TEST_F(ClientIdTests, NoDataFolder_FailsWithANewIdAndUsesNoFile)
{
    m_winApi.shellAnswers = false;
    std::wstring id;
    EXPECT_FALSE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_TRUE(IsPlainUuid(id));
    EXPECT_EQ(m_winApi.reads, 0);
    EXPECT_EQ(m_winApi.writes, 0);
}

// The generator, or the function that formats its result, is missing.
TEST_F(ClientIdTests, GeneratorThatFails_GivesAnEmptyIdWhichIsWritten)
{
    for (const wchar_t* const library : {L"rpcrt4.dll", L"ole32.dll"})
    {
        KVTest::LoaderPatch loader;
        loader.LackLibraries(library);
        std::wstring id = L"before";
        EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
        EXPECT_EQ(id, L"");
    }
    EXPECT_EQ(m_winApi.writes, 2);
    std::wstring id;
    EXPECT_TRUE(LoadOrCreateClientId(L"Lumo", L"1.2", id));
    EXPECT_TRUE(IsPlainUuid(id));
}
