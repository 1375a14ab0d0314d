#pragma once

#include <windows.h>

#include <string>

namespace KVLogging
{
class CLogFunction;
}

namespace KVAnalyticsProxy
{
/// One run of the program: reports one link click or one screen view if the user opted in and the device centre started
/// the program. Has no state; used once, on the main thread. Expected failures do not throw.
class CAnalyticsProxy
{
public:
    /// The whole run. The result is one of proxy/ProxyResults.h and becomes the exit code.
    ///
    /// Without the user's consent it looks for two files and does nothing else. Otherwise it reads the list of
    /// processes, config.ini and the command line (switches "linkid", "tabid", "connection", "network"). After the
    /// tracking call it polls once a second, for at most 12 seconds, until the hits have been sent; a poll waits while
    /// the client's worker holds the queue, mainly during an exchange. A later run sends the remaining hits. The engine
    /// stays initialised, since the process ends.
    HRESULT Run();

    /// Whether the user takes part in the participation programme: its program exists beside this one, and the opt-out
    /// mark does not exist in the product's data folder. Both files belong to a different product. If memory is short,
    /// in this process or in the system, it throws std::bad_alloc: an unfinished check is no consent.
    bool IsOptInForAnalytics();

    /// Whether the process that started this one is the device centre's host (tool help, `EnumProcessModules`,
    /// `GetModuleFileNameExW`). False if that cannot be determined.
    bool IsCalledByLumo();

    /// Turns the texts of the command line into a KVDeviceManager::ConnectionKind and a NetworkKind. The texts are
    /// compared case-sensitively: "NW" with "Network_Ethernet" or "Network_Wireless", "USB", "BT", "*".
    void TranslateConnectivityType(std::wstring connection, std::wstring network, int& connectionKind,
                                   int& networkKind);

private:
    // Makes the one tracking call that the command line asks for. kvTraceScope: Run's, to which KV_LOGF writes.
    void ReportHit(KVLogging::CLogFunction& kvTraceScope);
};

/// The property ID of the hits without its last character, which Run appends. Initially empty; Run reads it from
/// config.ini unless a program that embeds the run has already set it.
extern std::wstring g_propertyIdPrefix;

/// Whether hits are encrypted. Run sets it from config.ini, for itself and for a program that embeds the run.
extern bool g_useSsl;
} // namespace KVAnalyticsProxy
