#include <windows.h>

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <string>
#include <vector>

#include "proxy/AnalyticsProxy.h"
#include "tests/proxy/Surroundings.h"
#include "tests/support/AllocationHook.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/TraceCapture.h"
#include "utils/PathOfExecutableOverride.h"
#include "winapi/WinApi.h"

namespace
{
class ConsentTests : public testing::Test
{
protected:
    bool Check()
    {
        m_trace.Enable(KVLogging::kLogInfo);
        return KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics();
    }
    std::wstring LastLine() const
    {
        const std::wstring text = m_trace.GetText();
        return text.substr(text.rfind(L"(I0) "));
    }
    // The two paths that were looked at, without the long-path prefix.
    std::vector<std::wstring> LookedAt() const
    {
        std::vector<std::wstring> paths;
        for (const std::wstring& path : m_around.attributeCalls)
        {
            paths.push_back(path.starts_with(L"\\\\?\\") ? path.substr(4) : path);
        }
        return paths;
    }

    KVTest::Surroundings m_around;
    KVTest::TraceCapture m_trace;
};

constexpr wchar_t kYes[] = L"(I0) CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is true\r\n";
constexpr wchar_t kNo[] = L"(I0) CAnalyticsProxy::IsOptInForAnalytics - bAnalyticsOptIn is false\r\n";

// A long path as the system resolves it; doubled backslashes are its business.
std::wstring Resolve(const wchar_t* path)
{
    wchar_t resolved[MAX_PATH] = {};
    ::GetFullPathNameW(path, MAX_PATH, resolved, nullptr);
    return resolved;
}

TEST_F(ConsentTests, ProgramPresentWithoutMark_IsConsent)
{
    EXPECT_TRUE(Check());
    EXPECT_EQ(LastLine(), kYes);
}

TEST_F(ConsentTests, ProgramPresentWithMark_IsNoConsent)
{
    m_around.OptOut();
    EXPECT_FALSE(Check());
    EXPECT_EQ(LastLine(), kNo);
}

TEST_F(ConsentTests, ProgramAbsent_IsNoConsent)
{
    m_around.RemoveParticipationProgram();
    EXPECT_FALSE(Check());
    EXPECT_EQ(LastLine(), kNo);
}

TEST_F(ConsentTests, ProgramAbsentWithMark_IsNoConsent)
{
    m_around.RemoveParticipationProgram();
    m_around.OptOut();
    EXPECT_FALSE(Check());
    EXPECT_EQ(LastLine(), kNo);
}

TEST_F(ConsentTests, AFolderInThePlaceOfTheProgram_IsNoConsent)
{
    m_around.RemoveParticipationProgram();
    m_around.GetProductFolder().MakeFolder(L"bin\\NorvikCustPartic.exe");
    EXPECT_FALSE(Check());
}

TEST_F(ConsentTests, AFolderInThePlaceOfTheMark_IsNoOptOut)
{
    m_around.GetProductFolder().MakeFolder(L"data");
    m_around.GetProductFolder().MakeFolder(L"data\\NorvikCustPartic");
    m_around.GetProductFolder().MakeFolder(L"data\\NorvikCustPartic\\OptedOut");
    EXPECT_TRUE(Check());
}

TEST_F(ConsentTests, BothFilesAreLookedAtWhateverTheFirstSays)
{
    const std::wstring product = m_around.GetProductFolder().GetPath();
    m_around.RemoveParticipationProgram();
    Check();
    EXPECT_EQ(LookedAt(), (std::vector<std::wstring>{product + L"\\bin\\NorvikCustPartic.exe",
                                                     product + L"\\data\\NorvikCustPartic\\OptedOut"}));
}

KV_DECLARE_IMPORT(GetFullPathNameW)

std::vector<std::wstring> s_pathsToResolve;

DWORD WINAPI KeepPathToResolve(LPCWSTR path, DWORD, LPWSTR, LPWSTR*)
{
    s_pathsToResolve.emplace_back(path);
    ::SetLastError(ERROR_INVALID_NAME);
    return 0;
}

// The paths as they are put together: the system makes one backslash of two.
TEST_F(ConsentTests, AProgramInARootFolder_IsLookedForAsThePathComesOut)
{
    const KVTest::ImportPatch patch(__imp_GetFullPathNameW, reinterpret_cast<void*>(&KeepPathToResolve));
    KVUtils::g_pathOfExecutableOverride = L"C:\\";
    m_around.RemoveConfig();
    Check();
    EXPECT_EQ(s_pathsToResolve.at(0), L"\\\\?\\C:\\\\NorvikCustPartic.exe");
}

TEST_F(ConsentTests, ADataFolderThatEndsInABackslash_IsLookedInAsThePathComesOut)
{
    const KVTest::ImportPatch patch(__imp_GetFullPathNameW, reinterpret_cast<void*>(&KeepPathToResolve));
    m_around.GetProductFolder().WriteFile(L"config.ini", "[Directories]\r\nDataFolder=C:\\data\\\r\n");
    Check();
    EXPECT_EQ(s_pathsToResolve.at(1), L"\\\\?\\C:\\data\\\\NorvikCustPartic\\OptedOut");
}

TEST_F(ConsentTests, WithoutADataFolder_TheBareMarkIsLookedFor)
{
    m_around.RemoveConfig();
    m_around.shellResult = E_FAIL;
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.attributeCalls.at(1), Resolve(L"\\\\?\\\\NorvikCustPartic\\OptedOut"));
}

TEST_F(ConsentTests, WithoutAConfiguredDataFolder_TheMarkIsLookedForInTheCommonData)
{
    m_around.RemoveConfig();
    Check();
    const std::wstring product = m_around.GetProductFolder().GetPath();
    EXPECT_EQ(LookedAt().at(1),
              L"C:\\Shell\\Folder\\Norvik" + product.substr(product.rfind(L'\\')) + L"\\NorvikCustPartic\\OptedOut");
}

TEST_F(ConsentTests, AMarkThatCannotBeLookedAt_CountsAsAbsent)
{
    m_around.OptOut();
    m_around.markError = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(Check());
}

// A user who opted out, on a system that lacks memory at some step before the mark is found. The check must have no
// result: the default folder, in which it would otherwise search, has no mark.
class ConsentWithoutMemoryTests : public ConsentTests
{
protected:
    ConsentWithoutMemoryTests() { m_around.OptOut(); }

    void ExpectNoAnswer()
    {
        // Without the log, whose own reading is not part of this test.
        EXPECT_THROW(KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics(), std::bad_alloc);
    }
};

TEST_F(ConsentWithoutMemoryTests, MarkNotLookedAt_GivesNoAnswer)
{
    for (const LONG error : {ERROR_NOT_ENOUGH_MEMORY, ERROR_OUTOFMEMORY, ERROR_NO_SYSTEM_RESOURCES,
                             ERROR_COMMITMENT_LIMIT, ERROR_NOT_ENOUGH_QUOTA})
    {
        m_around.markError = static_cast<DWORD>(error);
        ExpectNoAnswer();
    }
}

class Profile : public KVWinApi::CWinApi
{
public:
    DWORD GetPrivateProfileStringW(LPCWSTR, LPCWSTR, LPCWSTR, LPWSTR, DWORD, LPCWSTR) override
    {
        ::SetLastError(error);
        return 0;
    }
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
};

TEST_F(ConsentWithoutMemoryTests, DataFolderNotRead_GivesNoAnswer)
{
    Profile profile;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_winApi, profile);
    ExpectNoAnswer();
    ExpectNoAnswer();                        // nothing of the first attempt is kept
    profile.error = ERROR_SHARING_VIOLATION; // a file that is held open reads as one without keys
    EXPECT_TRUE(KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics());
}

TEST_F(ConsentWithoutMemoryTests, DefaultDataFolderNotFound_GivesNoAnswer)
{
    m_around.RemoveConfig();
    for (const HRESULT result : {E_OUTOFMEMORY, HRESULT_FROM_WIN32(ERROR_NOT_ENOUGH_MEMORY)})
    {
        m_around.shellResult = result;
        ExpectNoAnswer();
    }
}

KV_DECLARE_IMPORT(GetSystemDirectoryW)

UINT WINAPI GetSystemDirectoryOfTest(LPWSTR, UINT)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}

TEST_F(ConsentWithoutMemoryTests, ShellNotLoaded_GivesNoAnswer)
{
    m_around.RemoveConfig();
    KVWinApi::CShellApi shell;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_shellApi, shell);
    const KVTest::ImportPatch patch(__imp_GetSystemDirectoryW, reinterpret_cast<void*>(&GetSystemDirectoryOfTest));
    ExpectNoAnswer();
}

int s_fullPathCalls = 0;

DWORD WINAPI GetFullPathNameOfTest(LPCWSTR path, DWORD size, LPWSTR buffer, LPWSTR*)
{
    if (++s_fullPathCalls == 1)
    {
        return static_cast<DWORD>(std::wstring(path).copy(buffer, size)); // the participation program's
    }
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return 0;
}

TEST_F(ConsentWithoutMemoryTests, PathOfTheMarkNotResolved_GivesNoAnswer)
{
    const KVTest::ImportPatch patch(__imp_GetFullPathNameW, reinterpret_cast<void*>(&GetFullPathNameOfTest));
    ExpectNoAnswer();
    EXPECT_EQ(s_fullPathCalls, 2);
}

class ForgetfulKernel : public KVWinApi::CKernelApi
{
public:
    DWORD GetModuleFileNameW(HMODULE, LPWSTR path, DWORD size) override
    {
        if (++calls == 1)
        {
            return static_cast<DWORD>(program.copy(path, size)); // to find the participation program
        }
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
    std::wstring program;
    int calls = 0;
};

TEST_F(ConsentWithoutMemoryTests, ProductFolderNotFound_GivesNoAnswer)
{
    ForgetfulKernel kernel;
    kernel.program = KVUtils::g_pathOfExecutableOverride + L"\\program.exe";
    KVUtils::g_pathOfExecutableOverride.clear();
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    ExpectNoAnswer();
    EXPECT_EQ(kernel.calls, 2);
}

int s_allocationsLeft = 0;

// Whether the user counts as opted in; nothing if the allocation of that number threw.
std::optional<bool> CheckWithFailingAllocation(int number)
{
    s_allocationsLeft = number;
    try
    {
        const KVTest::AllocationHook hook([](std::size_t) {
            if (s_allocationsLeft-- == 0)
            {
                throw std::bad_alloc();
            }
        });
        return KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics();
    }
    catch (const std::bad_alloc&)
    {
        return std::nullopt;
    }
}

TEST_F(ConsentWithoutMemoryTests, NoAllocationThatFails_MakesANoAYes)
{
    int silent = 0;
    int number = 0;
    do
    {
        const std::optional<bool> isConsent = CheckWithFailingAllocation(number);
        ASSERT_NE(isConsent, true) << "allocation " << number;
        silent += isConsent.has_value() ? 0 : 1;
        ++number;
    } while (s_allocationsLeft < 0); // a failure has happened
    EXPECT_GT(number, 10);
    EXPECT_GT(silent, 5);
}

TEST_F(ConsentTests, Check_IsTracedByItsName)
{
    m_trace.Enable(0xC00);
    KVAnalyticsProxy::CAnalyticsProxy().IsOptInForAnalytics();
    const std::wstring text = m_trace.GetText();
    EXPECT_TRUE(text.starts_with(L"(->) CAnalyticsProxy::IsOptInForAnalytics\r\n"));
    EXPECT_TRUE(text.ends_with(L"(<-) CAnalyticsProxy::IsOptInForAnalytics\r\n"));
}
} // namespace
