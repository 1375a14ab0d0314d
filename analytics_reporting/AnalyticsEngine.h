#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "device_manager/Device.h"

namespace KVAnalyticsReporting
{
/// Reports what happens on this computer to the maker, for users who opted in and for nobody else.
///
/// Order of use: Initialize, Start, any number of Track operations, Stop, and Uninitialize if the process goes on
/// without the engine. A call that this order or the user's consent does not allow only logs the reason.
///
/// No operation throws: an exception or a fault inside is logged, the operation returns false, and the state stays as
/// it was at that moment. All calls come from one thread. A thread of the measurement client (ga_client/GAClient.h)
/// sends the hits; the client keeps those that cannot be sent for a later run.
///
/// Facts that are not known are reported as "Unknown", truth values as "Yes" and "No". The numbers for connections,
/// networks, results and wireless set-ups are listed in device_manager/DeviceKinds.h with the texts that hits carry for
/// them. A value that the client refuses is logged, and the event is sent without it.
///
/// The order of the operations is slot order and part of the interface.
class IAnalyticsEngine
{
public:
    /// optedIn: the user's consent. Without it no operation reports anything, even if an earlier call had it.
    /// propertyId: the receiver of the hits. applicationName: the program that reports; the version reported with it is
    /// the product version of the running program. useSsl: whether hits are sent encrypted. False if the user has not
    /// opted in, the engine is already initialised, or the client refuses.
    ///
    /// A call without consent does not recall hits that are already queued: this process, or a later one with consent,
    /// still sends them. To stop them too, the host calls SetDispatchHeld(true) of GAClient::GetGAClient() and
    /// Uninitialize(false, 0) before it withdraws consent, since Uninitialize is refused afterwards. The hits are then
    /// in the queue file (docs/request-queue.md), which the host deletes. An exchange under way still completes.
    virtual bool Initialize(bool optedIn, const std::wstring& propertyId, const std::wstring& applicationName,
                            bool useSsl) = 0;
    /// Begins the session with a screen view of "Start" and the event of the program's launch. False if the user has
    /// not opted in, the engine is not initialised or already started, or the client refuses.
    virtual bool Start() = 0;
    /// Ends the session with the event of the program's end; queued hits are still sent. False if the user has not
    /// opted in, the engine is not started, or the client refuses, in which case it can be called again.
    virtual bool Stop() = 0;
    /// Uninitialises the client, which with flushOnExit first sends queued hits for at most flushBudgetMs milliseconds.
    /// False if the user has not opted in, the engine is not initialised, or the client refuses.
    virtual bool Uninitialize(bool flushOnExit, std::uint32_t flushBudgetMs) = 0;
    /// The user opened a screen.
    virtual void TrackScreenView(const std::wstring& screenName) = 0;
    /// Reports processor architecture, battery and version of the operating system. Looks for a battery on a thread of
    /// its own, for at most 10 seconds.
    virtual void TrackClientHardware() = 0;
    /// Reports how many devices were discovered, and the model and connection of each. The caller keeps the devices. If
    /// one of them is null, nothing is reported.
    virtual void TrackDiscoveredPrinters(const std::list<const KVDeviceManager::IDevice*>& devices) = 0;
    /// A wireless set-up ended. kind: a WirelessSetupKind; resultCode: a ResultKind. Looks for a battery as
    /// TrackClientHardware does.
    virtual void TrackWirelessSetup(int kind, int resultCode, const std::wstring& modelName) = 0;
#if defined(_MSC_VER)
    // Visual C++ gives overloads of one name their slots in reverse order of declaration. Declared like this, the slots
    // are the same as with other compilers.
    virtual void TrackSelectedPrinter(const KVDeviceManager::IDevice& device, int installedResult) = 0;
#endif
    /// The user selected a printer. connectionKind: a ConnectionKind; networkKind: a NetworkKind; installedResult: the
    /// ResultKind of its installation.
    virtual void TrackSelectedPrinter(const std::wstring& modelName, int connectionKind, int networkKind,
                                      int installedResult) = 0;
#if !defined(_MSC_VER)
    /// The same for a device, which the caller keeps.
    virtual void TrackSelectedPrinter(const KVDeviceManager::IDevice& device, int installedResult) = 0;
#endif
    /// The user was asked about web services for the device.
    virtual void TrackWebServices(bool selected, bool enabled, const KVDeviceManager::IDevice& device) = 0;
    /// The user was asked about sharing devices.
    virtual void TrackDeviceSharing(bool selected) = 0;
    /// Reports how many printers are installed on this computer, and model, manufacturer, connection and driver of
    /// each.
    virtual void TrackInstalledPrinters() = 0;
    /// The user was asked about the feature Swiftpost.
    virtual void TrackSwiftpost(bool selected, bool installed, const std::wstring& modelName) = 0;
    /// An installation ended. resultCode: a ResultKind.
    virtual void TrackInstallResult(int resultCode, const std::wstring& modelName) = 0;
    /// The user followed a link of the device centre while looking at a printer. connectionKind: a ConnectionKind;
    /// networkKind: a NetworkKind.
    virtual void TrackLumoLink(const std::wstring& linkId, const std::wstring& modelName, int connectionKind,
                               int networkKind) = 0;
    /// Replaces requests with the hits that are still to be sent, oldest first. Works in any state. If the client is
    /// not initialised, the result is false and the list is unchanged.
    virtual bool HasPendingRequests(std::list<std::wstring>& requests) = 0;

    virtual ~IAnalyticsEngine() = default;
};

/// The engine of this process, constructed by the first call and destroyed at process exit. The first call must not
/// race with calls on other threads.
IAnalyticsEngine& GetAnalyticsEngine();

/// The one engine of a process, which GetAnalyticsEngine returns. Holds no client: each operation calls
/// GAClient::GetGAClient when it needs it.
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

    /// Whether this computer has a battery: "Yes", "No", or "Unknown" if WMI does not report it. Waits at most 10
    /// seconds for WMI (class Win32_Battery). The calling thread has initialised COM. Never throws.
    std::wstring GetBatteryForAnalyticsReporting() const;

private:
    friend IAnalyticsEngine& GetAnalyticsEngine();
    CAnalyticsEngine() = default;

    bool m_optedIn = false; // of the last Initialize, even if it failed
    bool m_started = false;
    bool m_initialized = false;
};
} // namespace KVAnalyticsReporting
