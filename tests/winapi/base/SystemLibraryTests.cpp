#include "winapi/base/SystemLibrary.h"

#include <windows.h>

#include <mmsystem.h>

#include <gtest/gtest.h>

#include <atomic>
#include <deque>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/AllocationHook.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/TemporaryFolder.h"
#include "winapi/base/SystemLibraries.h"

KV_DECLARE_IMPORT(GetProcAddress)

// winmm.dll stands for all: nothing else in this program needs it, so that a test finds it not yet loaded.

namespace
{
using namespace KVWinApi;

constinit CSystemLibrary s_winMm(L"winmm.dll");
constinit CSystemLibrary s_noLibrary(L"kv_no_such.dll");
constinit CSystemFunction<decltype(&::timeGetTime)> s_contested(s_winMm, "timeGetTime");
bool s_isContested = false;

using ErrorCodeFunction = CSystemFunction<DWORD(WINAPI*)(int)>;
using HresultFunction = CSystemFunction<HRESULT(WINAPI*)(int)>;
using HandleFunction = CSystemFunction<HANDLE(WINAPI*)(int)>;
using VoidFunction = CSystemFunction<void(WINAPI*)(int*)>;

std::wstring GetSystemFolder()
{
    wchar_t folder[MAX_PATH] = {};
    ::GetSystemDirectoryW(folder, MAX_PATH);
    return folder;
}

TEST(SystemLibraryTests, Find_FirstCall_LoadsTheFileOfTheSystemFolderByItsFullPath)
{
    ASSERT_EQ(::GetModuleHandleW(L"winmm.dll"), nullptr);
    const KVTest::LoaderPatch loader;
    void* const found = s_winMm.Find("timeGetTime");
    ASSERT_EQ(loader.GetLoads().size(), 1u);
    EXPECT_EQ(loader.GetLoads()[0].path, GetSystemFolder() + L"\\winmm.dll");
    EXPECT_EQ(loader.GetLoads()[0].file, nullptr);
    // Its own imports come from its own folder first, not from the program's.
    EXPECT_EQ(loader.GetLoads()[0].flags, static_cast<DWORD>(LOAD_WITH_ALTERED_SEARCH_PATH));
    const HMODULE module = ::GetModuleHandleW(L"winmm.dll");
    ASSERT_NE(module, nullptr);
    EXPECT_EQ(found, loader.GetLookUps()[0].found);
    EXPECT_EQ(loader.GetLookUps()[0].module, module);
}

TEST(SystemLibraryTests, Find_LaterCalls_LoadNothing)
{
    const KVTest::LoaderPatch loader;
    EXPECT_NE(s_winMm.Find("timeGetTime"), nullptr);
    EXPECT_NE(s_winMm.Find("timeBeginPeriod"), nullptr);
    EXPECT_EQ(loader.GetLoads().size(), 1u);
}

TEST(SystemLibraryTests, Library_OnceLoaded_StaysToTheEndOfTheProcess)
{
    ASSERT_NE(s_winMm.Find("timeGetTime"), nullptr);
    const HMODULE module = ::GetModuleHandleW(L"winmm.dll");
    HMODULE loadedAgain = ::LoadLibraryW(L"winmm.dll");
    EXPECT_EQ(loadedAgain, module);
    // Whoever else loads and frees it takes nothing from us.
    EXPECT_NE(::FreeLibrary(loadedAgain), FALSE);
    EXPECT_EQ(::GetModuleHandleW(L"winmm.dll"), module);
}

TEST(SystemLibraryTests, MissingLibrary_IsTheCallsOwnFailureEachTime)
{
    ErrorCodeFunction code(s_noLibrary, "Code");
    HresultFunction hresult(s_noLibrary, "Hresult");
    HandleFunction handle(s_noLibrary, "Handle");
    VoidFunction nothing(s_noLibrary, "Nothing");
    for (int i = 0; i < 2; ++i)
    {
        ::SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(s_noLibrary.Find("Code"), nullptr);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
        ::SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(CallOr(5, code, 1), 5u);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
        EXPECT_EQ(Call(code, 1), 0u);
        EXPECT_EQ(CallOrErrorCode(code, 1), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
        EXPECT_EQ(Call(hresult, 1), static_cast<HRESULT>(0x8007007E));
        EXPECT_EQ(Call(handle, 1), nullptr);
        EXPECT_EQ(CallOr(nullptr, handle, 1), nullptr);
        EXPECT_EQ(CallOr(INVALID_HANDLE_VALUE, handle, 1), INVALID_HANDLE_VALUE);
        int untouched = 3;
        ::SetLastError(ERROR_SUCCESS);
        Call(nothing, &untouched);
        EXPECT_EQ(untouched, 3);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    }
}

TEST(SystemLibraryTests, MissingFunction_IsTheCallsOwnFailureEachTime)
{
    ErrorCodeFunction code(s_winMm, "KvNoSuchFunction");
    HresultFunction hresult(s_winMm, "KvNoSuchFunction");
    for (int i = 0; i < 2; ++i)
    {
        ::SetLastError(ERROR_SUCCESS);
        EXPECT_EQ(CallOr(5, code, 1), 5u);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
        EXPECT_EQ(CallOrErrorCode(code, 1), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
        EXPECT_EQ(Call(hresult, 1), static_cast<HRESULT>(0x8007007F));
    }
    EXPECT_NE(s_winMm.Find("timeGetTime"), nullptr);
}

TEST(SystemLibraryTests, MissingLibrary_ThatComesBack_IsFoundByTheNextCall)
{
    CSystemFunction<decltype(&::timeGetTime)> time(s_winMm, "timeGetTime");
    {
        KVTest::LoaderPatch loader;
        loader.LackLibraries();
        EXPECT_EQ(time.Find(), nullptr);
    }
    {
        KVTest::LoaderPatch loader;
        loader.LackFunctions();
        EXPECT_EQ(time.Find(), nullptr);
    }
    EXPECT_NE(time.Find(), nullptr);
}

DWORD WINAPI AnswerZero()
{
    return 0;
}

// Fails, but only after the look-up of another thread has succeeded.
FARPROC WINAPI LoseToAnotherThread(HMODULE, LPCSTR)
{
    if (s_isContested)
    {
        return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&AnswerZero)); // the other thread's
    }
    s_isContested = true;
    EXPECT_NE(s_contested.Find(), nullptr);
    ::SetLastError(ERROR_PROC_NOT_FOUND);
    return nullptr;
}

TEST(SystemLibraryTests, FailedLookUp_LeavesWhatAnotherThreadHasFound)
{
    {
        const KVTest::ImportPatch patch(__imp_GetProcAddress, reinterpret_cast<void*>(&LoseToAnotherThread));
        EXPECT_EQ(s_contested.Find(), nullptr);
    }
    ASSERT_TRUE(s_isContested);
    KVTest::LoaderPatch loader;
    loader.LackFunctions();
    EXPECT_NE(s_contested.Find(), nullptr);
    EXPECT_TRUE(loader.GetLookUps().empty());
}

DWORD WINAPI LeaveTheLastError(int number)
{
    return static_cast<DWORD>(number) + 1;
}

DWORD WINAPI SetTheLastError(int number)
{
    ::SetLastError(ERROR_NOT_READY);
    return static_cast<DWORD>(number) + 2;
}

TEST(SystemLibraryTests, SuccessfulCall_LeavesTheLastErrorAsTheFunctionLeftIt)
{
    ErrorCodeFunction leaving(s_winMm, "timeGetTime");
    ErrorCodeFunction setting(s_winMm, "timeBeginPeriod");
    KVTest::LoaderPatch loader; // whose loader sets another
    loader.AnswerWith(reinterpret_cast<void*>(&LeaveTheLastError), "timeGetTime");
    loader.AnswerWith(reinterpret_cast<void*>(&SetTheLastError), "timeBeginPeriod");
    for (int i = 0; i < 2; ++i)
    {
        ::SetLastError(77);
        EXPECT_EQ(CallOr(0, leaving, 5), 6u);
        EXPECT_EQ(::GetLastError(), 77u);
        EXPECT_EQ(Call(leaving, 5), 6u);
        EXPECT_EQ(::GetLastError(), 77u);
        EXPECT_EQ(CallOrErrorCode(leaving, 5), 6u);
        EXPECT_EQ(::GetLastError(), 77u);
        EXPECT_EQ(CallOr(0, setting, 5), 7u);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_NOT_READY));
    }
    EXPECT_EQ(loader.GetLoads().size(), 1u);
    EXPECT_EQ(loader.GetLookUps().size(), 2u);
}

// Threads wait for each other and make their first call of the same function at the same time, for many functions. The
// look-up is the loader's own, so that they meet in there.
TEST(SystemLibraryTests, FirstCalls_OfManyThreadsAtOnce_AllReachTheFunction)
{
    struct Round
    {
        CSystemLibrary library{L"winmm.dll"};
        CSystemFunction<decltype(&::timeGetTime)> function{library, "timeGetTime"};
        std::atomic<int> waiting{0};
    };
    constexpr int kThreads = 8;
    constexpr int kRounds = 100;
    std::deque<Round> rounds(kRounds);
    std::atomic<int> failures = 0;
    const auto run = [&] {
        for (Round& round : rounds)
        {
            ++round.waiting;
            while (round.waiting < kThreads)
            {
                std::this_thread::yield();
            }
            ::SetLastError(77);
            const auto function = round.function.Find();
            failures += function == nullptr || ::GetLastError() != 77 ? 1 : 0;
            failures += reinterpret_cast<void*>(function) != s_winMm.Find("timeGetTime") ? 1 : 0;
        }
    };
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int i = 0; i < kThreads; ++i)
    {
        threads.emplace_back(run);
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    EXPECT_EQ(failures, 0);
}

int s_allocations = 0;

TEST(SystemLibraryTests, FirstCall_AllocatesNothing)
{
    const KVTest::AllocationHook hook([](std::size_t) { ++s_allocations; });
    EXPECT_NE(s_winMm.Find("timeGetTime"), nullptr);
    EXPECT_EQ(s_noLibrary.Find("timeGetTime"), nullptr);
    EXPECT_EQ(s_allocations, 0);
}

// A program in a folder, which is the current one too, that holds a file of the name of every library: each an empty
// DLL.
class PlantedLibraryTests : public testing::Test
{
protected:
    PlantedLibraryTests()
    {
        Copy(L"kv_library_user.exe", L"kv_library_user.exe");
        for (const wchar_t* const name : {L"gdi32.dll", L"iphlpapi.dll", L"ole32.dll", L"oleaut32.dll", L"rpcrt4.dll",
                                          L"secur32.dll", L"setupapi.dll", L"shell32.dll", L"shlwapi.dll",
                                          L"user32.dll", L"version.dll", L"wininet.dll", L"winspool.drv", L"ws2_32.dll",
                                          // What those import in their turn, here or there.
                                          L"mpr.dll", L"cfgmgr32.dll", L"combase.dll", L"compstui.dll", L"crypt32.dll",
                                          L"dnsapi.dll", L"nsi.dll", L"shcore.dll", L"sspicli.dll", L"win32u.dll"})
        {
            Copy(L"kv_planted.dll", name);
        }
    }

    DWORD Run(const wchar_t* kind) const
    {
        const std::wstring commandLine = L"\"" + m_folder.PathOf(L"kv_library_user.exe") + L"\" " + kind;
        return KVTest::ChildProcess(commandLine, m_folder.GetPath().c_str()).WaitForExit(20000).value_or(STILL_ACTIVE);
    }

private:
    void Copy(const wchar_t* from, const wchar_t* to) const
    {
        ASSERT_NE(::CopyFileW(KVTest::PathBesideTest(from).c_str(), m_folder.PathOf(to).c_str(), TRUE), FALSE);
    }

    KVTest::TemporaryFolder m_folder;
};

TEST_F(PlantedLibraryTests, Libraries_AreLoadedFromTheSystemFolderOnly)
{
    EXPECT_EQ(Run(L"facade"), 0u);
}

// The trap works: whoever loads by bare names falls into it.
TEST_F(PlantedLibraryTests, LibrariesLoadedByBareNames_AreThePlantedOnes)
{
    EXPECT_EQ(Run(L"bare"), 3u);
}
} // namespace
