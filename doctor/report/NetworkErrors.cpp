#include "doctor/report/NetworkErrors.h"

#include <windows.h>

#include <wininet.h>

namespace KVAnalyticsDoctor
{
namespace
{
struct KnownError
{
    DWORD code;
    const wchar_t* meaning;
};
constexpr KnownError kErrors[] = {
    {ERROR_INTERNET_TIMEOUT, L"nothing has answered in time"},
    {ERROR_INTERNET_NAME_NOT_RESOLVED, L"the name of the host, or of the proxy, is unknown"},
    {ERROR_INTERNET_CANNOT_CONNECT, L"the host, or the proxy, refuses connections"},
    {ERROR_INTERNET_CONNECTION_ABORTED, L"the connection was closed"},
    {ERROR_INTERNET_CONNECTION_RESET, L"the connection was closed"},
    {ERROR_INTERNET_INVALID_CA, L"the certificate comes from an authority that the user does not trust"},
    {ERROR_INTERNET_SECURITY_CHANNEL_ERROR, L"the two sides have no version of TLS in common, or encryption failed"},
    {ERROR_INTERNET_DISCONNECTED, L"the computer is not connected"},
};
} // namespace

const wchar_t* GetMeaningOfReach(const ReachFindings& reach) noexcept
{
    if (reach.isReached)
    {
        return L"the collection host has answered";
    }
    if (reach.status == HTTP_STATUS_PROXY_AUTH_REQ)
    {
        return L"the proxy asks for a password, which no run gives";
    }
    if (reach.status != 0)
    {
        return L"the proxy cannot reach the host";
    }
    for (const KnownError& known : kErrors)
    {
        if (known.code == reach.error)
        {
            return known.meaning;
        }
    }
    return L"the request has failed";
}
} // namespace KVAnalyticsDoctor
