#include "analytics_reporting/AnalyticsEngine.h"

#include "analytics_reporting/BatteryProbe.h"
#include "analytics_reporting/BatteryQuery.h"
#include "analytics_reporting/ConnectionType.h"
#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/DimensionValues.h"
#include "analytics_reporting/PrinterInventory.h"
#include "analytics_reporting/ProgramLogModule.h"
#include "analytics_reporting/SystemFacts.h"
#include "ga_client/GAClient.h"
#include "logging/Trace.h"
#include "utils/base/StructuredExceptionScope.h"

namespace KVAnalyticsReporting
{
namespace
{
KV_TRACE_SOURCE(g_logModule, L"AnalyticsEngine.cpp");

using GAClient::GetGAClient;

// What the log says of a call that is not made.
struct Refusals
{
    const wchar_t* optedOut;
    const wchar_t* notStarted;
};

// Deliberate: two wordings, each operation has its own. Those who read the logs know them that way.
constexpr Refusals kSingleCall = {L"User is opted out of analytics, not making call into GA Client.",
                                  L"The analytics engine is not started, not making call into GA Client."};
constexpr Refusals kSeveralCalls = {L"User is opted out of analytics, not making calls into GA Client.",
                                    L"The analytics engine is not started, not making calls into GA Client."};

// Runs the body of an operation. What it throws, faults included, ends here; flags that the body has changed by then
// stay changed.
template <typename Body>
void CallGuarded(KVLogging::CLogFunction& kvTraceScope, const wchar_t* operation, Body&& body) noexcept
{
    try
    {
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run(body);
    }
    catch (...)
    {
        KV_LOGF(kLogWarning,
                L"CAnalyticsEngine::%s - Caught a previously unhandled exception in CAnalyticsEngine. "
                L"Doing nothing, except for hopefully not crashing.",
                operation);
    }
}

// True: consented. False: logged.
bool IsOptedIn(KVLogging::CLogFunction& kvTraceScope, bool optedIn)
{
    if (!optedIn)
    {
        KV_LOG(kLogDebug, kSingleCall.optedOut);
    }
    return optedIn;
}

// The guard of the operations that report.
bool MayReport(KVLogging::CLogFunction& kvTraceScope, bool optedIn, bool started, const Refusals& refusals)
{
    if (!optedIn)
    {
        KV_LOG(kLogDebug, refusals.optedOut);
        return false;
    }
    if (!started)
    {
        KV_LOG(kLogDebug, refusals.notStarted);
        return false;
    }
    return true;
}

// An operation that reports: guarded, and only for a user who opted in and an engine that is started.
template <typename Body>
void Report(KVLogging::CLogFunction& kvTraceScope, const wchar_t* operation, bool optedIn, bool started,
            const Refusals& refusals, Body&& body) noexcept
{
    CallGuarded(kvTraceScope, operation, [&] {
        if (MayReport(kvTraceScope, optedIn, started, refusals))
        {
            body();
        }
    });
}

// A value that is refused never stops the event.
void SetDimension(KVLogging::CLogFunction& kvTraceScope, const Dimension& dimension, const std::wstring& value)
{
    if (!GetGAClient().SetCustomDimension(dimension.number, value))
    {
        KV_LOGF(kLogWarning, L"Unable to set the %s custom dimension", dimension.name);
    }
}

void SetPrinterDimension(KVLogging::CLogFunction& kvTraceScope, const PrinterProperties& record,
                         const Dimension& dimension)
{
    SetDimension(kvTraceScope, dimension, GetPropertyOrUnknown(record, dimension));
}

// loggedLabel: the label as the log names it when the event is refused.
void SendEvent(KVLogging::CLogFunction& kvTraceScope, const std::wstring& category, const std::wstring& action,
               const std::wstring& label, const wchar_t* loggedLabel)
{
    constexpr std::int32_t kNoValue = -1;
    if (GetGAClient().TrackEvent(action, category, label, kNoValue, false) == 0)
    {
        KV_LOGF(kLogWarning, L"Failed to trigger the %s/%s/%s event", category.c_str(), action.c_str(), loggedLabel);
    }
}

void SendEvent(KVLogging::CLogFunction& kvTraceScope, const std::wstring& category, const std::wstring& action,
               const std::wstring& label)
{
    SendEvent(kvTraceScope, category, action, label, label.c_str());
}

// How many printers there are, then one event for each; perPrinter names its dimensions in their order.
void SendPrinters(KVLogging::CLogFunction& kvTraceScope, const std::list<PrinterProperties>& records,
                  std::initializer_list<Dimension> perPrinter, const std::wstring& label)
{
    SetDimension(kvTraceScope, Dimensions::kCount, std::to_wstring(records.size()));
    SendEvent(kvTraceScope, L"Printers", L"Count", label);
    for (const PrinterProperties& record : records)
    {
        for (const Dimension& dimension : perPrinter)
        {
            SetPrinterDimension(kvTraceScope, record, dimension);
        }
        SendEvent(kvTraceScope, L"Printers", L"Enumerate", label);
    }
}
} // namespace

IAnalyticsEngine& GetAnalyticsEngine()
{
    static CAnalyticsEngine s_engine;
    return s_engine;
}

bool CAnalyticsEngine::Initialize(bool optedIn, const std::wstring& propertyId, const std::wstring& applicationName,
                                  bool useSsl)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::Initialize");
    bool result = false;
    CallGuarded(kvTraceScope, L"Initialize", [&] {
        // Before anything else: a user who says no now is refused from now on, whatever was initialised before.
        m_optedIn = optedIn;
        if (!IsOptedIn(kvTraceScope, m_optedIn))
        {
            return;
        }
        if (m_initialized)
        {
            KV_LOG(kLogDebug, L"Analytics engine was already initialized, not initializing again.");
            return;
        }
        m_initialized = GetGAClient().Initialize(propertyId, applicationName, GetApplicationVersion(), useSsl, true);
        result = m_initialized;
    });
    return result;
}

bool CAnalyticsEngine::Start()
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::Start");
    bool result = false;
    CallGuarded(kvTraceScope, L"Start", [&] {
        if (!IsOptedIn(kvTraceScope, m_optedIn))
        {
            return;
        }
        if (!m_initialized)
        {
            KV_LOG(kLogDebug, L"Analytics engine was not initialized, not starting it.");
            return;
        }
        if (m_started)
        {
            KV_LOG(kLogDebug, L"Analytics engine was already started, not starting again.");
            return;
        }
        GetGAClient().SetDispatchHeld(false);
        m_started = GetGAClient().Start(L"Start");
        result = m_started;
    });
    return result;
}

bool CAnalyticsEngine::Stop()
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::Stop");
    bool result = false;
    CallGuarded(kvTraceScope, L"Stop", [&] {
        if (!IsOptedIn(kvTraceScope, m_optedIn))
        {
            return;
        }
        if (!m_started)
        {
            KV_LOG(kLogDebug, L"Analytics engine is not started, so not calling Stop function.");
            return;
        }
        result = GetGAClient().Stop();
        if (result)
        {
            m_started = false;
        }
    });
    return result;
}

bool CAnalyticsEngine::Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::Uninitialize");
    bool result = false;
    CallGuarded(kvTraceScope, L"Uninitialize", [&] {
        if (!IsOptedIn(kvTraceScope, m_optedIn))
        {
            return;
        }
        if (!m_initialized)
        {
            // Deliberate: the two blanks. Those who read the logs know it that way.
            KV_LOG(kLogDebug, L"Analytics engine was not  initialized, cannot uninitialize.");
            return;
        }
        result = GetGAClient().Uninitialize(flushOnExit, flushBudgetMs);
        m_initialized = !result;
    });
    return result;
}

void CAnalyticsEngine::TrackScreenView(const std::wstring& screenName)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackScreenView");
    Report(kvTraceScope, L"TrackScreenView", m_optedIn, m_started, kSingleCall,
           [&] { GetGAClient().TrackScreenView(screenName); });
}

void CAnalyticsEngine::TrackClientHardware()
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackClientHardware");
    Report(kvTraceScope, L"TrackClientHardware", m_optedIn, m_started, kSeveralCalls, [&] {
        SetDimension(kvTraceScope, Dimensions::kProcessorArchitecture, GetProcessorArchitectureText());
        SetDimension(kvTraceScope, Dimensions::kBattery, ProbeBattery(*this));
        SetDimension(kvTraceScope, Dimensions::kOSVersion, GetOSVersionText());
        SendEvent(kvTraceScope, L"Client", L"Inspect", L"Hardware");
    });
}

void CAnalyticsEngine::TrackDiscoveredPrinters(const std::list<const KVDeviceManager::IDevice*>& devices)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackDiscoveredPrinters");
    Report(kvTraceScope, L"TrackDiscoveredPrinters", m_optedIn, m_started, kSeveralCalls, [&] {
        SendPrinters(kvTraceScope, BuildDevicePrinterRecords(devices),
                     {Dimensions::kModelName, Dimensions::kConnectionType}, L"Discovered");
    });
}

void CAnalyticsEngine::TrackWirelessSetup(int kind, int resultCode, const std::wstring& modelName)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackWirelessSetup");
    Report(kvTraceScope, L"TrackWirelessSetup", m_optedIn, m_started, kSingleCall, [&] {
        SetDimension(kvTraceScope, Dimensions::kSelected, GetWirelessSetupText(kind));
        SetDimension(kvTraceScope, Dimensions::kEnabled, GetResultText(resultCode));
        SetDimension(kvTraceScope, Dimensions::kOSVersion, GetOSVersionText());
        SetDimension(kvTraceScope, Dimensions::kBattery, ProbeBattery(*this));
        SetDimension(kvTraceScope, Dimensions::kModelName, GetTextOrUnknown(modelName));
        SendEvent(kvTraceScope, L"Feature", L"Examine", L"WirelessSetup");
    });
}

void CAnalyticsEngine::TrackSelectedPrinter(const std::wstring& modelName, int connectionKind, int networkKind,
                                            int installedResult)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackSelectedPrinter");
    Report(kvTraceScope, L"TrackSelectedPrinter", m_optedIn, m_started, kSeveralCalls, [&] {
        SetDimension(kvTraceScope, Dimensions::kModelName, GetTextOrUnknown(modelName));
        SetDimension(kvTraceScope, Dimensions::kConnectionType, GetConnectionTypeText(connectionKind, networkKind));
        SetDimension(kvTraceScope, Dimensions::kInstalled, GetResultText(installedResult));
        SendEvent(kvTraceScope, L"Printers", L"Enumerate", L"Selected");
    });
}

void CAnalyticsEngine::TrackSelectedPrinter(const KVDeviceManager::IDevice& device, int installedResult)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackSelectedPrinter");
    Report(kvTraceScope, L"TrackSelectedPrinter", m_optedIn, m_started, kSeveralCalls, [&] {
        const PrinterProperties record = BuildDevicePrinterRecord(device);
        SetPrinterDimension(kvTraceScope, record, Dimensions::kModelName);
        SetPrinterDimension(kvTraceScope, record, Dimensions::kConnectionType);
        SetDimension(kvTraceScope, Dimensions::kInstalled, GetResultText(installedResult));
        SendEvent(kvTraceScope, L"Printers", L"Enumerate", L"Selected");
    });
}

void CAnalyticsEngine::TrackWebServices(bool selected, bool enabled, const KVDeviceManager::IDevice& device)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackWebServices");
    Report(kvTraceScope, L"TrackWebServices", m_optedIn, m_started, kSingleCall, [&] {
        // First, so that a device that fails leaves no half-set dimensions for the next hit.
        const PrinterProperties record = BuildDevicePrinterRecord(device);
        SetDimension(kvTraceScope, Dimensions::kSelected, GetYesNoText(selected));
        SetDimension(kvTraceScope, Dimensions::kEnabled, GetYesNoText(enabled));
        SetPrinterDimension(kvTraceScope, record, Dimensions::kModelName);
        SetPrinterDimension(kvTraceScope, record, Dimensions::kConnectionType);
        SendEvent(kvTraceScope, L"Feature", L"Examine", L"WebServices");
    });
}

void CAnalyticsEngine::TrackDeviceSharing(bool selected)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackDeviceSharing");
    Report(kvTraceScope, L"TrackDeviceSharing", m_optedIn, m_started, kSingleCall, [&] {
        SetDimension(kvTraceScope, Dimensions::kSelected, GetYesNoText(selected));
        SetDimension(kvTraceScope, Dimensions::kOSVersion, GetOSVersionText());
        SendEvent(kvTraceScope, L"Feature", L"Examine", L"DeviceSharing");
    });
}

void CAnalyticsEngine::TrackInstalledPrinters()
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackInstalledPrinters");
    Report(kvTraceScope, L"TrackInstalledPrinters", m_optedIn, m_started, kSeveralCalls, [&] {
        std::list<PrinterProperties> records;
        EnumerateInstalledPrinters(records);
        SendPrinters(kvTraceScope, records,
                     {Dimensions::kModelName, Dimensions::kManufacturer, Dimensions::kConnectionType,
                      Dimensions::kDriverType, Dimensions::kDriverVersion},
                     L"Installed");
    });
}

void CAnalyticsEngine::TrackSwiftpost(bool selected, bool installed, const std::wstring& modelName)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackSwiftpost");
    Report(kvTraceScope, L"TrackSwiftpost", m_optedIn, m_started, kSingleCall, [&] {
        SetDimension(kvTraceScope, Dimensions::kSelected, GetYesNoText(selected));
        SetDimension(kvTraceScope, Dimensions::kInstalled, GetYesNoText(installed));
        SetDimension(kvTraceScope, Dimensions::kModelName, GetTextOrUnknown(modelName));
        SetDimension(kvTraceScope, Dimensions::kOSVersion, GetOSVersionText());
        SendEvent(kvTraceScope, L"Feature", L"Examine", L"Swiftpost");
    });
}

void CAnalyticsEngine::TrackInstallResult(int resultCode, const std::wstring& modelName)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackInstallResult");
    Report(kvTraceScope, L"TrackInstallResult", m_optedIn, m_started, kSingleCall, [&] {
        SetDimension(kvTraceScope, Dimensions::kInstalled, GetResultText(resultCode));
        SetDimension(kvTraceScope, Dimensions::kOSVersion, GetOSVersionText());
        SetDimension(kvTraceScope, Dimensions::kModelName, GetTextOrUnknown(modelName));
        SendEvent(kvTraceScope, L"Install", L"Examine", L"Result");
    });
}

void CAnalyticsEngine::TrackLumoLink(const std::wstring& linkId, const std::wstring& modelName, int connectionKind,
                                     int networkKind)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::TrackLumoLink");
    Report(kvTraceScope, L"TrackLumoLink", m_optedIn, m_started, kSingleCall, [&] {
        SetDimension(kvTraceScope, Dimensions::kModelName, GetTextOrUnknown(modelName));
        SetDimension(kvTraceScope, Dimensions::kConnectionType, GetConnectionTypeText(connectionKind, networkKind));
        // The log names every link the same, whatever its id.
        SendEvent(kvTraceScope, L"Link", L"Click", linkId, L"LumoLinkID");
    });
}

bool CAnalyticsEngine::HasPendingRequests(std::list<std::wstring>& requests)
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::HasPendingRequests");
    bool result = false;
    CallGuarded(kvTraceScope, L"HasPendingRequests", [&] { result = GetGAClient().GetQueuedRequests(requests); });
    return result;
}

std::wstring CAnalyticsEngine::GetBatteryForAnalyticsReporting() const
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::GetBatteryForAnalyticsReporting");
    std::wstring battery;
    try
    {
        CBatteryQuery query; // out here, where a fault inside does not keep it from giving its objects back
        const KVUtils::CStructuredExceptionScope translator;
        translator.Run([&] { battery = query.Run(); });
    }
    catch (...)
    {
        KV_LOG(kLogWarning, L"Caught exception while trying to determine the existence of a battery");
        battery = kUnknown;
    }
    return battery;
}
} // namespace KVAnalyticsReporting
