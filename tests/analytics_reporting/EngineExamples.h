#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "analytics_reporting/AnalyticsEngine.h"
#include "device_manager/Device.h"
#include "tests/analytics_reporting/FakeSystem.h"

namespace KVTest
{
/// An operation of the engine that reports, with a call of it. docs/events.md shows each.
struct EngineExample
{
    const char* name; // of its test
    std::wstring operation;
    std::wstring call;
    std::function<void(KVAnalyticsReporting::IAnalyticsEngine&)> run;
};

inline void PrintTo(const EngineExample& example, std::ostream* stream)
{
    *stream << example.name;
}

class ExampleUsbPrinter : public KVDeviceManager::IDevice
{
public:
    std::wstring GetModelName() const override { return L"Norvik 3000"; }
    int GetConnectionKind() const override { return 1; }
};

class ExampleWirelessPrinter : public KVDeviceManager::INetworkDevice
{
public:
    std::wstring GetModelName() const override { return L"Norvik 7000 W"; }
    int GetConnectionKind() const override { return 2; }
    int GetNetworkKind() const override { return 2; }
};

/// All of them, in the order of the interface; Stop comes last.
inline std::vector<EngineExample> EngineExamples()
{
    using Engine = KVAnalyticsReporting::IAnalyticsEngine;
    static const ExampleUsbPrinter usbPrinter;
    static const ExampleWirelessPrinter wirelessPrinter;
    return {
        {"Start", L"Start()", L"Start()", [](Engine& engine) { engine.Start(); }},
        {"ScreenView", L"TrackScreenView(screenName)", L"TrackScreenView(L\"Home\")",
         [](Engine& engine) { engine.TrackScreenView(L"Home"); }},
        {"ClientHardware", L"TrackClientHardware()", L"TrackClientHardware()",
         [](Engine& engine) { engine.TrackClientHardware(); }},
        {"DiscoveredPrinters", L"TrackDiscoveredPrinters(devices)",
         L"TrackDiscoveredPrinters({&usbPrinter, &wirelessPrinter})",
         [](Engine& engine) {
             engine.TrackDiscoveredPrinters({&usbPrinter, &wirelessPrinter});
         }},
        {"WirelessSetup", L"TrackWirelessSetup(kind, resultCode, modelName)",
         L"TrackWirelessSetup(9, 1, L\"Norvik 7000 W\")",
         [](Engine& engine) { engine.TrackWirelessSetup(9, 1, L"Norvik 7000 W"); }},
        {"SelectedPrinter_Explicit", L"TrackSelectedPrinter(modelName, connectionKind, networkKind, installedResult)",
         L"TrackSelectedPrinter(L\"Norvik 5000\", 2, 1, 3)",
         [](Engine& engine) { engine.TrackSelectedPrinter(L"Norvik 5000", 2, 1, 3); }},
        {"SelectedPrinter_Device", L"TrackSelectedPrinter(device, installedResult)",
         L"TrackSelectedPrinter(usbPrinter, 2)", [](Engine& engine) { engine.TrackSelectedPrinter(usbPrinter, 2); }},
        {"WebServices", L"TrackWebServices(selected, enabled, device)",
         L"TrackWebServices(true, false, wirelessPrinter)",
         [](Engine& engine) { engine.TrackWebServices(true, false, wirelessPrinter); }},
        {"DeviceSharing", L"TrackDeviceSharing(selected)", L"TrackDeviceSharing(true)",
         [](Engine& engine) { engine.TrackDeviceSharing(true); }},
        {"InstalledPrinters", L"TrackInstalledPrinters()", L"TrackInstalledPrinters()",
         [](Engine& engine) { engine.TrackInstalledPrinters(); }},
        {"Swiftpost", L"TrackSwiftpost(selected, installed, modelName)",
         L"TrackSwiftpost(false, true, L\"Norvik 3000\")",
         [](Engine& engine) { engine.TrackSwiftpost(false, true, L"Norvik 3000"); }},
        {"InstallResult", L"TrackInstallResult(resultCode, modelName)", L"TrackInstallResult(1, L\"Norvik 5000\")",
         [](Engine& engine) { engine.TrackInstallResult(1, L"Norvik 5000"); }},
        {"LumoLink", L"TrackLumoLink(linkId, modelName, connectionKind, networkKind)",
         L"TrackLumoLink(L\"support\", L\"Norvik 3000\", 1, 0)",
         [](Engine& engine) { engine.TrackLumoLink(L"support", L"Norvik 3000", 1, 0); }},
        {"Stop", L"Stop()", L"Stop()", [](Engine& engine) { engine.Stop(); }},
    };
}

/// The printers of docs/events.md: every fact about the first is known; the driver of the second is not registered.
inline void InstallExamplePrinters(FakeSpooler& spooler, FakeRegistry& registry)
{
    spooler.printers = {{L"Attic",
                         {{L"DeviceInstanceId", String(L"USBPRINT\\NORVIK\\1")}, {L"Manufacturer", String(L"Norvik")}},
                         L"Norvik 3000 PCL Class"},
                        {L"Hall", {{L"DeviceInstanceId", String(L"SWD\\PRINTENUM\\2")}}, L"Norvik 7000 Class Driver"}};
    registry.keys[L"System\\ControlSet001\\Control\\Print\\Environments\\Windows x64\\Drivers\\Version-3\\"
                  L"Norvik 3000 PCL Class"] = {{L"Version", Number(3)}, {L"DriverVersion", String(L"6.1.7600.16385")}};
}
} // namespace KVTest
