#include "tests/support/ChildProcess.h"

#include <windows.h>

#include <tlhelp32.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace
{
TEST(ChildProcessTests, RunBesideTest_GivesAllBitsOfTheExitCode)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_ending.exe", L"0x83E8C0FE"), 0x83E8C0FEu);
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_ending.exe", L"0"), 0u);
}

TEST(ChildProcessTests, RunBesideTest_CrashedProgram_GivesTheExceptionCode)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_ending.exe", L"crash"), static_cast<DWORD>(EXCEPTION_ACCESS_VIOLATION));
}

TEST(ChildProcessTests, RunBesideTest_HangingProgram_GivesNothingAfterTheTime)
{
    EXPECT_EQ(KVTest::RunBesideTest(L"kv_ending.exe", L"hang", 500), std::nullopt);
}

TEST(ChildProcessTests, Destruction_EndsAProcessThatStillRuns)
{
    HANDLE process = nullptr;
    {
        const KVTest::ChildProcess child(L"\"" + KVTest::PathBesideTest(L"kv_ending.exe") + L"\" hang");
        EXPECT_EQ(child.WaitForExit(0), std::nullopt);
        process = ::OpenProcess(SYNCHRONIZE, FALSE, child.GetId());
        ASSERT_NE(process, nullptr);
    }
    EXPECT_EQ(::WaitForSingleObject(process, 0), WAIT_OBJECT_0);
    ::CloseHandle(process);
}

DWORD GetParentIdOf(DWORD processId)
{
    const HANDLE snapshot = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry{};
    entry.dwSize = sizeof(entry);
    BOOL found = ::Process32FirstW(snapshot, &entry);
    while (found != FALSE && entry.th32ProcessID != processId)
    {
        found = ::Process32NextW(snapshot, &entry);
    }
    ::CloseHandle(snapshot);
    return found != FALSE ? entry.th32ParentProcessID : 0;
}

TEST(ChildProcessTests, Construction_WithAnotherParent_MakesTheProcessItsChild)
{
    const std::wstring hanging = L"\"" + KVTest::PathBesideTest(L"kv_ending.exe") + L"\" hang";
    const KVTest::ChildProcess parent(hanging);
    const KVTest::ChildProcess child(hanging, nullptr, parent.GetHandle());
    EXPECT_EQ(GetParentIdOf(child.GetId()), parent.GetId());
    EXPECT_EQ(GetParentIdOf(parent.GetId()), ::GetCurrentProcessId());
}

TEST(ChildProcessTests, Construction_MissingProgram_Throws)
{
    EXPECT_THROW(KVTest::ChildProcess(KVTest::PathBesideTest(L"no such program.exe")), std::runtime_error);
}
} // namespace
