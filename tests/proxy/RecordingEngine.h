#pragma once

#include <functional>
#include <list>
#include <string>
#include <vector>

#include "analytics_reporting/AnalyticsEngine.h"

namespace KVTest
{
/// Replaces the engine of the process: RecordingEngine.cpp defines KVAnalyticsReporting::GetAnalyticsEngine in place of
/// the library's. Records each call, with texts separated by "|".
class RecordingEngine : public KVAnalyticsReporting::IAnalyticsEngine
{
public:
    bool Initialize(bool optedIn, const std::wstring& propertyId, const std::wstring& applicationName,
                    bool useSsl) override;
    bool Start() override;
    bool Stop() override;
    bool Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs) override;
    void TrackScreenView(const std::wstring& screenName) override;
    void TrackClientHardware() override;
    void TrackDiscoveredPrinters(const std::list<const KVDeviceManager::IDevice*>& devices) override;
    void TrackWirelessSetup(int kind, int resultCode, const std::wstring& modelName) override;
    void TrackSelectedPrinter(const std::wstring& modelName, int connectionKind, int networkKind,
                              int installedResult) override;
    void TrackSelectedPrinter(const KVDeviceManager::IDevice& device, int installedResult) override;
    void TrackWebServices(bool selected, bool enabled, const KVDeviceManager::IDevice& device) override;
    void TrackDeviceSharing(bool selected) override;
    void TrackInstalledPrinters() override;
    void TrackSwiftpost(bool selected, bool installed, const std::wstring& modelName) override;
    void TrackInstallResult(int resultCode, const std::wstring& modelName) override;
    void TrackLumoLink(const std::wstring& linkId, const std::wstring& modelName, int connectionKind,
                       int networkKind) override;
    /// Records the length of the list that it gets.
    bool HasPendingRequests(std::list<std::wstring>& requests) override;

    std::vector<std::wstring> calls;
    /// Gives the result of a call, by its text. Called before the call ends.
    std::function<bool(const std::wstring& call)> answer = [](const std::wstring&) { return true; };
    /// The number of pending requests at each poll; 0 after the end of the list.
    std::list<int> pending;

private:
    bool Record(const std::wstring& call);
};

RecordingEngine& GetRecordingEngine();
} // namespace KVTest
