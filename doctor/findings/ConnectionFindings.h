#pragma once

#include <cstdint>
#include <string>

namespace KVAnalyticsDoctor
{
/// The way to the collection host, as the system's settings have it.
struct ConnectionFindings
{
    std::wstring host; ///< the collection host
    std::uint16_t port = 0;
    bool isConnected = false;        ///< what the system says; a run sends nothing without it
    bool isProxyForComputer = false; ///< a policy makes the settings of the computer count
    std::wstring autoConfigUrl;      ///< of a script that chooses the proxy; empty for none
    std::wstring proxy;              ///< as the user's settings name it; empty for none
    std::wstring proxyBypass;        ///< hosts that are reached without it
};

/// Asks the system and reads the registry; connects to nothing (`InternetGetConnectedState`, `RegQueryValueExW`).
/// useSsl decides the port. Whether the network is asked for a proxy is not found out.
ConnectionFindings FindConnection(bool useSsl);
} // namespace KVAnalyticsDoctor
