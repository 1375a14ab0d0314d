#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "analytics_reporting/AnalyticsEngine.h"
#include "analytics_reporting/BatteryProbe.h"
#include "tests/analytics_reporting/FakeWmi.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TraceCapture.h"
#include "winapi/KernelApi.h"

namespace
{
using namespace KVAnalyticsReporting;
using Calls = std::vector<std::wstring>;

constexpr wchar_t kCaught[] = L"(WN) Caught exception while trying to determine the existence of a battery\r\n";

const CAnalyticsEngine& Engine()
{
    return dynamic_cast<const CAnalyticsEngine&>(GetAnalyticsEngine());
}

// The engine's query, on this thread.
class BatteryQueryTests : public testing::Test
{
protected:
    ~BatteryQueryTests() override { EXPECT_EQ(m_wmi.GetReferences(), 0) << "each object is given back once"; }
    static std::wstring Ask() { return Engine().GetBatteryForAnalyticsReporting(); }
    void FailAt(const std::wstring& step)
    {
        m_wmi.onStep = [step](const std::wstring& now) { return now == step ? E_FAIL : S_OK; };
    }

    KVTest::FakeWmi m_wmi;
    KVTest::TraceCapture m_trace;

private:
    KVTest::ScopedSubstitute<KVWinApi::IComApi> m_swap{KVWinApi::g_comApi, m_wmi};
};

TEST_F(BatteryQueryTests, WithABattery_IsYes)
{
    m_wmi.hasBattery = true;
    EXPECT_EQ(Ask(), L"Yes");
    EXPECT_EQ(m_wmi.calls, (Calls{L"create locator 1 IWbemLocator", L"connect \\\\.\\ROOT\\CIMV2 0",
                                  L"query WQL SELECT * FROM Win32_Battery 48", L"next 10000 1"}));
}

TEST_F(BatteryQueryTests, WithoutABattery_IsNo)
{
    EXPECT_EQ(Ask(), L"No");
}

TEST_F(BatteryQueryTests, WithoutTheSystemsTexts_IsUnknownAndNothingIsAsked)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries(L"oleaut32.dll");
    EXPECT_EQ(Ask(), L"Unknown");
    EXPECT_EQ(m_wmi.calls, Calls{L"create locator 1 IWbemLocator"});
}

TEST_F(BatteryQueryTests, ResultsThatAreNotNegative_AreSuccesses)
{
    for (const HRESULT result : {static_cast<HRESULT>(WBEM_S_FALSE), static_cast<HRESULT>(WBEM_S_TIMEDOUT)})
    {
        m_wmi.onStep = [result](const std::wstring& step) { return step == L"next" ? result : S_OK; };
        m_wmi.hasBattery = false;
        EXPECT_EQ(Ask(), L"No");
        m_wmi.hasBattery = true;
        EXPECT_EQ(Ask(), L"Yes");
    }
}

TEST_F(BatteryQueryTests, AStepThatFails_IsUnknownAndTheLast)
{
    const Calls steps = {L"create", L"connect", L"query", L"next"};
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        FailAt(steps[i]);
        m_wmi.calls.clear();
        EXPECT_EQ(Ask(), L"Unknown") << i;
        EXPECT_EQ(m_wmi.calls.size(), i + 1);
        EXPECT_EQ(m_wmi.GetReferences(), 0) << i;
    }
}

TEST_F(BatteryQueryTests, ABatteryThatComesWithAFailure_IsUnknownAndGivenBack)
{
    FailAt(L"next");
    m_wmi.hasBattery = true;
    EXPECT_EQ(Ask(), L"Unknown");
}

TEST_F(BatteryQueryTests, AStepThatThrows_IsLoggedAndUnknown)
{
    m_trace.EnableMessages();
    std::wstring expected;
    for (const wchar_t* step : {L"create", L"connect", L"query", L"next"})
    {
        m_wmi.onStep = [step](const std::wstring& now) {
            return now == step ? throw std::runtime_error("no more") : S_OK;
        };
        EXPECT_EQ(Ask(), L"Unknown");
        expected += kCaught;
        EXPECT_EQ(m_trace.GetText(), expected);
        EXPECT_EQ(m_wmi.GetReferences(), 0) << step;
    }
}

TEST_F(BatteryQueryTests, AStepThatFaults_IsLoggedAndUnknownAndGivesItsObjectsBack)
{
    m_wmi.hasBattery = true;
    m_wmi.onStep = [](const std::wstring& step) {
        if (step == L"query")
        {
            ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
        }
        return S_OK;
    };
    m_trace.EnableMessages();
    EXPECT_EQ(Ask(), L"Unknown");
    EXPECT_EQ(m_trace.GetText(), kCaught);
}

TEST_F(BatteryQueryTests, ObjectsThatFaultWhenTheyAreGivenBack_CostTheAnswerAndNothingElse)
{
    m_wmi.hasBattery = true;
    m_wmi.onRelease = [] { ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr); };
    m_trace.EnableMessages();
    EXPECT_EQ(Ask(), L"Unknown");
    EXPECT_EQ(m_trace.GetText(), kCaught);
}

TEST_F(BatteryQueryTests, AStepAndAReleaseThatFault_CostTheAnswerAndNothingElse)
{
    m_wmi.onStep = [](const std::wstring& step) {
        return step == L"next" ? throw std::runtime_error("no more") : S_OK;
    };
    m_wmi.onRelease = [] { ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr); };
    EXPECT_EQ(Ask(), L"Unknown");
}

TEST_F(BatteryQueryTests, Question_IsTracedUnderItsName)
{
    m_trace.EnableAll();
    Ask();
    EXPECT_EQ(m_trace.GetText(), L"(->) CAnalyticsEngine::GetBatteryForAnalyticsReporting\r\n"
                                 L"(<-) CAnalyticsEngine::GetBatteryForAnalyticsReporting\r\n");
}

// Records what happens to the probe's thread, and lets the test decide how the wait for it ends.
class ThreadWatch : public KVWinApi::CKernelApi
{
public:
    std::uintptr_t BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine startRoutine, void* argument,
                                 unsigned flags, unsigned* threadId) override
    {
        calls.push_back(startRoutine == &RunBatteryProbe && argument == &Engine() ? L"begin" : L"begin other");
        onBegin();
        if (!startsThread)
        {
            return 0;
        }
        thread = CKernelApi::BeginThreadEx(security, stackSize, startRoutine, argument, flags, threadId);
        ::DuplicateHandle(::GetCurrentProcess(), reinterpret_cast<HANDLE>(thread), ::GetCurrentProcess(), &duplicate, 0,
                          FALSE, DUPLICATE_SAME_ACCESS);
        return thread;
    }
    DWORD WaitForSingleObject(HANDLE handle, DWORD timeoutMs) override
    {
        if (handle != reinterpret_cast<HANDLE>(thread))
        {
            return CKernelApi::WaitForSingleObject(handle, timeoutMs);
        }
        calls.push_back(L"wait " + std::to_wstring(timeoutMs));
        if (endsWait)
        {
            return CKernelApi::WaitForSingleObject(handle, timeoutMs);
        }
        // A thread that is terminated while it starts would keep the locks of the system's loader.
        EXPECT_EQ(::WaitForSingleObject(isHanging, 20000), WAIT_OBJECT_0);
        return waitResult;
    }
    BOOL TerminateThread(HANDLE handle, DWORD exitCode) override
    {
        calls.push_back(handle == reinterpret_cast<HANDLE>(thread) ? L"terminate" : L"terminate other");
        return CKernelApi::TerminateThread(handle, exitCode);
    }
    BOOL CloseHandle(HANDLE handle) override
    {
        if (handle == reinterpret_cast<HANDLE>(thread))
        {
            calls.push_back(L"close");
        }
        return CKernelApi::CloseHandle(handle);
    }
    // The exit code of the thread, after its end.
    DWORD GetExitCode() const
    {
        DWORD exitCode = STILL_ACTIVE;
        EXPECT_EQ(::WaitForSingleObject(duplicate, 20000), WAIT_OBJECT_0);
        ::GetExitCodeThread(duplicate, &exitCode);
        return exitCode;
    }
    ~ThreadWatch() override
    {
        ::CloseHandle(duplicate);
        ::CloseHandle(isHanging);
    }

    std::function<void()> onBegin = [] {}; // just before the thread is started
    bool startsThread = true;
    bool endsWait = true;
    DWORD waitResult = WAIT_TIMEOUT;
    std::uintptr_t thread = 0;
    HANDLE duplicate = nullptr;
    HANDLE isHanging = ::CreateEventW(nullptr, TRUE, FALSE, nullptr); // set by the thread
    Calls calls;
};

class BatteryProbeTests : public testing::Test
{
protected:
    KVTest::FakeWmi m_wmi;
    ThreadWatch m_kernel;

private:
    KVTest::ScopedSubstitute<KVWinApi::IComApi> m_comSwap{KVWinApi::g_comApi, m_wmi};
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernel};
};

TEST_F(BatteryProbeTests, Probe_AsksOnAThreadOfItsOwnAndWaitsForIt)
{
    m_wmi.hasBattery = true;
    EXPECT_EQ(ProbeBattery(Engine()), L"Yes");
    EXPECT_EQ(m_kernel.calls, (Calls{L"begin", L"wait 10000", L"close"}));
    EXPECT_EQ(m_kernel.GetExitCode(), 0u);
    EXPECT_EQ(m_wmi.calls.front(), L"initialize 0 2"); // COINIT_APARTMENTTHREADED
    EXPECT_EQ(m_wmi.calls.back(), L"uninitialize");
}

// A thread that is terminated inside a first load keeps the system's loader lock for ever.
TEST_F(BatteryProbeTests, Probe_LoadsTheLibrariesOfComBeforeItsThreadStarts)
{
    KVWinApi::CComApi system;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_comApi, system);
    KVTest::LoaderPatch loader;
    std::set<std::wstring> loaded;
    std::set<std::string> found;
    m_kernel.onBegin = [&] {
        for (const KVTest::LoaderPatch::Load& load : loader.GetLoads())
        {
            loaded.insert(load.path.substr(load.path.rfind(L'\\') + 1));
        }
        for (const KVTest::LoaderPatch::LookUp& lookUp : loader.GetLookUps())
        {
            found.insert(lookUp.name);
        }
    };
    EXPECT_NE(ProbeBattery(Engine()), L"");
    EXPECT_EQ(loaded, (std::set<std::wstring>{L"ole32.dll", L"oleaut32.dll"}));
    EXPECT_EQ(found, (std::set<std::string>{"CoCreateInstance", "CoInitializeEx", "CoUninitialize", "SysAllocString",
                                            "SysFreeString"}));
    EXPECT_EQ(loader.GetLoads().size(), loaded.size()) << "the thread loads nothing more";
}

TEST_F(BatteryProbeTests, Probe_WithoutTheLibrariesOfCom_LeavesTheAnswer)
{
    KVWinApi::CComApi system;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_comApi, system);
    KVTest::LoaderPatch loader;
    loader.LackLibraries();
    EXPECT_EQ(ProbeBattery(Engine()), L"");
    EXPECT_EQ(m_kernel.GetExitCode(), 10u);
}

TEST_F(BatteryProbeTests, Probe_OnARealComputer_Answers)
{
    KVWinApi::CComApi system;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_comApi, system);
    const std::wstring battery = ProbeBattery(Engine());
    EXPECT_TRUE(battery == L"Yes" || battery == L"No") << battery.size();
    EXPECT_EQ(m_kernel.GetExitCode(), 0u);
}

TEST_F(BatteryProbeTests, Probe_ThatCannotInitializeCom_LeavesTheAnswerAndEndsWith10)
{
    m_wmi.onStep = [](const std::wstring&) { return E_FAIL; };
    EXPECT_EQ(ProbeBattery(Engine()), L"");
    EXPECT_EQ(m_kernel.GetExitCode(), 10u);
    EXPECT_EQ(m_wmi.calls, Calls{L"initialize 0 2"});
}

TEST_F(BatteryProbeTests, Probe_WithComInitializedAlready_Asks)
{
    m_wmi.onStep = [](const std::wstring& step) { return step == L"initialize" ? S_FALSE : S_OK; };
    EXPECT_EQ(ProbeBattery(Engine()), L"No");
    EXPECT_EQ(m_wmi.calls.back(), L"uninitialize");
}

TEST_F(BatteryProbeTests, Probe_WithoutAnEngine_AsksNothingAndEndsWith1780)
{
    EXPECT_EQ(RunBatteryProbe(nullptr), 1780u);
    EXPECT_EQ(m_wmi.calls, (Calls{L"initialize 0 2", L"uninitialize"}));
}

TEST_F(BatteryProbeTests, Probe_ThatCannotBeStarted_LeavesTheAnswer)
{
    m_kernel.startsThread = false;
    EXPECT_EQ(ProbeBattery(Engine()), L"");
    EXPECT_EQ(m_kernel.calls, Calls{L"begin"});
}

TEST_F(BatteryProbeTests, Probe_AfterAnother_BringsTheNewAnswer)
{
    m_wmi.hasBattery = true;
    EXPECT_EQ(ProbeBattery(Engine()), L"Yes");
    m_wmi.hasBattery = false;
    EXPECT_EQ(ProbeBattery(Engine()), L"No");
    m_wmi.onStep = [](const std::wstring& step) { return step == L"query" ? E_FAIL : S_OK; };
    EXPECT_EQ(ProbeBattery(Engine()), L"Unknown");
}

// The thread hangs in its first step and is really terminated.
class HangingProbeTests : public BatteryProbeTests
{
protected:
    HangingProbeTests()
    {
        m_kernel.endsWait = false;
        m_wmi.onStep = [this](const std::wstring&) {
            ::SetEvent(m_kernel.isHanging);
            ::Sleep(INFINITE);
            return S_OK;
        };
    }
};

TEST_F(HangingProbeTests, WithoutAnEarlierAnswer_GivesTheEmptyText)
{
    EXPECT_EQ(ProbeBattery(Engine()), L"");
    EXPECT_EQ(m_kernel.calls, (Calls{L"begin", L"wait 10000", L"terminate", L"close"}));
    EXPECT_NE(m_kernel.GetExitCode(), static_cast<DWORD>(STILL_ACTIVE));
}

TEST_F(HangingProbeTests, WithAnEarlierAnswer_LeavesThat)
{
    const auto hang = std::exchange(m_wmi.onStep, [](const std::wstring&) { return S_OK; });
    m_kernel.endsWait = true;
    m_wmi.hasBattery = true;
    EXPECT_EQ(ProbeBattery(Engine()), L"Yes");
    m_wmi.onStep = hang;
    m_kernel.endsWait = false;
    EXPECT_EQ(ProbeBattery(Engine()), L"Yes");
}

TEST_F(HangingProbeTests, WhenTheWaitFails_IsTerminatedToo)
{
    m_kernel.waitResult = WAIT_FAILED;
    EXPECT_EQ(ProbeBattery(Engine()), L"");
    EXPECT_EQ(m_kernel.calls, (Calls{L"begin", L"wait 10000", L"terminate", L"close"}));
}
} // namespace
