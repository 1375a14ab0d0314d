// Reports one of everything that the analytics engine has an operation for.
//
// track_everything yes|no
//   what the user has answered when asked for consent. A program asks once and keeps the answer; nothing is reported
//   without it.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <list>
#include <string>
#include <utility>

#include "analytics_reporting/AnalyticsEngine.h"
#include "device_manager/Device.h"
#include "device_manager/DeviceKinds.h"

namespace
{
constexpr std::uint32_t kFlushBudgetMs = 12000;

// A program that finds devices tells the engine of them through classes of its own.
class CUsbPrinter : public KVDeviceManager::IDevice
{
public:
    explicit CUsbPrinter(std::wstring modelName) : m_modelName(std::move(modelName)) {}

    std::wstring GetModelName() const override { return m_modelName; }
    int GetConnectionKind() const override { return KVDeviceManager::kConnectionUsb; }

private:
    std::wstring m_modelName;
};

// For a device on the network the engine also asks whether it is wired, if the class has the answer.
class CWirelessPrinter : public KVDeviceManager::INetworkDevice
{
public:
    explicit CWirelessPrinter(std::wstring modelName) : m_modelName(std::move(modelName)) {}

    std::wstring GetModelName() const override { return m_modelName; }
    int GetConnectionKind() const override { return KVDeviceManager::kConnectionNetwork; }
    int GetNetworkKind() const override { return KVDeviceManager::kNetworkWireless; }

private:
    std::wstring m_modelName;
};

// The operations in their order in the interface.
void TrackEverything(KVAnalyticsReporting::IAnalyticsEngine& engine)
{
    const CUsbPrinter onTheDesk(L"Norvik 3000");
    const CWirelessPrinter inTheCorridor(L"Norvik 7000 W");

    engine.TrackScreenView(L"Welcome"); // events belong to the screen that was viewed last
    engine.TrackClientHardware();       // looks for a battery: may take seconds
    engine.TrackDiscoveredPrinters({&onTheDesk, &inTheCorridor});
    engine.TrackWirelessSetup(KVDeviceManager::kSetupWirelessDirect, KVDeviceManager::kResultYes, L"Norvik 7000 W");
    engine.TrackSelectedPrinter(L"Norvik 5000", KVDeviceManager::kConnectionNetwork, KVDeviceManager::kNetworkWireless,
                                KVDeviceManager::kResultYes);
    engine.TrackSelectedPrinter(onTheDesk, KVDeviceManager::kResultCancelled);
    engine.TrackWebServices(true, false, inTheCorridor);
    engine.TrackDeviceSharing(true);
    engine.TrackInstalledPrinters(); // asks the spooler
    engine.TrackSwiftpost(false, true, L"Norvik 3000");
    engine.TrackInstallResult(KVDeviceManager::kResultYes, L"Norvik 5000");
    engine.TrackLumoLink(L"support", L"Norvik 3000", KVDeviceManager::kConnectionUsb, KVDeviceManager::kNetworkUnknown);
}
} // namespace

int main(int argc, char** argv)
{
    const bool optedIn = argc == 2 && std::strcmp(argv[1], "yes") == 0;
    KVAnalyticsReporting::IAnalyticsEngine& engine = KVAnalyticsReporting::GetAnalyticsEngine();

    // Reporting is never a reason to trouble the user. A program goes on with its work whatever comes of it.
    if (!engine.Initialize(optedIn, L"NV-2000-1", L"TrackEverything", true) || !engine.Start())
    {
        std::puts("Nothing is reported.");
        return 0;
    }
    TrackEverything(engine);
    engine.Stop();

    // The hits leave on a thread of their own, one after the other.
    std::list<std::wstring> pending;
    if (engine.HasPendingRequests(pending))
    {
        std::printf("%u hits are still to be sent.\n", static_cast<unsigned>(pending.size()));
    }
    // Waits for them, for so long at most. What is left then is sent by the next run.
    engine.Uninitialize(true, kFlushBudgetMs);
    return 0;
}
