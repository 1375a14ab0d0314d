#include "tests/support/TemporaryFolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <stdexcept>

namespace
{
using KVTest::TemporaryFolder;

bool IsFolder(const std::wstring& path)
{
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

TEST(TemporaryFolderTests, Folder_ExistsWhileTheObjectLivesAndGoesWithAllItHolds)
{
    std::wstring path;
    {
        const TemporaryFolder folder;
        path = folder.GetPath();
        EXPECT_TRUE(IsFolder(path));
        folder.WriteFile(L"file.txt", "text");
        EXPECT_TRUE(IsFolder(folder.MakeFolder(L"inner")));
    }
    EXPECT_EQ(::GetFileAttributesW(path.c_str()), INVALID_FILE_ATTRIBUTES);
}

TEST(TemporaryFolderTests, TwoFolders_AreDifferent)
{
    const TemporaryFolder one;
    const TemporaryFolder other;
    EXPECT_NE(one.GetPath(), other.GetPath());
}

TEST(TemporaryFolderTests, WriteFile_KeepsEveryByte)
{
    const TemporaryFolder folder;
    const std::string bytes("a\0\r\n\xFF", 5);
    EXPECT_EQ(KVTest::ReadFileBytes(folder.WriteFile(L"file.bin", bytes)), bytes);
}

TEST(TemporaryFolderTests, ReadUtf16File_GivesTheTextAndRefusesHalfACharacter)
{
    const TemporaryFolder folder;
    EXPECT_EQ(KVTest::ReadUtf16File(folder.WriteFile(L"text.txt", std::string("A\0\xE9\0", 4))), L"A\u00E9");
    EXPECT_THROW(KVTest::ReadUtf16File(folder.WriteFile(L"odd.txt", "A")), std::runtime_error);
    EXPECT_THROW(KVTest::ReadUtf16File(folder.PathOf(L"missing.txt")), std::runtime_error);
}
} // namespace
