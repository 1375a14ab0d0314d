#include "doctor/findings/ConnectionFindings.h"

#include <windows.h>

#include <wininet.h>

#include "ga_client/http/CollectionHost.h"
#include "logging/settings/RegistryKey.h"
#include "winapi/WinApi.h"

namespace KVAnalyticsDoctor
{
namespace
{
constexpr wchar_t kSettingsKey[] = L"Software\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";
constexpr wchar_t kPolicyKey[] = L"Software\\Policies\\Microsoft\\Windows\\CurrentVersion\\Internet Settings";

using KVLogging::CRegistryKey;

bool AreSettingsForComputer()
{
    const CRegistryKey policy = CRegistryKey::Open(kPolicyKey, HKEY_LOCAL_MACHINE);
    return policy.IsOpen() && policy.ReadDword(L"ProxySettingsPerUser") == 0U;
}

std::wstring ReadText(const CRegistryKey& key, const wchar_t* name)
{
    return key.ReadString(name).value_or(std::wstring());
}

// From the registry: WinINet, when it is asked, may write there.
void FindProxy(ConnectionFindings& findings)
{
    findings.isProxyForComputer = AreSettingsForComputer();
    const CRegistryKey settings =
        CRegistryKey::Open(kSettingsKey, findings.isProxyForComputer ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER);
    if (!settings.IsOpen())
    {
        return;
    }
    findings.autoConfigUrl = ReadText(settings, L"AutoConfigURL");
    if (settings.ReadDword(L"ProxyEnable").value_or(0) != 0)
    {
        findings.proxy = ReadText(settings, L"ProxyServer");
        findings.proxyBypass = ReadText(settings, L"ProxyOverride");
    }
}
} // namespace

ConnectionFindings FindConnection(bool useSsl)
{
    ConnectionFindings findings;
    findings.host = Http::kCollectionHost;
    findings.port = useSsl ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
    DWORD kind = 0;
    findings.isConnected = KVWinApi::g_winApi->InternetGetConnectedState(&kind, 0) != FALSE;
    FindProxy(findings);
    return findings;
}
} // namespace KVAnalyticsDoctor
