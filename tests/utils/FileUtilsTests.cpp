#include "utils/FileUtils.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/KernelApi.h"

namespace
{
using KVUtils::FileExists;

const std::wstring kPrefix = L"\\\\?\\";

TEST(FileUtilsTests, FileExists_ExistingFile_IsTrue)
{
    const KVTest::TemporaryFolder folder;
    EXPECT_TRUE(FileExists(folder.WriteFile(L"file.txt", "x")));
    EXPECT_TRUE(FileExists(folder.WriteFile(L"empty.txt", "")));
}

TEST(FileUtilsTests, FileExists_MissingFileOrFolder_IsFalse)
{
    const KVTest::TemporaryFolder folder;
    EXPECT_FALSE(FileExists(folder.PathOf(L"missing")));
    EXPECT_FALSE(FileExists(folder.PathOf(L"missing\\file.txt")));
}

TEST(FileUtilsTests, FileExists_Folder_IsFalse)
{
    const KVTest::TemporaryFolder folder;
    EXPECT_FALSE(FileExists(folder.GetPath()));
    EXPECT_FALSE(FileExists(folder.MakeFolder(L"inner")));
    EXPECT_FALSE(FileExists(L"C:\\"));
}

TEST(FileUtilsTests, FileExists_HeldOrReadOnlyFile_IsTrue)
{
    const KVTest::TemporaryFolder folder;
    const std::wstring path = folder.WriteFile(L"held.txt", "x");
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    const HANDLE held = ::CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(held, INVALID_HANDLE_VALUE);
    EXPECT_TRUE(FileExists(path));
    ::CloseHandle(held);
    ::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
}

TEST(FileUtilsTests, FileExists_NameBeyondTheBasicPlane_IsTrue)
{
    const KVTest::TemporaryFolder folder;
    EXPECT_TRUE(FileExists(folder.WriteFile(L"\U0001F5A8\u00E4.txt", "x")));
    EXPECT_FALSE(FileExists(folder.PathOf(L"\U0001F5A9\u00E4.txt")));
}

TEST(FileUtilsTests, FileExists_DotsInThePath_AreResolved)
{
    const KVTest::TemporaryFolder folder;
    folder.MakeFolder(L"inner");
    folder.WriteFile(L"file.txt", "x");
    EXPECT_TRUE(FileExists(folder.PathOf(L"inner\\..\\.\\file.txt")));
}

TEST(FileUtilsTests, FileExists_PathBeyond260Characters_IsTrue)
{
    const KVTest::TemporaryFolder folder;
    std::wstring deep = folder.GetPath();
    std::vector<std::wstring> made;
    for (int i = 0; i < 4; ++i)
    {
        deep += L"\\" + std::wstring(90, L'd');
        ASSERT_TRUE(::CreateDirectoryW((kPrefix + deep).c_str(), nullptr)) << ::GetLastError();
        made.push_back(kPrefix + deep);
    }
    const std::wstring path = deep + L"\\file.txt";
    const HANDLE file = ::CreateFileW((kPrefix + path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    ::CloseHandle(file);
    EXPECT_GT(path.size(), 260u);
    EXPECT_TRUE(FileExists(path));
    EXPECT_TRUE(FileExists(kPrefix + path));
    EXPECT_FALSE(FileExists(deep));
    EXPECT_FALSE(FileExists(path + L"x"));
    ::DeleteFileW((kPrefix + path).c_str());
    for (auto inner = made.rbegin(); inner != made.rend(); ++inner)
    {
        ::RemoveDirectoryW(inner->c_str());
    }
}

class RecordingAttributes : public KVWinApi::CKernelApi
{
public:
    DWORD GetFileAttributesW(LPCWSTR path) override
    {
        ++calls;
        lastPath = path;
        return attributes;
    }
    int calls = 0;
    std::wstring lastPath;
    DWORD attributes = FILE_ATTRIBUTE_NORMAL;
};

// The path with which the system is asked.
std::wstring AskedPath(const std::wstring& path)
{
    RecordingAttributes kernel;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    FileExists(path);
    EXPECT_EQ(kernel.calls, 1);
    return kernel.lastPath;
}

TEST(FileUtilsTests, FileExists_PathWithDrive_GetsTheLongPathPrefix)
{
    EXPECT_EQ(AskedPath(L"C:\\a\\b.txt"), kPrefix + L"C:\\a\\b.txt");
    EXPECT_EQ(AskedPath(L"C:\\a\\..\\b.txt"), kPrefix + L"C:\\b.txt");
    const std::wstring longPath = L"C:\\" + std::wstring(200, L'a') + L"\\" + std::wstring(200, L'b');
    EXPECT_EQ(AskedPath(longPath), kPrefix + longPath);
}

TEST(FileUtilsTests, FileExists_UncOrPrefixedPath_GetsNoPrefix)
{
    EXPECT_EQ(AskedPath(L"\\\\server\\share\\f"), L"\\\\server\\share\\f");
    EXPECT_EQ(AskedPath(kPrefix + L"C:\\a"), kPrefix + L"C:\\a");
    EXPECT_EQ(AskedPath(L"\\\\s"), L"\\\\s"); // three characters are enough
}

TEST(FileUtilsTests, FileExists_TwoBackslashesAlone_GetThePrefix)
{
    const std::wstring asked = AskedPath(L"\\\\");
    EXPECT_EQ(asked.substr(0, kPrefix.size()), kPrefix);
}

TEST(FileUtilsTests, FileExists_OneBackslashOrNone_GetsThePrefix)
{
    // The system takes the doubled backslash out.
    EXPECT_EQ(AskedPath(L"\\NorvikCustPartic\\OptedOut"), kPrefix + L"NorvikCustPartic\\OptedOut");
    EXPECT_EQ(AskedPath(L"relative\\f"), kPrefix + L"relative\\f");
    EXPECT_EQ(AskedPath(L""), kPrefix);
}

TEST(FileUtilsTests, FileExists_RelativePath_IsNeverFound)
{
    const KVTest::TemporaryFolder folder;
    folder.WriteFile(L"file.txt", "x");
    wchar_t before[1024] = {};
    ASSERT_NE(::GetCurrentDirectoryW(1024, before), 0u);
    ASSERT_TRUE(::SetCurrentDirectoryW(folder.GetPath().c_str()));
    EXPECT_NE(::GetFileAttributesW(L"file.txt"), INVALID_FILE_ATTRIBUTES);
    EXPECT_FALSE(FileExists(L"file.txt"));
    ::SetCurrentDirectoryW(before);
}

TEST(FileUtilsTests, FileExists_PathThatTheBufferCannotHold_IsAskedAsItIs)
{
    const std::wstring tooLong = L"C:\\..\\" + std::wstring(32000, L'x');
    EXPECT_EQ(AskedPath(tooLong), kPrefix + tooLong);
    EXPECT_FALSE(FileExists(tooLong));
    const std::wstring enormous = L"C:\\..\\" + std::wstring(100000, L'x');
    EXPECT_EQ(AskedPath(enormous), kPrefix + enormous);
}

TEST(FileUtilsTests, FileExists_PathAtTheSizeOfTheBuffer)
{
    const std::wstring start = kPrefix + L"C:\\a\\..\\";
    const std::wstring resolvedStart = kPrefix + L"C:\\";
    // 31,999 characters and the null fill the buffer; with one more the system answers the size that it needs.
    const std::wstring fits(31999 - resolvedStart.size(), L'x');
    EXPECT_EQ(AskedPath(start + fits), resolvedStart + fits);
    const std::wstring doesNotFit = fits + L"x";
    EXPECT_EQ(AskedPath(start + doesNotFit), start + doesNotFit);
}

TEST(FileUtilsTests, FileExists_DecidesByTheAttributes)
{
    RecordingAttributes kernel;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    kernel.attributes = INVALID_FILE_ATTRIBUTES;
    EXPECT_FALSE(FileExists(L"C:\\f"));
    kernel.attributes = FILE_ATTRIBUTE_DIRECTORY;
    EXPECT_FALSE(FileExists(L"C:\\f"));
    kernel.attributes = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_REPARSE_POINT;
    EXPECT_FALSE(FileExists(L"C:\\f"));
    kernel.attributes = ~static_cast<DWORD>(FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_TRUE(FileExists(L"C:\\f"));
    kernel.attributes = 0;
    EXPECT_TRUE(FileExists(L"C:\\f"));
}
} // namespace
