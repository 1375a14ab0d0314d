#include "analytics_reporting/AnalyticsEngine.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "analytics_reporting/SystemFacts.h"
#include "tests/analytics_reporting/DimensionNames.h"
#include "tests/analytics_reporting/RecordingClient.h"
#include "tests/support/Faults.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/ScopedSubstitute.h"
#include "tests/support/TraceCapture.h"
#include "tests/support/VirtualSlots.h"
#include "winapi/ComApi.h"
#include "winapi/KernelApi.h"
#include "winapi/SpoolerApi.h"

namespace
{
using KVAnalyticsReporting::CAnalyticsEngine;
using KVAnalyticsReporting::GetAnalyticsEngine;
using KVAnalyticsReporting::IAnalyticsEngine;
using Calls = std::vector<std::wstring>;

int s_deviceQuestions = 0;

class Device : public KVDeviceManager::IDevice
{
public:
    Device(std::wstring model, int kind) : m_model(std::move(model)), m_kind(kind) {}
    std::wstring GetModelName() const override
    {
        ++s_deviceQuestions;
        return m_model;
    }
    int GetConnectionKind() const override
    {
        ++s_deviceQuestions;
        return m_kind;
    }

private:
    std::wstring m_model;
    int m_kind;
};

class NetworkDevice : public KVDeviceManager::INetworkDevice
{
public:
    std::wstring GetModelName() const override
    {
        ++s_deviceQuestions;
        return L"Net 7";
    }
    int GetConnectionKind() const override { return 2; }
    int GetNetworkKind() const override { return 2; }
};

// A computer without a printer, on which the battery stays unknown.
class NoPrinters : public KVWinApi::CSpoolerApi
{
public:
    BOOL EnumPrintersW(DWORD, LPWSTR, DWORD, LPBYTE, DWORD, LPDWORD needed, LPDWORD returned) override
    {
        *needed = 0;
        *returned = 0;
        return TRUE;
    }
};
class NoCom : public KVWinApi::CComApi
{
public:
    HRESULT CoInitializeEx(LPVOID, DWORD) override { return E_FAIL; }
};

// An operation that reports, with the calls that the client receives.
struct Operation
{
    const char* name;
    std::function<void(IAnalyticsEngine&)> call;
    bool makesSeveralCalls; // by the wording of its refusals
    Calls clientCalls;
    std::wstring refusedEvents; // logged if the client refuses every event
};
void PrintTo(const Operation& operation, std::ostream* stream)
{
    *stream << operation.name;
}

const Device kUsbDevice(L"Usb 5", 1);
const NetworkDevice kNetworkDevice;

std::wstring Dimension(int index, const std::wstring& value)
{
    return L"SetCustomDimension|" + std::to_wstring(index) + L"|" + value;
}

std::wstring Event(const std::wstring& category, const std::wstring& action, const std::wstring& label)
{
    return L"TrackEvent|" + action + L"|" + category + L"|" + label + L"|-1|interaction";
}

const std::vector<Operation>& Operations()
{
    static const std::wstring s_os = KVAnalyticsReporting::GetOSVersionText();
    static const std::vector<Operation> s_operations = {
        {"TrackScreenView",
         [](IAnalyticsEngine& engine) { engine.TrackScreenView(L"Home"); },
         false,
         {L"TrackScreenView|Home"},
         L""},
        {"TrackClientHardware",
         [](IAnalyticsEngine& engine) { engine.TrackClientHardware(); },
         true,
         {Dimension(8, KVAnalyticsReporting::GetProcessorArchitectureText()), Dimension(9, L""), Dimension(10, s_os),
          Event(L"Client", L"Inspect", L"Hardware")},
         L"(WN) Failed to trigger the Client/Inspect/Hardware event\r\n"},
        {"TrackDiscoveredPrinters",
         [](IAnalyticsEngine& engine) {
             engine.TrackDiscoveredPrinters({&kUsbDevice, &kNetworkDevice});
         },
         true,
         {Dimension(6, L"2"), Event(L"Printers", L"Count", L"Discovered"), Dimension(1, L"Usb 5"), Dimension(3, L"USB"),
          Event(L"Printers", L"Enumerate", L"Discovered"), Dimension(1, L"Net 7"), Dimension(3, L"Network-Wireless"),
          Event(L"Printers", L"Enumerate", L"Discovered")},
         L"(WN) Failed to trigger the Printers/Count/Discovered event\r\n"
         L"(WN) Failed to trigger the Printers/Enumerate/Discovered event\r\n"
         L"(WN) Failed to trigger the Printers/Enumerate/Discovered event\r\n"},
        {"TrackWirelessSetup",
         [](IAnalyticsEngine& engine) { engine.TrackWirelessSetup(5, 3, L"M 1"); },
         false,
         {Dimension(13, L"USBToWireless"), Dimension(14, L"Cancelled"), Dimension(10, s_os), Dimension(9, L""),
          Dimension(1, L"M 1"), Event(L"Feature", L"Examine", L"WirelessSetup")},
         L"(WN) Failed to trigger the Feature/Examine/WirelessSetup event\r\n"},
        {"TrackSelectedPrinter_Explicit",
         [](IAnalyticsEngine& engine) { engine.TrackSelectedPrinter(L"M 1", 2, 1, 1); },
         true,
         {Dimension(1, L"M 1"), Dimension(3, L"Network-Wired"), Dimension(12, L"Yes"),
          Event(L"Printers", L"Enumerate", L"Selected")},
         L"(WN) Failed to trigger the Printers/Enumerate/Selected event\r\n"},
        {"TrackSelectedPrinter_Device",
         [](IAnalyticsEngine& engine) { engine.TrackSelectedPrinter(kNetworkDevice, 2); },
         true,
         {Dimension(1, L"Net 7"), Dimension(3, L"Network-Wireless"), Dimension(12, L"No"),
          Event(L"Printers", L"Enumerate", L"Selected")},
         L"(WN) Failed to trigger the Printers/Enumerate/Selected event\r\n"},
        {"TrackWebServices",
         [](IAnalyticsEngine& engine) { engine.TrackWebServices(true, false, kUsbDevice); },
         false,
         {Dimension(13, L"Yes"), Dimension(14, L"No"), Dimension(1, L"Usb 5"), Dimension(3, L"USB"),
          Event(L"Feature", L"Examine", L"WebServices")},
         L"(WN) Failed to trigger the Feature/Examine/WebServices event\r\n"},
        {"TrackDeviceSharing",
         [](IAnalyticsEngine& engine) { engine.TrackDeviceSharing(false); },
         false,
         {Dimension(13, L"No"), Dimension(10, s_os), Event(L"Feature", L"Examine", L"DeviceSharing")},
         L"(WN) Failed to trigger the Feature/Examine/DeviceSharing event\r\n"},
        {"TrackInstalledPrinters",
         [](IAnalyticsEngine& engine) { engine.TrackInstalledPrinters(); },
         true,
         {Dimension(6, L"0"), Event(L"Printers", L"Count", L"Installed")},
         L"(WN) Failed to trigger the Printers/Count/Installed event\r\n"},
        {"TrackSwiftpost",
         [](IAnalyticsEngine& engine) { engine.TrackSwiftpost(false, true, L"M 1"); },
         false,
         {Dimension(13, L"No"), Dimension(12, L"Yes"), Dimension(1, L"M 1"), Dimension(10, s_os),
          Event(L"Feature", L"Examine", L"Swiftpost")},
         L"(WN) Failed to trigger the Feature/Examine/Swiftpost event\r\n"},
        {"TrackInstallResult",
         [](IAnalyticsEngine& engine) { engine.TrackInstallResult(2, L"M 1"); },
         false,
         {Dimension(12, L"No"), Dimension(10, s_os), Dimension(1, L"M 1"), Event(L"Install", L"Examine", L"Result")},
         L"(WN) Failed to trigger the Install/Examine/Result event\r\n"},
        {"TrackLumoLink",
         [](IAnalyticsEngine& engine) { engine.TrackLumoLink(L"Link 9", L"M 1", 4, 0); },
         false,
         {Dimension(1, L"M 1"), Dimension(3, L"Bluetooth"), Event(L"Link", L"Click", L"Link 9")},
         L"(WN) Failed to trigger the Link/Click/LumoLinkID event\r\n"},
    };
    return s_operations;
}

// The name in the log of the dimension that the call sets; empty for other calls.
std::wstring NameOfDimension(const std::wstring& call)
{
    for (const auto& [index, name] : KVTest::kDimensionNames)
    {
        if (call.starts_with(Dimension(index, L"")))
        {
            return name;
        }
    }
    return L"";
}

// Counts the queries to the computer while it lives, and passes them to the system.
class Questions
{
public:
    int GetCount() const { return s_count + static_cast<int>(m_loader.GetLoads().size()); }

private:
    class Kernel : public KVWinApi::CKernelApi
    {
    public:
        std::uintptr_t BeginThreadEx(void* security, unsigned stackSize, ThreadRoutine startRoutine, void* argument,
                                     unsigned flags, unsigned* threadId) override
        {
            ++s_count;
            return CKernelApi::BeginThreadEx(security, stackSize, startRoutine, argument, flags, threadId);
        }
        DWORD GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD size) override
        {
            ++s_count;
            return CKernelApi::GetModuleFileNameW(module, path, size);
        }
        FARPROC GetProcAddress(HMODULE module, LPCSTR name) override
        {
            ++s_count;
            return CKernelApi::GetProcAddress(module, name);
        }
        BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW version, DWORD parts, DWORDLONG conditions) override
        {
            ++s_count;
            return CKernelApi::VerifyVersionInfoW(version, parts, conditions);
        }
    };
    class Spooler : public KVWinApi::CSpoolerApi
    {
    public:
        BOOL EnumPrintersW(DWORD, LPWSTR, DWORD, LPBYTE, DWORD, LPDWORD needed, LPDWORD) override
        {
            ++s_count;
            *needed = 0;
            return TRUE;
        }
    };
    static inline int s_count = 0;

    Kernel m_kernel;
    Spooler m_spooler;
    KVTest::ScopedSubstitute<KVWinApi::IKernelApi> m_kernelSwap{KVWinApi::g_kernelApi, m_kernel};
    KVTest::ScopedSubstitute<KVWinApi::ISpoolerApi> m_spoolerSwap{KVWinApi::g_spoolerApi, m_spooler};
    KVTest::LoaderPatch m_loader;
};

// An access violation of the processor, not a raised one.
KV_NOT_SANITIZED void Touch(const KVTest::ForbiddenPage& page)
{
    *page.GetChars() = 'x';
}

// One line of several, with its end; empty if there are fewer.
std::wstring LineOf(const std::wstring& lines, std::size_t index)
{
    std::size_t begin = 0;
    for (; index != 0 && begin < lines.size(); --index)
    {
        begin = lines.find(L'\n', begin) + 1;
    }
    return lines.substr(begin, lines.find(L'\n', begin) + 1 - begin);
}

class AnalyticsEngineTests : public testing::TestWithParam<Operation>
{
protected:
    static bool Initialize() { return GetAnalyticsEngine().Initialize(true, L"XX-3", L"Lumo", true); }
    // Starts the engine and forgets the calls of the client so far.
    void Start()
    {
        Initialize();
        GetAnalyticsEngine().Start();
        m_client.TakeCalls();
    }
    // Every call of the client with that beginning throws.
    void Throw(const std::wstring& beginning)
    {
        m_client.answer = [beginning](const std::wstring& call) {
            if (call.starts_with(beginning))
            {
                throw std::runtime_error("the client is not well");
            }
            return true;
        };
    }
    // Runs the operation once for each of its calls. That call, and any later one, runs `end`.
    void ExpectToEndAt(const std::function<void()>& end)
    {
        Start();
        m_trace.Enable(KVLogging::kLogWarning);
        const Calls& calls = GetParam().clientCalls;
        std::wstring expected;
        for (std::size_t last = 0; last < calls.size(); ++last)
        {
            m_client.answer = [&end, before = last](const std::wstring&) mutable {
                if (before == 0)
                {
                    end();
                }
                --before;
                return true;
            };
            GetParam().call(GetAnalyticsEngine());
            EXPECT_EQ(m_client.TakeCalls(),
                      Calls(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(last) + 1));
            expected += CaughtIn(NameOf(GetParam()));
            EXPECT_EQ(m_trace.GetText(), expected);
        }
        m_client.answer = [](const std::wstring&) { return true; };
        GetParam().call(GetAnalyticsEngine());
        EXPECT_EQ(m_client.TakeCalls(), calls) << "the engine goes on as it was";
    }
    static std::wstring CaughtIn(const std::wstring& operation)
    {
        return L"(WN) CAnalyticsEngine::" + operation +
               L" - Caught a previously unhandled exception in CAnalyticsEngine. Doing nothing, except for hopefully "
               L"not crashing.\r\n";
    }
    static std::wstring NameOf(const Operation& operation)
    {
        const std::string name(operation.name);
        return std::wstring(name.begin(),
                            name.begin() + static_cast<std::ptrdiff_t>(std::min(name.find('_'), name.size())));
    }

    KVTest::TraceCapture m_trace;
    KVTest::RecordingClient& m_client = KVTest::GetRecordingClient();

private:
    NoPrinters m_spooler;
    NoCom m_com;
    KVTest::ScopedSubstitute<KVWinApi::ISpoolerApi> m_spoolerSwap{KVWinApi::g_spoolerApi, m_spooler};
    KVTest::ScopedSubstitute<KVWinApi::IComApi> m_comSwap{KVWinApi::g_comApi, m_com};
};

constexpr wchar_t kOptedOutLine[] = L"(DB) User is opted out of analytics, not making call into GA Client.\r\n";

TEST_F(AnalyticsEngineTests, GetAnalyticsEngine_IsAlwaysTheSame)
{
    EXPECT_EQ(&GetAnalyticsEngine(), &GetAnalyticsEngine());
    EXPECT_NE(dynamic_cast<CAnalyticsEngine*>(&GetAnalyticsEngine()), nullptr);
}

TEST_F(AnalyticsEngineTests, Operations_StandInTheirOrder)
{
    using Engine = IAnalyticsEngine;
    const std::vector<std::size_t> slots = {
        KVTest::SlotOf(&Engine::Initialize),
        KVTest::SlotOf(&Engine::Start),
        KVTest::SlotOf(&Engine::Stop),
        KVTest::SlotOf(&Engine::Uninitialize),
        KVTest::SlotOf(&Engine::TrackScreenView),
        KVTest::SlotOf(&Engine::TrackClientHardware),
        KVTest::SlotOf(&Engine::TrackDiscoveredPrinters),
        KVTest::SlotOf(&Engine::TrackWirelessSetup),
        KVTest::SlotOf<void (Engine::*)(const std::wstring&, int, int, int)>(&Engine::TrackSelectedPrinter),
        KVTest::SlotOf<void (Engine::*)(const KVDeviceManager::IDevice&, int)>(&Engine::TrackSelectedPrinter),
        KVTest::SlotOf(&Engine::TrackWebServices),
        KVTest::SlotOf(&Engine::TrackDeviceSharing),
        KVTest::SlotOf(&Engine::TrackInstalledPrinters),
        KVTest::SlotOf(&Engine::TrackSwiftpost),
        KVTest::SlotOf(&Engine::TrackInstallResult),
        KVTest::SlotOf(&Engine::TrackLumoLink),
        KVTest::SlotOf(&Engine::HasPendingRequests),
    };
    std::vector<std::size_t> expected;
    for (std::size_t slot = 0; slot < slots.size(); ++slot)
    {
        expected.push_back(slot);
    }
    EXPECT_EQ(slots, expected);
    EXPECT_EQ(KVTest::SlotCountOf<Engine>(), slots.size() + KVTest::kDestructorSlots); // which comes last
}

TEST_F(AnalyticsEngineTests, Initialize_HandsItsArgumentsAndTheVersionToTheClient)
{
    EXPECT_TRUE(GetAnalyticsEngine().Initialize(true, L"NV-3", L"LumoLink", false));
    // This program has no version resource.
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"Initialize|NV-3|LumoLink|Unknown|plain|asynchronous"});
}

TEST_F(AnalyticsEngineTests, Initialize_HandsTheSslFlagOn)
{
    EXPECT_TRUE(GetAnalyticsEngine().Initialize(true, L"NV-3", L"LumoLink", true));
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"Initialize|NV-3|LumoLink|Unknown|ssl|asynchronous"});
}

TEST_F(AnalyticsEngineTests, Initialize_WithoutConsent_IsRefused)
{
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Initialize(false, L"NV-3", L"LumoLink", true));
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), kOptedOutLine);
}

TEST_F(AnalyticsEngineTests, Initialize_WithoutConsentOrASecondTime_AsksTheComputerNothing)
{
    const Questions questions;
    EXPECT_FALSE(GetAnalyticsEngine().Initialize(false, L"NV-3", L"LumoLink", true));
    EXPECT_EQ(questions.GetCount(), 0);
    EXPECT_TRUE(Initialize());
    const int afterFirst = questions.GetCount();
    EXPECT_GT(afterFirst, 0) << "the program's version is read";
    EXPECT_FALSE(Initialize());
    EXPECT_EQ(questions.GetCount(), afterFirst);
}

TEST_F(AnalyticsEngineTests, Initialize_ASecondTime_IsRefused)
{
    EXPECT_TRUE(Initialize());
    m_client.TakeCalls();
    m_trace.EnableMessages();
    EXPECT_FALSE(Initialize());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), L"(DB) Analytics engine was already initialized, not initializing again.\r\n");
}

TEST_F(AnalyticsEngineTests, Initialize_ThatTheClientRefuses_IsFalseAndCanBeTriedAgain)
{
    m_client.answer = [](const std::wstring&) { return false; };
    EXPECT_FALSE(Initialize());
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_trace.GetText(), L"(DB) Analytics engine was not initialized, not starting it.\r\n");
    m_client.answer = [](const std::wstring&) { return true; };
    EXPECT_TRUE(Initialize());
    EXPECT_EQ(m_client.TakeCalls().size(), 2u);
}

TEST_F(AnalyticsEngineTests, Initialize_WithoutConsentLater_MakesEveryCallARefusal)
{
    Start();
    EXPECT_FALSE(GetAnalyticsEngine().Initialize(false, L"XX-3", L"Lumo", true));
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    EXPECT_FALSE(GetAnalyticsEngine().Uninitialize(true, 1));
    GetAnalyticsEngine().TrackScreenView(L"Home");
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), std::wstring(kOptedOutLine) + kOptedOutLine + kOptedOutLine + kOptedOutLine);
}

TEST_F(AnalyticsEngineTests, Initialize_WithConsentAgain_FindsTheEngineAsItWas)
{
    Start();
    EXPECT_FALSE(GetAnalyticsEngine().Initialize(false, L"XX-3", L"Lumo", true));
    EXPECT_FALSE(Initialize()); // already initialised, but the user's consent is back
    GetAnalyticsEngine().TrackScreenView(L"Home");
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"TrackScreenView|Home"});
}

TEST_F(AnalyticsEngineTests, Start_BeforeInitialize_SaysThatTheUserIsOptedOut)
{
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), kOptedOutLine);
}

TEST_F(AnalyticsEngineTests, Start_ReleasesDispatchAndStartsTheClient)
{
    Initialize();
    m_client.TakeCalls();
    EXPECT_TRUE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_client.TakeCalls(), (Calls{L"SetDispatchHeld|released", L"Start|Start"}));
}

TEST_F(AnalyticsEngineTests, Start_ASecondTime_IsRefused)
{
    Start();
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), L"(DB) Analytics engine was already started, not starting again.\r\n");
}

TEST_F(AnalyticsEngineTests, Start_ThatTheClientRefuses_IsFalseAndCanBeTriedAgain)
{
    Initialize();
    m_client.TakeCalls();
    m_client.answer = [](const std::wstring&) { return false; };
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    m_client.answer = [](const std::wstring&) { return true; };
    EXPECT_TRUE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_client.TakeCalls(),
              (Calls{L"SetDispatchHeld|released", L"Start|Start", L"SetDispatchHeld|released", L"Start|Start"}));
}

TEST_F(AnalyticsEngineTests, Stop_BeforeInitialize_SaysThatTheUserIsOptedOut)
{
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    EXPECT_EQ(m_trace.GetText(), kOptedOutLine);
}

TEST_F(AnalyticsEngineTests, Stop_BeforeStart_IsRefused)
{
    Initialize();
    m_client.TakeCalls();
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), L"(DB) Analytics engine is not started, so not calling Stop function.\r\n");
}

TEST_F(AnalyticsEngineTests, Stop_StopsTheClientOnce)
{
    Start();
    EXPECT_TRUE(GetAnalyticsEngine().Stop());
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"Stop"});
}

TEST_F(AnalyticsEngineTests, Stop_ThatTheClientRefuses_CanBeTriedAgain)
{
    Start();
    m_client.answer = [](const std::wstring&) { return false; };
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    m_client.answer = [](const std::wstring&) { return true; };
    EXPECT_TRUE(GetAnalyticsEngine().Stop());
    EXPECT_EQ(m_client.TakeCalls(), (Calls{L"Stop", L"Stop"}));
}

TEST_F(AnalyticsEngineTests, Stop_LeavesTheEngineReadyForAnotherStart)
{
    Start();
    EXPECT_TRUE(GetAnalyticsEngine().Stop());
    EXPECT_TRUE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_client.TakeCalls(), (Calls{L"Stop", L"SetDispatchHeld|released", L"Start|Start"}));
}

TEST_F(AnalyticsEngineTests, Uninitialize_BeforeInitialize_SaysThatTheUserIsOptedOut)
{
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Uninitialize(true, 5));
    EXPECT_EQ(m_trace.GetText(), kOptedOutLine);
}

TEST_F(AnalyticsEngineTests, Uninitialize_OfAnEngineThatIsNotInitialized_SaysSoWithTwoBlanks)
{
    m_client.answer = [](const std::wstring&) { return false; };
    Initialize();
    m_client.TakeCalls();
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Uninitialize(true, 5));
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), L"(DB) Analytics engine was not  initialized, cannot uninitialize.\r\n");
}

TEST_F(AnalyticsEngineTests, Uninitialize_HandsItsArgumentsOn)
{
    Initialize();
    m_client.TakeCalls();
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(true, 0xFFFFFFFF));
    EXPECT_TRUE(Initialize());
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(false, 0));
    EXPECT_EQ(m_client.TakeCalls(), (Calls{L"Uninitialize|flush|4294967295",
                                           L"Initialize|XX-3|Lumo|Unknown|ssl|asynchronous", L"Uninitialize|drop|0"}));
}

TEST_F(AnalyticsEngineTests, Uninitialize_ThatTheClientRefuses_LeavesTheEngineInitialized)
{
    Initialize();
    m_client.answer = [](const std::wstring&) { return false; };
    EXPECT_FALSE(GetAnalyticsEngine().Uninitialize(true, 5));
    m_client.answer = [](const std::wstring&) { return true; };
    m_trace.EnableMessages();
    EXPECT_FALSE(Initialize());
    EXPECT_EQ(m_trace.GetText(), L"(DB) Analytics engine was already initialized, not initializing again.\r\n");
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(true, 5));
}

TEST_F(AnalyticsEngineTests, Uninitialize_WhileStarted_LeavesItStarted)
{
    Start();
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(true, 5));
    m_client.TakeCalls();
    GetAnalyticsEngine().TrackScreenView(L"Home");
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"TrackScreenView|Home"});
}

TEST_F(AnalyticsEngineTests, HasPendingRequests_WorksInEveryState)
{
    m_client.queued = {L"one", L"two"};
    const auto expectTheQueue = [] {
        std::list<std::wstring> requests{L"mine"};
        EXPECT_TRUE(GetAnalyticsEngine().HasPendingRequests(requests));
        EXPECT_EQ(requests, (std::list<std::wstring>{L"one", L"two"}));
    };
    expectTheQueue();
    GetAnalyticsEngine().Initialize(false, L"", L"", false);
    expectTheQueue();
    Initialize();
    GetAnalyticsEngine().Start();
    expectTheQueue();
    GetAnalyticsEngine().Uninitialize(false, 0);
    expectTheQueue();
}

TEST_F(AnalyticsEngineTests, HasPendingRequests_HandsTheCallersListAndTheResultThrough)
{
    m_client.answer = [](const std::wstring&) { return false; };
    std::list<std::wstring> requests{L"mine"};
    EXPECT_FALSE(GetAnalyticsEngine().HasPendingRequests(requests));
    EXPECT_EQ(requests, std::list<std::wstring>{L"mine"});
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"GetQueuedRequests|1"});
}

TEST_F(AnalyticsEngineTests, Lifecycle_IsTracedByOperation)
{
    m_trace.EnableAll();
    Initialize();
    GetAnalyticsEngine().Start();
    GetAnalyticsEngine().Stop();
    GetAnalyticsEngine().Uninitialize(false, 0);
    std::list<std::wstring> requests;
    GetAnalyticsEngine().HasPendingRequests(requests);
    std::wstring expected;
    for (const wchar_t* operation : {L"Initialize", L"Start", L"Stop", L"Uninitialize", L"HasPendingRequests"})
    {
        expected += std::wstring(L"(->) CAnalyticsEngine::") + operation + L"\r\n";
        expected += std::wstring(L"(<-) CAnalyticsEngine::") + operation + L"\r\n";
    }
    EXPECT_EQ(m_trace.GetText(), expected);
}

TEST_F(AnalyticsEngineTests, Initialize_ThatThrows_KeepsTheConsentAndIsNotInitialized)
{
    Throw(L"Initialize");
    m_trace.EnableMessages();
    EXPECT_FALSE(Initialize());
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_trace.GetText(),
              CaughtIn(L"Initialize") + L"(DB) Analytics engine was not initialized, not starting it.\r\n");
}

TEST_F(AnalyticsEngineTests, Start_ThatThrows_IsNotStarted)
{
    Initialize();
    Throw(L"Start");
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    EXPECT_EQ(m_trace.GetText(),
              CaughtIn(L"Start") + L"(DB) Analytics engine is not started, so not calling Stop function.\r\n");
}

TEST_F(AnalyticsEngineTests, Start_ThatThrowsWhileDispatchIsReleased_DoesNotStartTheClient)
{
    Initialize();
    m_client.TakeCalls();
    Throw(L"SetDispatchHeld");
    EXPECT_FALSE(GetAnalyticsEngine().Start());
    EXPECT_EQ(m_client.TakeCalls(), Calls{L"SetDispatchHeld|released"});
}

TEST_F(AnalyticsEngineTests, Stop_ThatThrows_StaysStarted)
{
    Start();
    Throw(L"Stop");
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Stop());
    EXPECT_EQ(m_trace.GetText(), CaughtIn(L"Stop"));
    m_client.answer = [](const std::wstring&) { return true; };
    EXPECT_TRUE(GetAnalyticsEngine().Stop());
}

TEST_F(AnalyticsEngineTests, Uninitialize_ThatThrows_StaysInitialized)
{
    Initialize();
    Throw(L"Uninitialize");
    m_trace.EnableMessages();
    EXPECT_FALSE(GetAnalyticsEngine().Uninitialize(true, 1));
    EXPECT_EQ(m_trace.GetText(), CaughtIn(L"Uninitialize"));
    m_client.answer = [](const std::wstring&) { return true; };
    EXPECT_TRUE(GetAnalyticsEngine().Uninitialize(true, 1));
}

TEST_F(AnalyticsEngineTests, HasPendingRequests_ThatThrows_IsFalse)
{
    Throw(L"GetQueuedRequests");
    m_trace.EnableMessages();
    std::list<std::wstring> requests;
    EXPECT_FALSE(GetAnalyticsEngine().HasPendingRequests(requests));
    EXPECT_EQ(m_trace.GetText(), CaughtIn(L"HasPendingRequests"));
}

TEST_F(AnalyticsEngineTests, Lifecycle_WithOneCallThatFaults_IsCaughtAndCanBeTriedAgain)
{
    const KVTest::ForbiddenPage page;
    std::wstring faulting; // how the call begins
    m_client.answer = [&](const std::wstring& call) {
        if (call.starts_with(faulting))
        {
            Touch(page);
        }
        return true;
    };
    std::list<std::wstring> requests;
    struct Step
    {
        const wchar_t* clientCall;
        std::wstring operation;
        std::function<bool()> run;
    };
    const std::vector<Step> steps = {
        {L"Initialize", L"Initialize", [] { return Initialize(); }},
        {L"SetDispatchHeld", L"Start", [] { return GetAnalyticsEngine().Start(); }},
        {L"Start", L"Start", [] { return GetAnalyticsEngine().Start(); }},
        {L"GetQueuedRequests", L"HasPendingRequests",
         [&] { return GetAnalyticsEngine().HasPendingRequests(requests); }},
        {L"Stop", L"Stop", [] { return GetAnalyticsEngine().Stop(); }},
        {L"Uninitialize", L"Uninitialize", [] { return GetAnalyticsEngine().Uninitialize(true, 1); }},
    };
    m_trace.EnableMessages();
    std::wstring expected;
    for (std::size_t i = 0; i < steps.size(); ++i)
    {
        faulting = steps[i].clientCall;
        EXPECT_FALSE(steps[i].run()) << i;
        expected += CaughtIn(steps[i].operation);
        EXPECT_EQ(m_trace.GetText(), expected) << i;
        faulting = L"none";
        if (i + 1 == steps.size() || steps[i + 1].operation != steps[i].operation)
        {
            EXPECT_TRUE(steps[i].run()) << i;
        }
    }
}

TEST_P(AnalyticsEngineTests, WithoutConsent_DoesNothingButSaySo)
{
    m_trace.EnableMessages();
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), GetParam().makesSeveralCalls
                                     ? L"(DB) User is opted out of analytics, not making calls into GA Client.\r\n"
                                     : L"(DB) User is opted out of analytics, not making call into GA Client.\r\n");
}

TEST_P(AnalyticsEngineTests, BeforeStart_DoesNothingButSaySo)
{
    Initialize();
    m_client.TakeCalls();
    m_trace.EnableMessages();
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(),
              GetParam().makesSeveralCalls
                  ? L"(DB) The analytics engine is not started, not making calls into GA Client.\r\n"
                  : L"(DB) The analytics engine is not started, not making call into GA Client.\r\n");
}

TEST_P(AnalyticsEngineTests, WithoutConsentInAStartedEngine_SaysThatTheUserIsOptedOut)
{
    Start();
    GetAnalyticsEngine().Initialize(false, L"", L"", true);
    m_trace.EnableMessages();
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText().substr(0, 40), L"(DB) User is opted out of analytics, not");
}

TEST_P(AnalyticsEngineTests, WithoutConsentOrStart_AsksTheComputerNothing)
{
    const Questions questions;
    GetParam().call(GetAnalyticsEngine());
    GetAnalyticsEngine().Initialize(false, L"XX-3", L"Lumo", true);
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(questions.GetCount(), 0);
    Initialize();
    const int beforeCall = questions.GetCount(); // includes the version of the program
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(questions.GetCount(), beforeCall);
    EXPECT_EQ(s_deviceQuestions, 0);
}

TEST_P(AnalyticsEngineTests, InAStartedEngine_SetsItsDimensionsAndSendsItsEvents)
{
    Start();
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), GetParam().clientCalls);
}

TEST_P(AnalyticsEngineTests, IsTracedByItsName)
{
    Start();
    m_trace.Enable(0xC00);
    GetParam().call(GetAnalyticsEngine());
    const std::wstring text = m_trace.GetText();
    const std::wstring name = L"CAnalyticsEngine::" + NameOf(GetParam()) + L"\r\n";
    EXPECT_TRUE(text.starts_with(L"(->) " + name));
    EXPECT_TRUE(text.ends_with(L"(<-) " + name));
}

TEST_P(AnalyticsEngineTests, WithDimensionsRefused_LogsEachAndSendsItsEventsAllTheSame)
{
    Start();
    m_client.answer = [](const std::wstring& call) { return !call.starts_with(L"SetCustomDimension"); };
    std::wstring expected;
    for (const std::wstring& call : GetParam().clientCalls)
    {
        if (call.starts_with(L"SetCustomDimension"))
        {
            expected += L"(WN) Unable to set the " + NameOfDimension(call) + L" custom dimension\r\n";
        }
    }
    m_trace.Enable(KVLogging::kLogWarning);
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), GetParam().clientCalls);
    EXPECT_EQ(m_trace.IsEmpty() ? L"" : m_trace.GetText(), expected);
}

TEST_P(AnalyticsEngineTests, WithEventsRefused_LogsEachAndGoesOn)
{
    Start();
    m_client.answer = [](const std::wstring& call) { return call.starts_with(L"SetCustomDimension"); };
    m_trace.Enable(KVLogging::kLogWarning);
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), GetParam().clientCalls);
    // The result of a screen view is ignored.
    EXPECT_EQ(m_trace.IsEmpty() ? L"" : m_trace.GetText(), GetParam().refusedEvents);
}

TEST_P(AnalyticsEngineTests, WithAClientThatThrows_EndsAtOnce)
{
    Start();
    Throw(L"");
    m_trace.Enable(KVLogging::kLogWarning);
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), Calls{GetParam().clientCalls.front()});
    EXPECT_EQ(m_trace.GetText(), CaughtIn(NameOf(GetParam())));
}

TEST_P(AnalyticsEngineTests, WithAClientThatFaults_EndsAtOnce)
{
    Start();
    m_client.answer = [](const std::wstring&) -> bool {
        ::RaiseException(EXCEPTION_ACCESS_VIOLATION, 0, 0, nullptr);
        return true;
    };
    m_trace.Enable(KVLogging::kLogWarning);
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), Calls{GetParam().clientCalls.front()});
    EXPECT_EQ(m_trace.GetText(), CaughtIn(NameOf(GetParam())));
}

TEST_P(AnalyticsEngineTests, WithOneCallRefused_LogsThatOneAndMakesTheOthers)
{
    Start();
    m_trace.Enable(KVLogging::kLogWarning);
    const Calls& calls = GetParam().clientCalls;
    std::wstring expected;
    std::size_t eventCount = 0;
    for (std::size_t refused = 0; refused < calls.size(); ++refused)
    {
        m_client.answer = [count = refused](const std::wstring&) mutable { return count-- != 0; };
        GetParam().call(GetAnalyticsEngine());
        EXPECT_EQ(m_client.TakeCalls(), calls) << refused;
        if (calls[refused].starts_with(L"SetCustomDimension"))
        {
            expected += L"(WN) Unable to set the " + NameOfDimension(calls[refused]) + L" custom dimension\r\n";
        }
        else
        {
            expected += LineOf(GetParam().refusedEvents, eventCount);
            ++eventCount;
        }
        EXPECT_EQ(m_trace.IsEmpty() ? L"" : m_trace.GetText(), expected) << refused;
    }
}

TEST_P(AnalyticsEngineTests, WithOneCallThatThrows_EndsThere)
{
    ExpectToEndAt([] { throw std::runtime_error("the client is not well"); });
}

TEST_P(AnalyticsEngineTests, WithOneCallThatFaults_EndsThere)
{
    const KVTest::ForbiddenPage page;
    ExpectToEndAt([&] { Touch(page); });
}

TEST_P(AnalyticsEngineTests, WithOneCallThatFaultsUnderALockOfTheClient_EndsThere)
{
    const KVTest::ForbiddenPage page;
    CRITICAL_SECTION section;
    ::InitializeCriticalSection(&section);
    ExpectToEndAt([&] {
        ::EnterCriticalSection(&section);
        Touch(page);
        ::LeaveCriticalSection(&section);
    });
    // The owning thread can enter a critical section again: the client's next call is not blocked.
    m_client.answer = [&](const std::wstring&) {
        ::EnterCriticalSection(&section);
        ::LeaveCriticalSection(&section);
        return true;
    };
    GetParam().call(GetAnalyticsEngine());
    EXPECT_EQ(m_client.TakeCalls(), GetParam().clientCalls);
}

INSTANTIATE_TEST_SUITE_P(Each, AnalyticsEngineTests, testing::ValuesIn(Operations()),
                         [](const auto& entry) { return std::string(entry.param.name); });

// The line numbers of lines with the prefixes of KVLogging::kOptionCounterAndLine, "0123456789 0123: ".
std::vector<int> LineNumbersOf(const std::wstring& text)
{
    std::vector<int> numbers;
    std::wistringstream lines(text);
    for (std::wstring line; std::getline(lines, line);)
    {
        numbers.push_back(std::stoi(line.substr(11, 4)));
    }
    return numbers;
}

TEST_F(AnalyticsEngineTests, LineNumbers_AreThoseOfTheOperationsStatements)
{
    Start();
    m_client.answer = [](const std::wstring&) { return false; };
    m_trace.GetRegistry().SetDword(L"Software\\Norvik\\KV\\Logging", L"LogOptions", KVLogging::kOptionCounterAndLine);
    m_trace.Enable(KVLogging::kLogWarning);
    GetAnalyticsEngine().TrackSwiftpost(false, true, L"M 1"); // four dimensions and an event, a line of source each
    const std::vector<int> numbers = LineNumbersOf(m_trace.GetText());
    ASSERT_EQ(numbers.size(), 5u);
    const int first = numbers.front();
    EXPECT_EQ(numbers, (std::vector<int>{first, first + 1, first + 2, first + 3, first + 4}));
}

// Records the calls that the client received before the search for a battery.
class ProbeWatch : public KVWinApi::CKernelApi
{
public:
    std::uintptr_t BeginThreadEx(void*, unsigned, ThreadRoutine, void*, unsigned, unsigned*) override
    {
        callsBefore.push_back(KVTest::GetRecordingClient().TakeCalls());
        return 0;
    }

    std::vector<Calls> callsBefore;
};

TEST_F(AnalyticsEngineTests, Battery_IsLookedForWhereItsDimensionComes)
{
    Start();
    ProbeWatch kernel;
    const KVTest::ScopedSubstitute swap(KVWinApi::g_kernelApi, kernel);
    GetAnalyticsEngine().TrackClientHardware();
    m_client.TakeCalls();
    GetAnalyticsEngine().TrackWirelessSetup(5, 3, L"M 1");
    ASSERT_EQ(kernel.callsBefore.size(), 2u);
    EXPECT_EQ(kernel.callsBefore[0], Calls{Dimension(8, KVAnalyticsReporting::GetProcessorArchitectureText())});
    EXPECT_EQ(kernel.callsBefore[1], (Calls{Dimension(13, L"USBToWireless"), Dimension(14, L"Cancelled"),
                                            Dimension(10, KVAnalyticsReporting::GetOSVersionText())}));
}

TEST_F(AnalyticsEngineTests, TrackDiscoveredPrinters_ThatThrowsInTheMiddle_LeavesTheRestOut)
{
    Start();
    Throw(Dimension(3, L""));
    GetAnalyticsEngine().TrackDiscoveredPrinters({&kUsbDevice, &kNetworkDevice});
    EXPECT_EQ(m_client.TakeCalls(), (Calls{Dimension(6, L"2"), Event(L"Printers", L"Count", L"Discovered"),
                                           Dimension(1, L"Usb 5"), Dimension(3, L"USB")}));
}

TEST_F(AnalyticsEngineTests, TrackDiscoveredPrinters_WithoutAny_SendsTheCountAlone)
{
    Start();
    GetAnalyticsEngine().TrackDiscoveredPrinters({});
    EXPECT_EQ(m_client.TakeCalls(), (Calls{Dimension(6, L"0"), Event(L"Printers", L"Count", L"Discovered")}));
}

TEST_F(AnalyticsEngineTests, TrackDiscoveredPrinters_WithANullDevice_SendsNothing)
{
    Start();
    m_trace.Enable(KVLogging::kLogWarning);
    GetAnalyticsEngine().TrackDiscoveredPrinters({&kUsbDevice, nullptr});
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
    EXPECT_EQ(m_trace.GetText(), CaughtIn(L"TrackDiscoveredPrinters"));
}

TEST_F(AnalyticsEngineTests, TrackWebServices_WithADeviceThatThrows_LeavesNoDimensionBehind)
{
    class Throwing : public Device
    {
    public:
        Throwing() : Device(L"", 1) {}
        std::wstring GetModelName() const override { throw std::runtime_error("gone"); }
    };
    Start();
    GetAnalyticsEngine().TrackWebServices(true, true, Throwing());
    EXPECT_EQ(m_client.TakeCalls(), Calls{});
}

TEST_F(AnalyticsEngineTests, EmptyModelNames_AreUnknown)
{
    Start();
    IAnalyticsEngine& engine = GetAnalyticsEngine();
    engine.TrackSelectedPrinter(L"", 0, 0, 0);
    engine.TrackSelectedPrinter(Device(L"", 9), 0);
    engine.TrackSwiftpost(true, false, L"");
    engine.TrackInstallResult(0, L"");
    engine.TrackLumoLink(L"", L"", 0, 0);
    engine.TrackWirelessSetup(0, 0, L"");
    std::vector<std::wstring> models;
    for (const std::wstring& call : m_client.TakeCalls())
    {
        if (call.starts_with(Dimension(1, L"")))
        {
            models.push_back(call);
        }
    }
    EXPECT_EQ(models, Calls(6, Dimension(1, L"Unknown")));
}

TEST_F(AnalyticsEngineTests, TrackLumoLink_WithoutALink_SendsAnEmptyLabel)
{
    Start();
    GetAnalyticsEngine().TrackLumoLink(L"", L"M", 7, 2);
    EXPECT_EQ(m_client.TakeCalls(), (Calls{Dimension(1, L"M"), Dimension(3, L"All"), Event(L"Link", L"Click", L"")}));
}

TEST_F(AnalyticsEngineTests, ResultsAndChoices_BecomeTheirTexts)
{
    Start();
    IAnalyticsEngine& engine = GetAnalyticsEngine();
    const std::vector<std::pair<int, const wchar_t*>> results = {{1, L"Yes"},     {2, L"No"},      {3, L"Cancelled"},
                                                                 {4, L"Unknown"}, {0, L"Unknown"}, {-1, L"Unknown"}};
    for (const auto& [code, text] : results)
    {
        engine.TrackInstallResult(code, L"M");
        EXPECT_EQ(m_client.TakeCalls().at(0), Dimension(12, text)) << code;
        engine.TrackSelectedPrinter(L"M", 0, 0, code);
        EXPECT_EQ(m_client.TakeCalls().at(2), Dimension(12, text)) << code;
        engine.TrackSelectedPrinter(kUsbDevice, code);
        EXPECT_EQ(m_client.TakeCalls().at(2), Dimension(12, text)) << code;
        engine.TrackWirelessSetup(1, code, L"M");
        EXPECT_EQ(m_client.TakeCalls().at(1), Dimension(14, text)) << code;
    }
    engine.TrackWebServices(false, true, kUsbDevice);
    EXPECT_EQ(m_client.TakeCalls().at(1), Dimension(14, L"Yes"));
    engine.TrackDeviceSharing(true);
    EXPECT_EQ(m_client.TakeCalls().at(0), Dimension(13, L"Yes"));
    engine.TrackSwiftpost(true, false, L"M");
    const Calls swiftpost = m_client.TakeCalls();
    EXPECT_EQ(swiftpost.at(0), Dimension(13, L"Yes"));
    EXPECT_EQ(swiftpost.at(1), Dimension(12, L"No"));
}

TEST_F(AnalyticsEngineTests, WirelessSetupKinds_BecomeTheirTexts)
{
    Start();
    const std::vector<std::pair<int, const wchar_t*>> kinds = {{1, L"AlreadyOnNetwork"}, {2, L"AWC"},
                                                               {3, L"USBSOW"},           {4, L"FPSOW"},
                                                               {5, L"USBToWireless"},    {6, L"Reconfigure_USB"},
                                                               {7, L"Reconfigure_FP"},   {8, L"USBPlusWifi"},
                                                               {9, L"WirelessDirect"},   {0, L"Unknown"},
                                                               {10, L"Unknown"},         {-1, L"Unknown"}};
    for (const auto& [kind, text] : kinds)
    {
        GetAnalyticsEngine().TrackWirelessSetup(kind, 1, L"M");
        EXPECT_EQ(m_client.TakeCalls().at(0), Dimension(13, text)) << kind;
    }
}
} // namespace
