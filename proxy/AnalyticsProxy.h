#pragma once

#include <windows.h>

#include <string>

namespace KVLogging
{
class CLogFunction;
}

namespace KVAnalyticsProxy
{
/// One run of the program: one link click or one screen view, reported for a user who opted in, when the device centre
/// asks for it. Has no state; used once, on the main thread. Nothing is thrown for an expected failure.
class CAnalyticsProxy
{
public:
    /// The whole run. The result is one of proxy/ProxyResults.h and becomes the exit code.
    ///
    /// Reads the command line (switches "linkid", "tabid", "connection", "network"), config.ini, the file system and
    /// the list of processes, in that order of need: for a user who did not opt in it looks at two files and does
    /// nothing else. After the tracking call it asks once a second whether the hits have left the machine, and no more
    /// when 12 seconds are over; a question waits while the client's worker holds the queue, during an exchange above
    /// all. What is still queued then leaves with a later run. The engine stays initialised: the process ends.
    HRESULT Run();

    /// Whether the user takes part in the participation programme: its program stands beside this one and the mark of
    /// opting out does not stand in the product's data folder. Both files are another product's and only looked for.
    /// Throws std::bad_alloc when there was no memory to look, in this process or in the system: that is no consent.
    bool IsOptInForAnalytics();

    /// Whether the process that started this one is the device centre's host (tool help, `EnumProcessModules`,
    /// `GetModuleFileNameExW`). False also when the system does not tell.
    bool IsCalledByLumo();

    /// Turns the texts of the command line into a KVDeviceManager::ConnectionKind and a NetworkKind. The texts are
    /// compared case-sensitively: "NW" with "Network_Ethernet" or "Network_Wireless", "USB", "BT", "*".
    void TranslateConnectivityType(std::wstring connection, std::wstring network, int& connectionKind,
                                   int& networkKind);

private:
    // Makes the one tracking call that the command line asks for. kvTraceScope: Run's, which KV_LOGF writes to.
    void ReportHit(KVLogging::CLogFunction& kvTraceScope);
    std::wstring GetMshtaPath();
};

/// What the receiver of the hits is called, without its last character, which Run appends. Empty at first, and read
/// from config.ini then; whoever sets it before Run spares Run the reading.
extern std::wstring g_propertyIdPrefix;

/// Whether hits travel encrypted. Set by Run from config.ini.
extern bool g_useSsl;
} // namespace KVAnalyticsProxy
