#include "utils/PathUtils.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/ScopedSubstitute.h"
#include "utils/PathOfExecutableOverride.h"
#include "winapi/KernelApi.h"

namespace
{
using KVUtils::CPathUtils;

struct StripCase
{
    const char* name;
    std::wstring path;
    std::wstring expected;
};

void PrintTo(const StripCase& row, std::ostream* stream)
{
    *stream << row.name;
}

class StripFilenameTests : public testing::TestWithParam<StripCase>
{
};

TEST_P(StripFilenameTests, GivesTheFolder)
{
    EXPECT_EQ(CPathUtils::StripFilename(GetParam().path), GetParam().expected);
}

const std::wstring kLongestName(255, L'n');
const std::wstring kTooLongName(256, L'n');

INSTANTIATE_TEST_SUITE_P(
    PathUtilsTests, StripFilenameTests,
    testing::Values(StripCase{"Empty", L"", L""}, StripCase{"FileInFolder", L"C:\\dir\\file.exe", L"C:\\dir"},
                    StripCase{"FileInRoot", L"C:\\file.exe", L"C:\\"}, StripCase{"Root", L"C:\\", L"C:\\"},
                    StripCase{"DriveOnly", L"C:", L"C:"}, StripCase{"FolderWithBackslash", L"C:\\dir\\", L"C:\\dir"},
                    StripCase{"FileInRootWithoutDrive", L"\\file", L"\\"}, StripCase{"LoneBackslash", L"\\", L"\\"},
                    StripCase{"TwoBackslashes", L"\\\\", L"\\"}, StripCase{"FileOnly", L"file", L""},
                    StripCase{"FileOnDrive", L"C:file", L"C:"}, StripCase{"FolderOnDrive", L"C:dir\\file", L"C:dir"},
                    StripCase{"Share", L"\\\\server\\share\\f", L"\\\\server\\share"},
                    StripCase{"ForwardSlashes", L"C:/dir/file", L"C:"},
                    StripCase{"ForwardSlashesWithoutDrive", L"dir/file", L""},
                    StripCase{"MixedSlashes", L"C:\\a/b\\c/d", L"C:\\a/b"},
                    // The backslash is the third character, but does not follow a drive.
                    StripCase{"BackslashAtTwoWithoutDrive", L"ab\\file", L"ab"},
                    StripCase{"DoubledBackslash", L"C:\\\\file", L"C:\\"},
                    StripCase{"Dots", L"C:\\a\\..\\b.c.d", L"C:\\a\\.."},
                    StripCase{"BeyondTheBasicPlane", L"C:\\\U0001F5A8\\\U0001F600.exe", L"C:\\\U0001F5A8"},
                    StripCase{"LongestNameInRoot", L"C:\\" + kLongestName, L"C:\\"},
                    // A split that fails counts as no drive, so nothing keeps the root's backslash.
                    StripCase{"TooLongNameInRoot", L"C:\\" + kTooLongName, L"C:"},
                    StripCase{"TooLongNameOnDrive", L"C:" + kTooLongName, L""},
                    StripCase{"TooLongExtensionInRoot", L"C:\\a." + kTooLongName, L"C:"},
                    StripCase{"TooLongFolder", L"C:\\" + kTooLongName + L"\\f", L"C:\\" + kTooLongName},
                    StripCase{"TooLongName", L"C:\\dir\\" + kTooLongName, L"C:\\dir"}),
    [](const auto& instance) { return std::string(instance.param.name); });

class ExecutableAt : public KVWinApi::CKernelApi
{
public:
    explicit ExecutableAt(std::wstring path) : m_path(std::move(path)) {}

    // As the system does: cuts a long path, terminates nothing then, and answers the size.
    DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) override
    {
        ++calls;
        lastModule = module;
        lastSize = size;
        sawZeroedBuffer = std::all_of(buffer, buffer + size + 1, [](wchar_t unit) { return unit == L'\0'; });
        if (isFailing)
        {
            std::wstring(L"C:\\garbage\\x").copy(buffer, size);
            return 0;
        }
        return static_cast<DWORD>(m_path.copy(buffer, size));
    }
    void SetPath(const std::wstring& path) { m_path = path; }

    bool isFailing = false;
    int calls = 0;
    HMODULE lastModule = ::GetModuleHandleW(L"kernel32");
    DWORD lastSize = 0;
    bool sawZeroedBuffer = false;

private:
    std::wstring m_path;
};

TEST(PathUtilsTests, GetPathOfExecutable_RealProgram_IsItsFolder)
{
    wchar_t path[1024] = {};
    ASSERT_NE(::GetModuleFileNameW(nullptr, path, 1023), 0u);
    const std::wstring full = path;
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), full.substr(0, full.rfind(L'\\')));
}

TEST(PathUtilsTests, GetPathOfExecutable_AsksForTheOwnModuleWithAZeroedBuffer)
{
    ExecutableAt kernel(L"C:\\Product\\bin\\program.exe");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"C:\\Product\\bin");
    EXPECT_EQ(kernel.lastModule, nullptr);
    EXPECT_EQ(kernel.lastSize, 260u);
    EXPECT_TRUE(kernel.sawZeroedBuffer); // all 261 of them
}

TEST(PathUtilsTests, GetPathOfExecutable_IsAskedEachTime)
{
    ExecutableAt kernel(L"C:\\one\\p.exe");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"C:\\one");
    kernel.SetPath(L"C:\\two\\p.exe");
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"C:\\two");
    EXPECT_EQ(kernel.calls, 2);
}

TEST(PathUtilsTests, GetPathOfExecutable_InRoot_KeepsTheBackslash)
{
    ExecutableAt kernel(L"C:\\program.exe");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"C:\\");
}

TEST(PathUtilsTests, GetPathOfExecutable_FailingCall_IsEmptyWhateverTheBufferHolds)
{
    ExecutableAt kernel(L"");
    kernel.isFailing = true;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"");
}

TEST(PathUtilsTests, GetPathOfExecutable_PathOf260Characters_UsesAllThatTheSystemGives)
{
    const std::wstring folder = L"C:\\" + std::wstring(240, L'f');
    ExecutableAt kernel(folder + L"\\" + std::wstring(300, L'p'));
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), folder);
}

TEST(PathUtilsTests, GetPathOfExecutable_LastOf260CharactersIsABackslash_CountsAsTheEndOfTheFolder)
{
    const std::wstring folder = L"C:\\" + std::wstring(150, L'f') + L"\\" + std::wstring(105, L'g');
    ASSERT_EQ(folder.size(), 259u);
    ExecutableAt kernel(folder + L"\\p.exe");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), folder);
}

TEST(PathUtilsTests, GetPathOfExecutable_Override_IsReturnedAsItIsWithoutAskingTheSystem)
{
    ExecutableAt kernel(L"C:\\Product\\bin\\program.exe");
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    KVUtils::g_pathOfExecutableOverride = L"D:\\elsewhere\\"; // not even its backslash is touched
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"D:\\elsewhere\\");
    EXPECT_EQ(kernel.calls, 0);
    KVUtils::g_pathOfExecutableOverride.clear();
    EXPECT_EQ(CPathUtils::GetPathOfExecutable(), L"C:\\Product\\bin");
}

TEST(PathUtilsTests, CombinePaths_JoinsWithOneBackslash)
{
    EXPECT_EQ(KVUtils::CombinePaths(L"C:\\a", L"b"), L"C:\\a\\b");
    EXPECT_EQ(KVUtils::CombinePaths(L"C:\\a\\", L"b"), L"C:\\a\\b");
    EXPECT_EQ(KVUtils::CombinePaths(L"C:\\a", L"\\b"), L"C:\\a\\b");
    EXPECT_EQ(KVUtils::CombinePaths(L"C:\\a\\", L"\\b"), L"C:\\a\\b");
}

TEST(PathUtilsTests, CombinePaths_OneEmpty_GivesTheOtherUnchanged)
{
    EXPECT_EQ(KVUtils::CombinePaths(L"", L"x"), L"x");
    EXPECT_EQ(KVUtils::CombinePaths(L"", L"\\x"), L"\\x");
    EXPECT_EQ(KVUtils::CombinePaths(L"x", L""), L"x");
    EXPECT_EQ(KVUtils::CombinePaths(L"x\\", L""), L"x\\");
    EXPECT_EQ(KVUtils::CombinePaths(L"", L""), L"");
}

TEST(PathUtilsTests, CombinePaths_MoreThanOneBackslash_LosesOneOnEachSideOnly)
{
    EXPECT_EQ(KVUtils::CombinePaths(L"a\\\\", L"b"), L"a\\\\b");
    EXPECT_EQ(KVUtils::CombinePaths(L"a", L"\\\\b"), L"a\\\\b");
    EXPECT_EQ(KVUtils::CombinePaths(L"a\\\\", L"\\\\b"), L"a\\\\\\b");
    EXPECT_EQ(KVUtils::CombinePaths(L"\\", L"\\"), L"\\");
}

TEST(PathUtilsTests, CombinePaths_ForwardSlash_IsNoSeparator)
{
    EXPECT_EQ(KVUtils::CombinePaths(L"a/", L"/b"), L"a/\\/b");
}

TEST(PathUtilsTests, GetLastPathComponent_IsTheTextBehindTheLastBackslash)
{
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:\\a\\b"), L"b");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:\\"), L"");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:\\a\\"), L"");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"\\"), L"");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:\\a\\b:c"), L"b:c"); // a backslash takes precedence over a colon
}

TEST(PathUtilsTests, GetLastPathComponent_WithoutBackslash_IsTheTextBehindTheLastColon)
{
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:b"), L"b");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:"), L"");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"a:b:c"), L"c");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"C:a/b"), L"a/b");
}

TEST(PathUtilsTests, GetLastPathComponent_WithoutAnySeparator_IsTheWholePath)
{
    EXPECT_EQ(KVUtils::GetLastPathComponent(L"a/b"), L"a/b");
    EXPECT_EQ(KVUtils::GetLastPathComponent(L""), L"");
}
} // namespace
