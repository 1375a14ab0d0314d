#include "tests/proxy/RecordingEngine.h"

namespace KVTest
{
bool RecordingEngine::Record(const std::wstring& call)
{
    calls.push_back(call);
    return answer(call);
}

bool RecordingEngine::Initialize(bool optedIn, const std::wstring& propertyId, const std::wstring& applicationName,
                                 bool useSsl)
{
    return Record((optedIn ? L"Initialize|in|" : L"Initialize|out|") + propertyId + L"|" + applicationName +
                  (useSsl ? L"|ssl" : L"|plain"));
}

bool RecordingEngine::Start()
{
    return Record(L"Start");
}

bool RecordingEngine::Stop()
{
    return Record(L"Stop");
}

bool RecordingEngine::Uninitialize(bool, std::uint32_t)
{
    return Record(L"Uninitialize");
}

void RecordingEngine::TrackScreenView(const std::wstring& screenName)
{
    Record(L"TrackScreenView|" + screenName);
}

void RecordingEngine::TrackClientHardware()
{
    Record(L"TrackClientHardware");
}

void RecordingEngine::TrackDiscoveredPrinters(const std::list<const KVDeviceManager::IDevice*>&)
{
    Record(L"TrackDiscoveredPrinters");
}

void RecordingEngine::TrackWirelessSetup(int, int, const std::wstring&)
{
    Record(L"TrackWirelessSetup");
}

void RecordingEngine::TrackSelectedPrinter(const std::wstring&, int, int, int)
{
    Record(L"TrackSelectedPrinter");
}

void RecordingEngine::TrackSelectedPrinter(const KVDeviceManager::IDevice&, int)
{
    Record(L"TrackSelectedPrinter");
}

void RecordingEngine::TrackWebServices(bool, bool, const KVDeviceManager::IDevice&)
{
    Record(L"TrackWebServices");
}

void RecordingEngine::TrackDeviceSharing(bool)
{
    Record(L"TrackDeviceSharing");
}

void RecordingEngine::TrackInstalledPrinters()
{
    Record(L"TrackInstalledPrinters");
}

void RecordingEngine::TrackSwiftpost(bool, bool, const std::wstring&)
{
    Record(L"TrackSwiftpost");
}

void RecordingEngine::TrackInstallResult(int, const std::wstring&)
{
    Record(L"TrackInstallResult");
}

void RecordingEngine::TrackLumoLink(const std::wstring& linkId, const std::wstring& modelName, int connectionKind,
                                    int networkKind)
{
    Record(L"TrackLumoLink|" + linkId + L"|" + modelName + L"|" + std::to_wstring(connectionKind) + L"|" +
           std::to_wstring(networkKind));
}

bool RecordingEngine::HasPendingRequests(std::list<std::wstring>& requests)
{
    const bool result = Record(L"HasPendingRequests|" + std::to_wstring(requests.size()));
    if (!pending.empty())
    {
        requests.assign(static_cast<std::size_t>(pending.front()), L"/collect?v=1");
        pending.pop_front();
    }
    return result;
}

RecordingEngine& GetRecordingEngine()
{
    static RecordingEngine s_engine;
    return s_engine;
}
} // namespace KVTest

namespace KVAnalyticsReporting
{
IAnalyticsEngine& GetAnalyticsEngine()
{
    return KVTest::GetRecordingEngine();
}
} // namespace KVAnalyticsReporting
