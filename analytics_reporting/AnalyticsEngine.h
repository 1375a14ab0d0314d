#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "device_manager/Device.h"

namespace KVAnalyticsReporting
{
/// Reports what happens on this computer to the maker, for users who opted in and for nobody else.
///
/// Order of use: Initialize, Start, any number of Track operations, Stop, and Uninitialize when the process goes on
/// without the engine. A call that this order or the user's consent does not allow does nothing but log the reason.
///
/// Nothing is thrown: an operation that meets an exception or a fault logs it and answers false, and the state stays
/// as it was when that happened. Called from one thread. The hits leave on a thread of the measurement client
/// (ga_client/GAClient.h), which keeps those that cannot be sent for a later run.
///
/// Facts that are not known are reported as "Unknown", truth values as "Yes" and "No". The numbers for connections,
/// networks, results and wireless set-ups are listed in device_manager/DeviceKinds.h with the texts that hits carry for
/// them. A value that the client refuses is logged and the event goes out without it.
///
/// Declaration order is slot order and part of the interface.
class IAnalyticsEngine
{
public:
    /// optedIn: the user's consent; without it no operation reports anything, even when an earlier call had it.
    /// propertyId names the receiver of the hits, applicationName the program that reports; its version is the product
    /// version of the running program. useSsl: whether hits travel encrypted. False when the user has not opted in, the
    /// engine is initialised already, or the client refuses.
    ///
    /// A call without consent does not recall hits that are queued by then: they still leave, in this process or in a
    /// later one that the user has opted in for. To stop them too, the host first calls SetDispatchHeld(true) of
    /// GAClient::GetGAClient() and then Uninitialize(false, 0), which is refused once consent is withdrawn; the hits
    /// are then in the queue file (docs/request-queue.md), which the host deletes. An exchange under way still ends.
    virtual bool Initialize(bool optedIn, const std::wstring& propertyId, const std::wstring& applicationName,
                            bool useSsl) = 0;
    /// Begins the session: a screen view of "Start" and the event of the program's launch. False when the user has not
    /// opted in, the engine is not initialised or started already, or the client refuses.
    virtual bool Start() = 0;
    /// Ends the session with the event of the program's end; hits under way still leave. False when the user has not
    /// opted in, the engine is not started, or the client refuses, after which it can be tried again.
    virtual bool Stop() = 0;
    /// Gives the client up: with flushOnExit after sending what is queued for at most flushBudgetMs milliseconds.
    /// False when the user has not opted in, the engine is not initialised, or the client refuses.
    virtual bool Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs) = 0;
    /// The user opened a screen.
    virtual void TrackScreenView(const std::wstring& screenName) = 0;
    /// Processor architecture, battery and version of the operating system. Looks for a battery on a thread of its own,
    /// for at most 10 seconds.
    virtual void TrackClientHardware() = 0;
    /// How many devices were discovered, and each one's model and connection. The devices stay the caller's. With a
    /// null one among them nothing is reported.
    virtual void TrackDiscoveredPrinters(const std::list<const KVDeviceManager::IDevice*>& devices) = 0;
    /// A wireless set-up ended. kind: a WirelessSetupKind; resultCode: a ResultKind. Looks for a battery as
    /// TrackClientHardware does.
    virtual void TrackWirelessSetup(int kind, int resultCode, const std::wstring& modelName) = 0;
    /// The user selected a printer. connectionKind: a ConnectionKind; networkKind: a NetworkKind; installedResult: the
    /// ResultKind of its installation.
    virtual void TrackSelectedPrinter(const std::wstring& modelName, int connectionKind, int networkKind,
                                      int installedResult) = 0;
    /// The same for a device that the caller holds; it stays the caller's.
    virtual void TrackSelectedPrinter(const KVDeviceManager::IDevice& device, int installedResult) = 0;
    /// The user was asked about web services for the device.
    virtual void TrackWebServices(bool selected, bool enabled, const KVDeviceManager::IDevice& device) = 0;
    /// The user was asked about sharing devices.
    virtual void TrackDeviceSharing(bool selected) = 0;
    /// How many printers are installed on this computer, and each one's model, manufacturer, connection and driver.
    virtual void TrackInstalledPrinters() = 0;
    /// The user was asked about the feature Swiftpost.
    virtual void TrackSwiftpost(bool selected, bool installed, const std::wstring& modelName) = 0;
    /// An installation ended. resultCode: a ResultKind.
    virtual void TrackInstallResult(int resultCode, const std::wstring& modelName) = 0;
    /// The user followed a link of the device centre while looking at a printer. connectionKind: a ConnectionKind;
    /// networkKind: a NetworkKind.
    virtual void TrackLumoLink(const std::wstring& linkId, const std::wstring& modelName, int connectionKind,
                               int networkKind) = 0;
    /// Replaces requests by the hits that are still to be sent, oldest first. Works in any state. False when the
    /// client has none to tell of, because it is not initialised; the list is left alone then.
    virtual bool HasPendingRequests(std::list<std::wstring>& requests) = 0;

    virtual ~IAnalyticsEngine() = default;
};

/// The engine of this process, made at the first call and destroyed at process exit. The first call must not race with
/// calls on other threads.
IAnalyticsEngine& GetAnalyticsEngine();

/// The engine. There is one per process, the one of GetAnalyticsEngine. Holds no client: each operation asks for the
/// client of the process (GAClient::GetGAClient) when it needs it.
class CAnalyticsEngine : public IAnalyticsEngine
{
public:
    CAnalyticsEngine(const CAnalyticsEngine&) = delete;
    CAnalyticsEngine& operator=(const CAnalyticsEngine&) = delete;

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
    bool HasPendingRequests(std::list<std::wstring>& requests) override;

    /// Whether this computer has a battery: "Yes", "No", or "Unknown" when the system does not tell. Asks WMI (class
    /// Win32_Battery) for at most 10 seconds. The thread must have initialised COM. Never throws.
    std::wstring GetBatteryForAnalyticsReporting() const;

private:
    friend IAnalyticsEngine& GetAnalyticsEngine();
    CAnalyticsEngine() = default;

    bool m_optedIn = false; // of the last Initialize, whatever became of it
    bool m_started = false;
    bool m_initialized = false;
};
} // namespace KVAnalyticsReporting
