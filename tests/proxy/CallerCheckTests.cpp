#include <windows.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "proxy/AnalyticsProxy.h"
#include "tests/proxy/Surroundings.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/ImportPatch.h"
#include "tests/support/TraceCapture.h"

namespace
{
using Calls = std::vector<std::wstring>;

class CallerCheckTests : public testing::Test
{
protected:
    bool Check()
    {
        m_trace.Enable(KVLogging::kLogInfo);
        return KVAnalyticsProxy::CAnalyticsProxy().IsCalledByLumo();
    }
    std::wstring Logged() const { return m_trace.IsEmpty() ? L"" : m_trace.GetText(); }

    KVTest::Surroundings m_around;
    KVTest::TraceCapture m_trace;
};

const Calls kScan = {L"snapshot 2 0", L"first 568", L"own id", L"next 568", L"next 568"};

Calls After(Calls calls, const Calls& more)
{
    calls.insert(calls.end(), more.begin(), more.end());
    return calls;
}

TEST_F(CallerCheckTests, TheHost_Passes)
{
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.processCalls, After(kScan, {L"open 1049616 3000", L"modules parent 8", L"path parent 260",
                                                   L"close parent", L"close snapshot"}));
    EXPECT_EQ(Logged(), L"");
}

TEST_F(CallerCheckTests, WithoutASnapshot_Fails)
{
    m_around.takesSnapshot = false;
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls, Calls{L"snapshot 2 0"});
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - Unable to capture the snapshot of all processes\r\n");
}

TEST_F(CallerCheckTests, WithoutAnyProcess_Fails)
{
    m_around.processes = {};
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls, (Calls{L"snapshot 2 0", L"first 568", L"own id", L"close snapshot"}));
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - Could not find the parrent process\r\n");
}

TEST_F(CallerCheckTests, WithoutTheOwnProcess_Fails)
{
    m_around.processes = {{4, 0}, {3000, 4}};
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls, After(kScan, {L"close snapshot"}));
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - Could not find the parrent process\r\n");
}

TEST_F(CallerCheckTests, WithAParentOfNumber0_ScansToTheEndAndFails)
{
    m_around.processes = {{m_around.kOwnId, 0}, {4, 0}};
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls, After(kScan, {L"close snapshot"}));
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - Could not find the parrent process\r\n");
}

TEST_F(CallerCheckTests, WithTheOwnProcessTwice_ScansOnToTheEntryWithAParent)
{
    m_around.processes = {{m_around.kOwnId, 0}, {m_around.kOwnId, m_around.kParentId}, {4, 0}};
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.processCalls,
              (Calls{L"snapshot 2 0", L"first 568", L"own id", L"next 568", L"open 1049616 3000", L"modules parent 8",
                     L"path parent 260", L"close parent", L"close snapshot"}));
}

TEST_F(CallerCheckTests, WithTheOwnProcessFirst_ScansNoFurther)
{
    m_around.processes = {{m_around.kOwnId, 77}, {4, 0}};
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.processCalls,
              (Calls{L"snapshot 2 0", L"first 568", L"own id", L"open 1049616 77", L"modules parent 8",
                     L"path parent 260", L"close parent", L"close snapshot"}));
}

TEST_F(CallerCheckTests, AParentThatCannotBeOpened_FailsWithoutAWord)
{
    m_around.opensParent = false;
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls, After(kScan, {L"open 1049616 3000", L"close snapshot"}));
    EXPECT_EQ(Logged(), L"");
}

TEST_F(CallerCheckTests, AParentWithoutModules_Fails)
{
    m_around.listsModules = false;
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls,
              After(kScan, {L"open 1049616 3000", L"modules parent 8", L"close parent", L"close snapshot"}));
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - Unable to the parent processs\r\n");
}

TEST_F(CallerCheckTests, AParentWithoutAPath_Fails)
{
    m_around.parentPath.clear();
    EXPECT_FALSE(Check());
    EXPECT_EQ(m_around.processCalls, After(kScan, {L"open 1049616 3000", L"modules parent 8", L"path parent 260",
                                                   L"close parent", L"close snapshot"}));
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - Unable to retrieve the parent processs file name\r\n");
}

TEST_F(CallerCheckTests, AnyOtherParent_FailsAndIsNamed)
{
    for (const wchar_t* path : {L"C:\\windows\\system32\\cmd.exe", L"C:\\windows\\system32\\mshta.exe",
                                L"C:\\WINDOWS\\SYSWOW64\\MSHTA.EXE", L"\\mshta.exe", L"mshta.exe"})
    {
        m_around.parentPath = path;
        m_around.processCalls.clear();
        EXPECT_FALSE(Check());
        EXPECT_TRUE(Logged().ends_with(
            std::wstring(L"(I0) CAnalyticsProxy::IsCalledByLumo - The parent process is not Lumo HTA. Parent: ") +
            path + L"\r\n"))
            << Logged().size();
        EXPECT_EQ(m_around.processCalls, After(kScan, {L"open 1049616 3000", L"modules parent 8", L"path parent 260",
                                                       L"close parent", L"close snapshot"}));
    }
}

TEST_F(CallerCheckTests, AParentWhosePathIsCut_FailsAndIsNamedAsFarAsItGoes)
{
    m_around.parentPath = L"C:\\" + std::wstring(400, L'x');
    EXPECT_FALSE(Check());
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - The parent process is not Lumo HTA. Parent: C:\\" +
                            std::wstring(257, L'x') + L"\r\n");
}

TEST_F(CallerCheckTests, OnAnyButX64Windows_TheHostIsInTheSystemFolder)
{
    for (const int architecture :
         {PROCESSOR_ARCHITECTURE_INTEL, PROCESSOR_ARCHITECTURE_ARM, PROCESSOR_ARCHITECTURE_IA64, 12 /* ARM64 */,
          10 /* x86 on x64 */, 0xFFFF /* unknown */})
    {
        m_around.architecture = static_cast<WORD>(architecture);
        m_around.shellCalls.clear();
        m_around.parentPath = L"C:\\Shell\\Folder\\mshta.exe";
        EXPECT_TRUE(Check());
        EXPECT_EQ(m_around.shellCalls, Calls{L"37 0"});
        m_around.parentPath = m_around.HostPath();
        EXPECT_FALSE(Check());
    }
}

TEST_F(CallerCheckTests, AnySuccessOfTheShell_Counts)
{
    m_around.architecture = PROCESSOR_ARCHITECTURE_INTEL;
    m_around.shellResult = S_FALSE;
    m_around.parentPath = L"C:\\Shell\\Folder\\mshta.exe";
    EXPECT_TRUE(Check());
}

KV_DECLARE_IMPORT(GetSystemWow64DirectoryW)

UINT WINAPI NoSystemWow64Directory(LPWSTR, UINT)
{
    return 0;
}

TEST_F(CallerCheckTests, On64BitWindowsWithoutA32BitFolder_TheHostHasAPathThatIsNoFullPath)
{
    const KVTest::ImportPatch patch(__imp_GetSystemWow64DirectoryW, reinterpret_cast<void*>(&NoSystemWow64Directory));
    m_around.parentPath = L"C:\\windows\\syswow64\\mshta.exe";
    EXPECT_FALSE(Check());
    m_around.parentPath = L"\\mshta.exe";
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.shellCalls, Calls{});
}

TEST_F(CallerCheckTests, On32BitWindowsWithoutASystemFolder_NobodyPasses)
{
    m_around.architecture = PROCESSOR_ARCHITECTURE_INTEL;
    m_around.shellResult = E_FAIL;
    for (const wchar_t* path : {L"\\mshta.exe", L"C:\\Shell\\Folder\\mshta.exe"})
    {
        m_around.parentPath = path;
        EXPECT_FALSE(Check());
    }
}

TEST_F(CallerCheckTests, On64BitWindows_TheShellIsNotAsked)
{
    EXPECT_TRUE(Check());
    EXPECT_EQ(m_around.shellCalls, Calls{});
}

// Runs twice: the second time as a child of the first, which is then the parent to be named.
TEST_F(CallerCheckTests, OnRealWindows_TheParentIsFoundAndNamed)
{
    constexpr wchar_t kIsChild[] = L"KV_CALLER_CHECK_CHILD";
    wchar_t program[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    if (::GetEnvironmentVariableW(kIsChild, nullptr, 0) == 0)
    {
        ::SetEnvironmentVariableW(kIsChild, L"1");
        const KVTest::ChildProcess child(L"\"" + std::wstring(program) +
                                         L"\" --gtest_filter=CallerCheckTests.OnRealWindows_TheParentIsFoundAndNamed");
        EXPECT_EQ(child.WaitForExit(20000), 0u);
        return;
    }
    KVWinApi::CKernelApi kernel;
    KVWinApi::CToolHlpApi toolHlp;
    const KVTest::ScopedSubstitute kernelSwap(KVWinApi::g_kernelApi, kernel);
    const KVTest::ScopedSubstitute toolHlpSwap(KVWinApi::g_toolHlpApi, toolHlp);
    EXPECT_FALSE(Check());
    EXPECT_EQ(Logged(), L"(I0) CAnalyticsProxy::IsCalledByLumo - The parent process is not Lumo HTA. Parent: " +
                            std::wstring(program) + L"\r\n");
}

TEST_F(CallerCheckTests, Check_IsTracedByItsName)
{
    m_trace.Enable(0xC00);
    EXPECT_TRUE(KVAnalyticsProxy::CAnalyticsProxy().IsCalledByLumo());
    EXPECT_EQ(m_trace.GetText(), L"(->) CAnalyticsProxy::IsCalledByLumo\r\n(<-) CAnalyticsProxy::IsCalledByLumo\r\n");
}
} // namespace
