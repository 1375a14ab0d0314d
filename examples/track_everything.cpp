// Calls every tracking operation of the analytics engine once.
//
// track_everything yes|no
//   the user's answer to the question for consent. A program asks once and keeps the answer; without consent nothing is
//   reported.

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

// A program that finds devices passes them to the engine as classes of its own.
class CUsbPrinter : public KVDeviceManager::IDevice
{
public:
    explicit CUsbPrinter(std::wstring modelName) : m_modelName(std::move(modelName)) {}

    std::wstring GetModelName() const override { return m_modelName; }
    int GetConnectionKind() const override { return KVDeviceManager::kConnectionUsb; }

private:
    std::wstring m_modelName;
};

// The engine asks an INetworkDevice for the kind of its network, too.
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

// In the order of the interface.
void TrackEverything(KVAnalyticsReporting::IAnalyticsEngine& engine)
{
    const CUsbPrinter onTheDesk(L"Norvik 3000");
    const CWirelessPrinter inTheCorridor(L"Norvik 7000 W");

    engine.TrackScreenView(L"Welcome"); // later events belong to this screen
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

    // A failure to report never concerns the user: the program goes on with its work.
    if (!engine.Initialize(optedIn, L"NV-2000-1", L"TrackEverything", true) || !engine.Start())
    {
        std::puts("Nothing is reported.");
        return 0;
    }
    TrackEverything(engine);
    engine.Stop();

    // A thread of the client sends the hits, one after the other.
    std::list<std::wstring> pending;
    if (engine.HasPendingRequests(pending))
    {
        std::printf("%u hits are still to be sent.\n", static_cast<unsigned>(pending.size()));
    }
    // Waits at most this long for them. The next run sends what is left.
    engine.Uninitialize(true, kFlushBudgetMs);
    return 0;
}
