#include "logging/shared/ExtMonitor.h"

#include <windows.h>

#include <objbase.h>

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <thread>

#include "logging/LogModule.h"
#include "tests/logging/LogTest.h"
#include "tests/logging/shared/MonitorServer.h"
#include "tests/logging/SystemCallPatches.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/DebugOutputCapture.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/Narrow.h"
#include "tests/support/OwnComputer.h"
#include "tests/support/VirtualSlots.h"

namespace
{
using namespace KVLogging;
using KVTest::Lines;
using KVTest::ProcessKey;

const CLogSourceFile s_extMonitorTests(L"ExtMonitorTests.cpp");

// A class of its own, registered for the test server while the object lives. Below HKEY_LOCAL_MACHINE: the user's
// classes are not looked at everywhere, and the user's hive is the sandbox's here. Where tests may not register classes
// for all users, it is not registered, and the tests are skipped.
class MonitorClass
{
public:
    MonitorClass()
    {
        GUID id{};
        wchar_t text[64] = {};
        if (FAILED(::CoCreateGuid(&id)) || ::StringFromGUID2(id, text, 64) == 0)
        {
            throw std::runtime_error("no class identifier");
        }
        m_id = text;
        if (!KVTest::IsComputerOfTheTests())
        {
            return;
        }
        const std::wstring path = KVTest::PathBesideTest(L"kv_log_monitor.dll");
        SetValue(Key() + L"\\InprocServer32", nullptr, path);
        SetValue(Key() + L"\\InprocServer32", L"ThreadingModel", L"Both");
    }
    ~MonitorClass() { ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, Key().c_str()); }
    MonitorClass(const MonitorClass&) = delete;
    MonitorClass& operator=(const MonitorClass&) = delete;

    const std::wstring& GetId() const { return m_id; }

private:
    std::wstring Key() const { return L"Software\\Classes\\CLSID\\" + m_id; }
    static void SetValue(const std::wstring& key, const wchar_t* name, const std::wstring& value)
    {
        if (::RegSetKeyValueW(HKEY_LOCAL_MACHINE, key.c_str(), name, REG_SZ, value.c_str(),
                              static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))) != ERROR_SUCCESS)
        {
            throw std::runtime_error("the class cannot be registered");
        }
    }

    std::wstring m_id;
};

class MonitorServer
{
public:
    MonitorServer() : m_library(::LoadLibraryW(KVTest::PathBesideTest(L"kv_log_monitor.dll").c_str()))
    {
        if (m_library == nullptr)
        {
            throw std::runtime_error("the server is missing");
        }
    }
    // The library stays: COM may hold it.

    std::wstring GetRecord() const { return Find<KVTest::GetMonitorRecordFunction>("KvGetMonitorRecord")(); }
    void SetFault(const wchar_t* call) const { Find<KVTest::SetMonitorFaultFunction>("KvSetMonitorFault")(call); }
    void SetDelay(const wchar_t* call, DWORD milliseconds) const
    {
        Find<KVTest::SetMonitorDelayFunction>("KvSetMonitorDelay")(call, milliseconds);
    }
    void SetRefusal(bool isRefused) const { Find<KVTest::SetMonitorRefusalFunction>("KvSetMonitorRefusal")(isRefused); }

private:
    template <typename Function> Function Find(const char* name) const
    {
        // NOLINTNEXTLINE(bugprone-casting-through-void)
        return reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(m_library, name)));
    }

    HMODULE m_library;
};

class ExtMonitorTests : public KVTest::LogTest
{
protected:
    void SetUp() override
    {
        if (!KVTest::IsComputerOfTheTests())
        {
            GTEST_SKIP() << "registers classes for all users of this computer";
        }
    }

    void UseMonitor(const std::wstring& classId, std::optional<DWORD> flags, const std::wstring& parameterFile = L"")
    {
        SetBase(L"LogCategories", 0xC10);
        m_registry.SetString(ProcessKey(), L"ExtMonitorCLSID", classId);
        if (flags)
        {
            m_registry.SetDword(ProcessKey(), L"ExtMonitorFlags", *flags);
        }
        if (!parameterFile.empty())
        {
            m_registry.SetString(ProcessKey(), L"ExtMonitorParmFile", parameterFile);
        }
    }

    void RunScope(const wchar_t* fullName = L"NS::Class::Method", std::uint32_t errorCode = 0)
    {
        const CLogFunction scope(&Module(), s_extMonitorTests, fullName, 1, errorCode, false, nullptr, nullptr);
    }

    // Reads the settings without telling a monitor anything.
    void Refresh() { Log(0x10, L"refresh"); }

    MonitorServer m_server;
    MonitorClass m_class;
};

struct FlagRow
{
    const char* name;
    DWORD flags;
    const wchar_t* record; // of two scopes of one class, after the start
};

class ExtMonitorFlagTests : public ExtMonitorTests, public testing::WithParamInterface<FlagRow>
{
};

TEST_P(ExtMonitorFlagTests, Scopes_AreReportedAsTheFlagsSay)
{
    UseMonitor(m_class.GetId(), GetParam().flags, L"C:\\p.txt");
    RunScope(L"NS::Class::One");
    RunScope(L"NS::Class::Two");
    EXPECT_EQ(m_server.GetRecord(), std::wstring(L"1 create\n1 start [C:\\p.txt] [C:\\p.txt]\n") + GetParam().record);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ExtMonitorFlagTests,
    testing::Values(FlagRow{"None", 0, L""}, FlagRow{"Classes", 1, L"1 class [Class]\n"},
                    FlagRow{"Entries", 2, L"1 entry [Class::One]\n1 entry [Class::Two]\n"},
                    FlagRow{"ClassesAndEntries", 3, L"1 class [Class]\n1 entry [Class::One]\n1 entry [Class::Two]\n"},
                    FlagRow{"Exits", 4, L"1 exit [Class::One]\n1 exit [Class::Two]\n"},
                    FlagRow{"ClassesAndExits", 5, L"1 class [Class]\n1 exit [Class::One]\n1 exit [Class::Two]\n"},
                    FlagRow{"EntriesAndExits", 6,
                            L"1 entry [Class::One]\n1 exit [Class::One]\n1 entry [Class::Two]\n1 exit [Class::Two]\n"},
                    FlagRow{"All", 7,
                            L"1 class [Class]\n1 entry [Class::One]\n1 exit [Class::One]\n1 entry [Class::Two]\n1 exit "
                            L"[Class::Two]\n"}),
    [](const auto& row) { return row.param.name; });

TEST_F(ExtMonitorTests, Class_IsReportedOnceInARow)
{
    UseMonitor(m_class.GetId(), 1);
    for (const wchar_t* name : {L"A::F", L"A::G", L"B::F", L"A::F"})
    {
        RunScope(name);
    }
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 class [A]\n1 class [B]\n1 class [A]\n");
}

TEST_F(ExtMonitorTests, FunctionWithoutClass_ReportsTheUnknownOne)
{
    UseMonitor(m_class.GetId(), 3);
    RunScope(L"A::F");
    RunScope(L"wWinMain");
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 class [A]\n1 entry [A::F]\n"
                                    L"1 class [<unknown>]\n1 entry [wWinMain]\n");
}

TEST_F(ExtMonitorTests, ExitWithErrorCode_IsReportedLikeAnyOther)
{
    UseMonitor(m_class.GetId(), 4);
    RunScope(L"A::F", 5);
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 exit [A::F]\n");
}

TEST_F(ExtMonitorTests, EntryAndExitNotEnabled_AreNotReported)
{
    UseMonitor(m_class.GetId(), 7);
    SetBase(L"LogCategories", 0x10);
    Refresh();
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n");
}

TEST_F(ExtMonitorTests, FlagsAbsent_AreZero)
{
    UseMonitor(m_class.GetId(), std::nullopt);
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n");
}

TEST_F(ExtMonitorTests, NoMonitor_EntryAndExitWaitForTheSettingsOnly)
{
    UseFile(0xC00);
    RunScope(); // opens the file
    const KVTest::WaitPatch waits;
    RunScope();
    EXPECT_EQ(KVTest::WaitPatch::GetTimeouts(), (std::vector<DWORD>{50, 50}));
}

TEST_F(ExtMonitorTests, NoClass_NothingIsCreated)
{
    UseMonitor(L"", 7);
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"");
}

TEST_F(ExtMonitorTests, ClassThatDoesNotParse_NothingIsCreatedAndLoggingGoesOn)
{
    UseFile(0xC10);
    UseMonitor(L"{not a class}", 7);
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"");
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(ExtMonitorTests, ClassThatIsNotRegistered_NothingIsCreatedAndLoggingGoesOn)
{
    UseFile(0xC10);
    UseMonitor(L"{0F3A1C52-9A1B-4E0E-8F7A-3D1F5A7C9B11}", 7);
    RunScope();
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(ExtMonitorTests, ServerThatRefuses_LeavesNoneBoundAndIsNotAskedAgain)
{
    UseFile(0xC10); // still to be opened: the settings are read at every line
    UseMonitor(m_class.GetId(), 7);
    m_server.SetRefusal(true);
    Refresh();
    m_server.SetRefusal(false);
    Refresh();
    EXPECT_EQ(m_server.GetRecord(), L"");
}

TEST_F(ExtMonitorTests, SameClass_IsBoundOnceAndItsFlagsFollow)
{
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 0);
    Refresh();
    m_registry.SetDword(ProcessKey(), L"ExtMonitorFlags", 2);
    Refresh();
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 entry [Class::Method]\n");
}

TEST_F(ExtMonitorTests, AnotherClass_StopsAndReleasesTheFirst)
{
    const MonitorClass other;
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 2);
    Refresh();
    m_registry.SetString(ProcessKey(), L"ExtMonitorCLSID", other.GetId());
    Refresh();
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 stop [" + KVTest::GetExecutableName() +
                                        L"]\n1 release\n2 create\n2 start [] [<unknown>]\n2 entry [Class::Method]\n");
}

TEST_F(ExtMonitorTests, ClassRemoved_TheMonitorStays)
{
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 2);
    Refresh();
    for (const wchar_t* classId : {L"", L"{not a class}"})
    {
        m_registry.SetString(ProcessKey(), L"ExtMonitorCLSID", classId);
        Refresh();
    }
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 entry [Class::Method]\n");
}

TEST_F(ExtMonitorTests, ModulesOfOneProcess_ShareTheMonitor)
{
    UseMonitor(m_class.GetId(), 3);
    CLogModule other("Other", "");
    RunScope(L"A::F");
    {
        const CLogFunction scope(&other, s_extMonitorTests, L"A::G", 1);
    }
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 class [A]\n1 entry [A::F]\n1 entry [A::G]\n");
}

TEST_F(ExtMonitorTests, LastModule_ReleasesWithoutStopAndUninitialisesCom)
{
    UseMonitor(m_class.GetId(), 0);
    {
        const CLogModule other("Other", "");
        Refresh();
        EndModule();
        EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n");
    }
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 release\n");
    // S_OK only for the first on this thread.
    EXPECT_EQ(::CoInitialize(nullptr), S_OK);
    ::CoUninitialize();
}

TEST_F(ExtMonitorTests, HostsOwnCom_IsLeftAsItWas)
{
    ASSERT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
    UseMonitor(m_class.GetId(), 2);
    RunScope();
    EndModule();
    EXPECT_EQ(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
    ::CoUninitialize();
    ::CoUninitialize();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 entry [Class::Method]\n1 release\n");
}

TEST_F(ExtMonitorTests, ComOfAnotherThread_IsNotTakenFromThisOne)
{
    ASSERT_EQ(::CoInitialize(nullptr), S_OK);
    UseMonitor(m_class.GetId(), 0);
    Module();
    std::thread([this] { Refresh(); }).join();
    EndModule();
    EXPECT_EQ(::CoInitialize(nullptr), S_FALSE); // the host's own is still there
    ::CoUninitialize();
    ::CoUninitialize();
}

// A module may go under the system's loader lock, when nothing may be loaded.
TEST_F(ExtMonitorTests, LastModule_LooksUpNothingWhenItGoes)
{
    UseMonitor(m_class.GetId(), 7);
    RunScope();
    {
        const KVTest::LoaderPatch loader;
        EndModule();
        EXPECT_TRUE(loader.GetLoads().empty());
        EXPECT_TRUE(loader.GetLookUps().empty());
    }
    EXPECT_EQ(::CoInitialize(nullptr), S_OK);
    ::CoUninitialize();
}

TEST_F(ExtMonitorTests, WithoutCom_NoneIsBoundAndLoggingGoesOn)
{
    KVTest::LoaderPatch loader;
    loader.LackLibraries(L"ole32.dll");
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 7);
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"");
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

class ExtMonitorSlowTests : public ExtMonitorTests, public testing::WithParamInterface<const wchar_t*>
{
};

TEST_P(ExtMonitorSlowTests, SlowMonitor_LinesOfAnotherModulePassIt)
{
    constexpr DWORD kDelayMs = 600;
    constexpr DWORD kLongestStopMs = 200;
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 7);
    CLogModule other("Other", "");
    other.LogString(nullptr, 0x10, L"first", true);
    Refresh();
    m_server.SetDelay(GetParam(), kDelayMs);
    const std::wstring slowCall = std::wstring(L"1 ") + GetParam();
    std::thread slow([this] { RunScope(); });
    for (const DWORD start = ::GetTickCount();
         m_server.GetRecord().find(slowCall) == std::wstring::npos && ::GetTickCount() - start < 20000;)
    {
        ::Sleep(1);
    }
    const DWORD start = ::GetTickCount();
    other.LogString(nullptr, 0x10, L"quick", true);
    EXPECT_LT(::GetTickCount() - start, kLongestStopMs);
    slow.join();
    const std::wstring log = ReadLog();
    EXPECT_NE(log.find(L"(I0) quick\r\n"), std::wstring::npos) << KVTest::Narrow(log);
    EXPECT_EQ(log.find(L"Queued"), std::wstring::npos) << KVTest::Narrow(log);
}

INSTANTIATE_TEST_SUITE_P(Calls, ExtMonitorSlowTests, testing::Values(L"class", L"entry", L"exit"),
                         [](const auto& row) { return KVTest::Narrow(row.param); });

// Faults of the monitor.

TEST_F(ExtMonitorTests, FaultAtStart_LoggingGoesOn)
{
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 0);
    m_server.SetFault(L"start");
    RunScope();
    EXPECT_EQ(ReadLog(), Lines({L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(ExtMonitorTests, FaultAtEntry_IsNotedAndLoggingGoesOnOnEveryThread)
{
    UseFile(0xC10, 0x200000);
    UseMonitor(m_class.GetId(), 7);
    m_server.SetFault(L"entry");
    KVTest::DebugOutputCapture debugOutput;
    RunScope();
    std::thread([this] { RunScope(); }).join();
    EXPECT_EQ(debugOutput.GetText(), "Exception Exit: InternalLogSimpleString (Access violation)\r\n"
                                     "Exception Exit: InternalLogSimpleString (Access violation)\r\n");
    EXPECT_EQ(ReadLog(),
              Lines({L"(->) Class::Method", L"(<-) Class::Method", L"(->) Class::Method", L"(<-) Class::Method"}));
}

TEST_F(ExtMonitorTests, FaultAtRelease_TheModuleGoesAllTheSame)
{
    UseMonitor(m_class.GetId(), 0);
    Refresh();
    m_server.SetFault(L"release");
    EndModule();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 release\n");
}

TEST_F(ExtMonitorTests, FaultAtStop_TheSuccessorIsBound)
{
    const MonitorClass other;
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 2);
    Refresh();
    m_server.SetFault(L"stop");
    m_registry.SetString(ProcessKey(), L"ExtMonitorCLSID", other.GetId());
    Refresh();
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 stop [" + KVTest::GetExecutableName() +
                                        L"]\n1 release\n2 create\n2 start [] [<unknown>]\n2 entry [Class::Method]\n");
}

TEST_F(ExtMonitorTests, FaultAtReleaseOfTheFirst_TheSuccessorIsBound)
{
    const MonitorClass other;
    UseFile(0xC10);
    UseMonitor(m_class.GetId(), 2);
    Refresh();
    m_server.SetFault(L"release");
    m_registry.SetString(ProcessKey(), L"ExtMonitorCLSID", other.GetId());
    Refresh();
    m_server.SetFault(nullptr);
    RunScope();
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 stop [" + KVTest::GetExecutableName() +
                                        L"]\n1 release\n2 create\n2 start [] [<unknown>]\n2 entry [Class::Method]\n");
}

// The operations themselves.

class ExtMonitorDirectTests : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!KVTest::IsComputerOfTheTests())
        {
            GTEST_SKIP() << "registers classes for all users of this computer";
        }
        m_monitor.Attach(L"direct.exe");
    }
    void TearDown() override { m_monitor.Detach(); }

    MonitorServer m_server;
    MonitorClass m_class;
    CExtMonitor m_monitor;
};

TEST_F(ExtMonitorDirectTests, Notify_NoneBound_IsNotImplemented)
{
    for (const MonitorEvent event :
         {MonitorEvent::kStart, MonitorEvent::kStop, MonitorEvent::kClass, MonitorEvent::kEntry, MonitorEvent::kExit})
    {
        EXPECT_EQ(m_monitor.Notify(event, L"text"), E_NOTIMPL);
    }
    EXPECT_EQ(CExtMonitor().Notify(MonitorEvent::kEntry, L"text"), E_NOTIMPL);
}

TEST_F(ExtMonitorDirectTests, Notify_TextMissing_IsNotImplemented)
{
    m_monitor.Update({m_class.GetId(), 7, L""}, L"direct.exe");
    EXPECT_EQ(m_monitor.Notify(MonitorEvent::kEntry, nullptr), E_NOTIMPL);
    EXPECT_EQ(m_monitor.Notify(MonitorEvent::kEntry, L"text"), S_OK);
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 entry [text]\n");
}

TEST_F(ExtMonitorDirectTests, Notify_EmptyText_IsTheUnknown)
{
    m_monitor.Update({m_class.GetId(), 7, L""}, L"direct.exe");
    for (const MonitorEvent event : {MonitorEvent::kStop, MonitorEvent::kEntry, MonitorEvent::kExit})
    {
        EXPECT_EQ(m_monitor.Notify(event, L""), S_OK);
    }
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 stop [<unknown>]\n1 entry [<unknown>]\n"
                                    L"1 exit [<unknown>]\n");
}

TEST_F(ExtMonitorDirectTests, Class_NotReported_IsRememberedAllTheSame)
{
    m_monitor.Update({m_class.GetId(), 0, L""}, L"direct.exe");
    m_monitor.Notify(MonitorEvent::kClass, L"A");
    m_monitor.Update({m_class.GetId(), 1, L""}, L"direct.exe");
    m_monitor.Notify(MonitorEvent::kClass, L"A");
    m_monitor.Notify(MonitorEvent::kClass, L"B");
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 class [B]\n");
}

TEST_F(ExtMonitorDirectTests, Update_FlagsAbsent_KeepTheirValue)
{
    m_monitor.Update({m_class.GetId(), 2, L""}, L"direct.exe");
    m_monitor.Update({m_class.GetId(), std::nullopt, L""}, L"direct.exe");
    m_monitor.Notify(MonitorEvent::kEntry, L"text");
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [] [<unknown>]\n1 entry [text]\n");
}

// The first wait of Update is for taking over, the second for binding.
TEST_F(ExtMonitorDirectTests, Update_MutexBusyWhenTheMonitorIsMade_IsTriedAgainTheNextTime)
{
    {
        const KVTest::WaitPatch waits([](std::size_t number, DWORD) { return number > 1; });
        m_monitor.Update({m_class.GetId(), 2, L"p"}, L"direct.exe");
        EXPECT_EQ(KVTest::WaitPatch::GetTimeouts()[0], 50u);
    }
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 release\n");
    m_monitor.Update({m_class.GetId(), 2, L"p"}, L"direct.exe");
    m_monitor.Update({m_class.GetId(), 2, L"p"}, L"direct.exe");
    EXPECT_EQ(m_monitor.Notify(MonitorEvent::kEntry, L"text"), S_OK);
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 release\n2 create\n2 start [p] [p]\n2 entry [text]\n");
}

TEST_F(ExtMonitorDirectTests, Update_MutexBusyAfterTheMonitorIsBound_StartsItAllTheSame)
{
    {
        const KVTest::WaitPatch waits([](std::size_t number, DWORD) { return number > 2; });
        m_monitor.Update({m_class.GetId(), 2, L"p"}, L"direct.exe");
    }
    EXPECT_EQ(m_server.GetRecord(), L"1 create\n1 start [p] [p]\n");
}

DWORD s_creationContext = 0;

HRESULT WINAPI RefuseAndNoteTheContext(REFCLSID, IUnknown*, DWORD context, REFIID, void** object)
{
    s_creationContext = context;
    *object = nullptr;
    return REGDB_E_CLASSNOTREG;
}

TEST_F(ExtMonitorDirectTests, Update_AsksForAServerOfAnyKind)
{
    KVTest::LoaderPatch loader;
    loader.AnswerWith(reinterpret_cast<void*>(&RefuseAndNoteTheContext), "CoCreateInstance");
    m_monitor.Update({m_class.GetId(), 7, L""}, L"direct.exe");
    EXPECT_EQ(s_creationContext, 0x17u);
}

TEST(ExtMonitorInterfaceTests, Identifier_IsTheFixedOne)
{
    wchar_t text[64] = {};
    ASSERT_NE(::StringFromGUID2(kExtMonitorInterfaceId, text, 64), 0);
    EXPECT_STREQ(text, L"{46C071BD-4AB9-4CED-B72B-9976370F007E}");
}

TEST(ExtMonitorInterfaceTests, Operations_FollowTheSevenOfDispatchInOrder)
{
    EXPECT_EQ(KVTest::SlotOf(&IExtMonitor::Start), 7u);
    EXPECT_EQ(KVTest::SlotOf(&IExtMonitor::Stop), 8u);
    EXPECT_EQ(KVTest::SlotOf(&IExtMonitor::ClassEntered), 9u);
    EXPECT_EQ(KVTest::SlotOf(&IExtMonitor::FunctionEntered), 10u);
    EXPECT_EQ(KVTest::SlotOf(&IExtMonitor::FunctionLeft), 11u);
}
} // namespace
