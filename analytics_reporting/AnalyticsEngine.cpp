#include "analytics_reporting/AnalyticsEngine.h"

#include "analytics_reporting/BatteryProbe.h"
#include "analytics_reporting/BatteryQuery.h"
#include "analytics_reporting/ConnectionType.h"
#include "analytics_reporting/Dimensions.h"
#include "analytics_reporting/DimensionValues.h"
#include "analytics_reporting/EngineOperation.h"
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

// Deliberate: two wordings, of which each operation has its own. Readers of the logs search for them.
constexpr Refusals kSingleCall = {L"User is opted out of analytics, not making call into GA Client.",
                                  L"The analytics engine is not started, not making call into GA Client."};
constexpr Refusals kSeveralCalls = {L"User is opted out of analytics, not making calls into GA Client.",
                                    L"The analytics engine is not started, not making calls into GA Client."};

// The first statement of an operation: opens its trace scope and makes the CEngineOperation of that variable name.
#define KV_OPERATION(variable, name)                                                                                   \
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::" name);                                                        \
    const CEngineOperation variable(kvTraceScope, name, m_optedIn, m_started)
} // namespace

IAnalyticsEngine& GetAnalyticsEngine()
{
    static CAnalyticsEngine s_engine;
    return s_engine;
}

bool CAnalyticsEngine::Initialize(bool optedIn, const std::wstring& propertyId, const std::wstring& applicationName,
                                  bool useSsl)
{
    KV_OPERATION(operation, L"Initialize");
    return operation.Run([&] {
        // First, so that every later call of a user who withdraws consent is refused, whatever was initialised before.
        m_optedIn = optedIn;
        if (!operation.Check(m_optedIn, kSingleCall.optedOut) ||
            !operation.Check(!m_initialized, L"Analytics engine was already initialized, not initializing again."))
        {
            return false;
        }
        m_initialized = GetGAClient().Initialize(propertyId, applicationName, GetApplicationVersion(), useSsl, true);
        return m_initialized;
    });
}

bool CAnalyticsEngine::Start()
{
    KV_OPERATION(operation, L"Start");
    return operation.Run([&] {
        if (!operation.Check(m_optedIn, kSingleCall.optedOut) ||
            !operation.Check(m_initialized, L"Analytics engine was not initialized, not starting it.") ||
            !operation.Check(!m_started, L"Analytics engine was already started, not starting again."))
        {
            return false;
        }
        GetGAClient().SetDispatchHeld(false);
        m_started = GetGAClient().Start(L"Start");
        return m_started;
    });
}

bool CAnalyticsEngine::Stop()
{
    KV_OPERATION(operation, L"Stop");
    return operation.Run([&] {
        if (!operation.Check(m_optedIn, kSingleCall.optedOut) ||
            !operation.Check(m_started, L"Analytics engine is not started, so not calling Stop function."))
        {
            return false;
        }
        m_started = !GetGAClient().Stop();
        return !m_started;
    });
}

bool CAnalyticsEngine::Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs)
{
    KV_OPERATION(operation, L"Uninitialize");
    return operation.Run([&] {
        // Deliberate: the two blanks. Readers of the logs search for the text.
        if (!operation.Check(m_optedIn, kSingleCall.optedOut) ||
            !operation.Check(m_initialized, L"Analytics engine was not  initialized, cannot uninitialize."))
        {
            return false;
        }
        m_initialized = !GetGAClient().Uninitialize(flushOnExit, flushBudgetMs);
        return !m_initialized;
    });
}

void CAnalyticsEngine::TrackScreenView(const std::wstring& screenName)
{
    KV_OPERATION(operation, L"TrackScreenView");
    operation.Report(kSingleCall, [&] { GetGAClient().TrackScreenView(screenName); });
}

void CAnalyticsEngine::TrackClientHardware()
{
    KV_OPERATION(operation, L"TrackClientHardware");
    operation.Report(kSeveralCalls, [&] {
        operation.Set(Dimensions::kProcessorArchitecture, GetProcessorArchitectureText());
        operation.Set(Dimensions::kBattery, ProbeBattery(*this));
        operation.Set(Dimensions::kOSVersion, GetOSVersionText());
        operation.Send(L"Client", L"Inspect", L"Hardware");
    });
}

void CAnalyticsEngine::TrackDiscoveredPrinters(const std::list<const KVDeviceManager::IDevice*>& devices)
{
    KV_OPERATION(operation, L"TrackDiscoveredPrinters");
    operation.Report(kSeveralCalls, [&] {
        operation.SendPrinters(BuildDevicePrinterRecords(devices),
                               {Dimensions::kModelName, Dimensions::kConnectionType}, L"Discovered");
    });
}

void CAnalyticsEngine::TrackWirelessSetup(int kind, int resultCode, const std::wstring& modelName)
{
    KV_OPERATION(operation, L"TrackWirelessSetup");
    operation.Report(kSingleCall, [&] {
        operation.Set(Dimensions::kSelected, GetWirelessSetupText(kind));
        operation.Set(Dimensions::kEnabled, GetResultText(resultCode));
        operation.Set(Dimensions::kOSVersion, GetOSVersionText());
        operation.Set(Dimensions::kBattery, ProbeBattery(*this));
        operation.Set(Dimensions::kModelName, GetTextOrUnknown(modelName));
        operation.Send(L"Feature", L"Examine", L"WirelessSetup");
    });
}

void CAnalyticsEngine::TrackSelectedPrinter(const std::wstring& modelName, int connectionKind, int networkKind,
                                            int installedResult)
{
    KV_OPERATION(operation, L"TrackSelectedPrinter");
    operation.Report(kSeveralCalls, [&] {
        operation.Set(Dimensions::kModelName, GetTextOrUnknown(modelName));
        operation.Set(Dimensions::kConnectionType, GetConnectionTypeText(connectionKind, networkKind));
        operation.Set(Dimensions::kInstalled, GetResultText(installedResult));
        operation.Send(L"Printers", L"Enumerate", L"Selected");
    });
}

void CAnalyticsEngine::TrackSelectedPrinter(const KVDeviceManager::IDevice& device, int installedResult)
{
    KV_OPERATION(operation, L"TrackSelectedPrinter");
    operation.Report(kSeveralCalls, [&] {
        const PrinterProperties record = BuildDevicePrinterRecord(device);
        operation.Set(Dimensions::kModelName, record);
        operation.Set(Dimensions::kConnectionType, record);
        operation.Set(Dimensions::kInstalled, GetResultText(installedResult));
        operation.Send(L"Printers", L"Enumerate", L"Selected");
    });
}

void CAnalyticsEngine::TrackWebServices(bool selected, bool enabled, const KVDeviceManager::IDevice& device)
{
    KV_OPERATION(operation, L"TrackWebServices");
    operation.Report(kSingleCall, [&] {
        // First, so that a device that throws leaves no dimension set for the next hit.
        const PrinterProperties record = BuildDevicePrinterRecord(device);
        operation.Set(Dimensions::kSelected, GetYesNoText(selected));
        operation.Set(Dimensions::kEnabled, GetYesNoText(enabled));
        operation.Set(Dimensions::kModelName, record);
        operation.Set(Dimensions::kConnectionType, record);
        operation.Send(L"Feature", L"Examine", L"WebServices");
    });
}

void CAnalyticsEngine::TrackDeviceSharing(bool selected)
{
    KV_OPERATION(operation, L"TrackDeviceSharing");
    operation.Report(kSingleCall, [&] {
        operation.Set(Dimensions::kSelected, GetYesNoText(selected));
        operation.Set(Dimensions::kOSVersion, GetOSVersionText());
        operation.Send(L"Feature", L"Examine", L"DeviceSharing");
    });
}

void CAnalyticsEngine::TrackInstalledPrinters()
{
    KV_OPERATION(operation, L"TrackInstalledPrinters");
    operation.Report(kSeveralCalls, [&] {
        std::list<PrinterProperties> records;
        EnumerateInstalledPrinters(records);
        operation.SendPrinters(records,
                               {Dimensions::kModelName, Dimensions::kManufacturer, Dimensions::kConnectionType,
                                Dimensions::kDriverType, Dimensions::kDriverVersion},
                               L"Installed");
    });
}

void CAnalyticsEngine::TrackSwiftpost(bool selected, bool installed, const std::wstring& modelName)
{
    KV_OPERATION(operation, L"TrackSwiftpost");
    operation.Report(kSingleCall, [&] {
        operation.Set(Dimensions::kSelected, GetYesNoText(selected));
        operation.Set(Dimensions::kInstalled, GetYesNoText(installed));
        operation.Set(Dimensions::kModelName, GetTextOrUnknown(modelName));
        operation.Set(Dimensions::kOSVersion, GetOSVersionText());
        operation.Send(L"Feature", L"Examine", L"Swiftpost");
    });
}

void CAnalyticsEngine::TrackInstallResult(int resultCode, const std::wstring& modelName)
{
    KV_OPERATION(operation, L"TrackInstallResult");
    operation.Report(kSingleCall, [&] {
        operation.Set(Dimensions::kInstalled, GetResultText(resultCode));
        operation.Set(Dimensions::kOSVersion, GetOSVersionText());
        operation.Set(Dimensions::kModelName, GetTextOrUnknown(modelName));
        operation.Send(L"Install", L"Examine", L"Result");
    });
}

void CAnalyticsEngine::TrackLumoLink(const std::wstring& linkId, const std::wstring& modelName, int connectionKind,
                                     int networkKind)
{
    KV_OPERATION(operation, L"TrackLumoLink");
    operation.Report(kSingleCall, [&] {
        operation.Set(Dimensions::kModelName, GetTextOrUnknown(modelName));
        operation.Set(Dimensions::kConnectionType, GetConnectionTypeText(connectionKind, networkKind));
        // The log has one name for all links.
        operation.Send(L"Link", L"Click", linkId, L"LumoLinkID");
    });
}

bool CAnalyticsEngine::HasPendingRequests(std::list<std::wstring>& requests)
{
    KV_OPERATION(operation, L"HasPendingRequests");
    return operation.Run([&] { return GetGAClient().GetQueuedRequests(requests); });
}

std::wstring CAnalyticsEngine::GetBatteryForAnalyticsReporting() const
{
    KV_TRACE(L"KVAnalyticsReporting::CAnalyticsEngine::GetBatteryForAnalyticsReporting");
    std::wstring battery;
    try
    {
        CBatteryQuery query; // outside Run, since a fault inside would skip its destructor, which releases its objects
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
