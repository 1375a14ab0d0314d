#include "doctor/Examination.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <string>

#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TemporaryFolder.h"
#include "utils/PathOfExecutableOverride.h"
#include "winapi/KernelApi.h"
#include "winapi/WinApi.h"

namespace
{
using KVAnalyticsDoctor::ExaminationResult;
using KVAnalyticsDoctor::Examine;

constexpr DWORD kLongMs = 30000;

// A system that counts what would change it, and fails or waits where a test wants it.
class WatchedKernel : public KVWinApi::CKernelApi
{
public:
    DWORD GetFileAttributesW(LPCWSTR path) override
    {
        const std::wstring name = path;
        if (name.ends_with(L"OptedOut"))
        {
            for (DWORD waitedMs = 0; waitsAtMark && waitedMs < kLongMs; waitedMs += 10)
            {
                ::Sleep(10);
            }
            if (markError != ERROR_SUCCESS)
            {
                ::SetLastError(markError);
                return INVALID_FILE_ATTRIBUTES;
            }
        }
        return CKernelApi::GetFileAttributesW(path);
    }
    HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                       DWORD flags, HANDLE model) override
    {
        changes += disposition != OPEN_EXISTING ? 1 : 0;
        return CKernelApi::CreateFileW(path, access, share, attributes, disposition, flags, model);
    }
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) override
    {
        ++changes;
        return CKernelApi::WriteFile(file, buffer, size, written, overlapped);
    }
    std::uintptr_t BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine routine, void* argument,
                                 unsigned flags, unsigned* id) override
    {
        return refusesThreads ? 0 : CKernelApi::BeginThreadEx(security, stackSize, routine, argument, flags, id);
    }

    std::atomic<bool> waitsAtMark = false;
    DWORD markError = ERROR_SUCCESS;
    bool refusesThreads = false;
    std::atomic<int> changes = 0;
};

class WatchedWinApi : public KVWinApi::CWinApi
{
public:
    BOOL WritePrivateProfileStringW(LPCWSTR, LPCWSTR, LPCWSTR, LPCWSTR) override
    {
        ++changes;
        return FALSE;
    }
    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES, BOOL, LPCWSTR) override
    {
        ++changes;
        return nullptr;
    }
    BOOL SHGetSpecialFolderPathW(HWND window, LPWSTR path, int folder, BOOL create) override
    {
        changes += create != FALSE ? 1 : 0;
        return CWinApi::SHGetSpecialFolderPathW(window, path, folder, create);
    }
    HINTERNET InternetOpenW(LPCWSTR, DWORD, LPCWSTR, LPCWSTR, DWORD) override
    {
        ++sessions;
        return nullptr;
    }

    std::atomic<int> changes = 0;
    std::atomic<int> sessions = 0;
};

class ExaminationTests : public testing::Test
{
protected:
    ExaminationTests()
    {
        m_product.MakeFolder(L"bin");
        m_product.WriteFile(L"bin\\NorvikCustPartic.exe", "");
        m_product.WriteFile(L"config.ini", "[Directories]\r\nDataFolder=C:\\no such folder\r\n");
        KVUtils::g_pathOfExecutableOverride = m_product.PathOf(L"bin");
    }
    ~ExaminationTests() override { KVUtils::g_pathOfExecutableOverride.clear(); }

    KVTest::TemporaryFolder m_product;
    WatchedKernel m_kernelApi;
    WatchedWinApi m_winApi;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernelApi};
    KVTest::ScopedSubstitute<KVWinApi::IWinApi> m_winSwap{KVWinApi::g_winApi, m_winApi};
};

TEST_F(ExaminationTests, AllPartsButTheHost_AreDeterminedWithoutAChange)
{
    const ExaminationResult result = Examine(false, kLongMs);
    EXPECT_TRUE(result.isComplete);
    const KVAnalyticsDoctor::Findings& found = result.findings;
    EXPECT_TRUE(found.program && found.consent && found.configuration && found.client && found.queue && found.log &&
                found.connection);
    EXPECT_FALSE(found.reach);
    EXPECT_FALSE(found.isReachAsked);
    EXPECT_TRUE(found.consent->IsGiven());
    EXPECT_FALSE(found.program->isPresent);
    EXPECT_EQ(found.configuration->dataFolder, L"C:\\no such folder");
    EXPECT_EQ(m_kernelApi.changes, 0);
    EXPECT_EQ(m_winApi.changes, 0);
    EXPECT_EQ(m_winApi.sessions, 0);
}

TEST_F(ExaminationTests, Host_IsAskedOnlyOnRequest)
{
    const ExaminationResult result = Examine(true, kLongMs);
    EXPECT_TRUE(result.findings.isReachAsked);
    ASSERT_TRUE(result.findings.reach);
    EXPECT_FALSE(result.findings.reach->isReached);
    EXPECT_EQ(m_winApi.sessions, 1);
}

TEST_F(ExaminationTests, PartThatLacksMemory_IsMissingAndTheOthersAreThere)
{
    m_kernelApi.markError = ERROR_NOT_ENOUGH_MEMORY;
    const ExaminationResult result = Examine(false, kLongMs);
    EXPECT_TRUE(result.isComplete);
    EXPECT_FALSE(result.findings.consent);
    EXPECT_TRUE(result.findings.program && result.findings.client && result.findings.log);
}

TEST_F(ExaminationTests, PartThatTakesTooLong_IsMissingWithThoseBehindIt)
{
    m_kernelApi.waitsAtMark = true;
    const ExaminationResult result = Examine(false, 1000);
    EXPECT_FALSE(result.isComplete);
    EXPECT_TRUE(result.findings.program);
    EXPECT_FALSE(result.findings.consent || result.findings.configuration || result.findings.log);
    m_kernelApi.waitsAtMark = false;
    EXPECT_EQ(::WaitForSingleObject(result.thread.Get(), kLongMs), WAIT_OBJECT_0); // it uses the substitutes
}

TEST_F(ExaminationTests, NoThread_FindsNothing)
{
    m_kernelApi.refusesThreads = true;
    const ExaminationResult result = Examine(true, kLongMs);
    EXPECT_TRUE(result.isComplete);
    EXPECT_FALSE(result.findings.program || result.findings.consent);
}
} // namespace
