#include "doctor/findings/ReachFindings.h"

#include <windows.h>

#include <wininet.h>

#include "ga_client/http/CollectionHost.h"
#include "ga_client/http/HttpPostRequest.h"
#include "winapi/handles/InternetHandles.h"

namespace KVAnalyticsDoctor
{
namespace
{
// Nothing may be left on the disk, and no other host may be asked.
constexpr DWORD kQuietFlags = INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_NO_COOKIES |
                              INTERNET_FLAG_NO_AUTO_REDIRECT | INTERNET_FLAG_NO_UI;

bool IsProxyAnswer(DWORD status)
{
    return status == HTTP_STATUS_PROXY_AUTH_REQ || status == HTTP_STATUS_BAD_GATEWAY ||
           status == HTTP_STATUS_GATEWAY_TIMEOUT;
}

ReachFindings FailedReach()
{
    ReachFindings findings;
    findings.error = ::GetLastError();
    return findings;
}

ReachFindings Ask(HINTERNET request)
{
    if (KVWinApi::g_winApi->HttpSendRequestW(request, L"", 0, nullptr, 0) == FALSE)
    {
        return FailedReach();
    }
    ReachFindings findings;
    findings.status = Http::QueryStatus(request);
    findings.isReached = findings.status != 0 && !IsProxyAnswer(findings.status);
    return findings;
}
} // namespace

ReachFindings TryToReach(bool useSsl)
{
    const KVWinApi::CUniqueInternet session(
        KVWinApi::g_winApi->InternetOpenW(L"Statlet", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (!session.IsValid())
    {
        return FailedReach();
    }
    const INTERNET_PORT port = useSsl ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
    const KVWinApi::CUniqueInternet connection(KVWinApi::g_winApi->InternetConnectW(
        session.Get(), Http::kCollectionHost, port, nullptr, nullptr, INTERNET_SERVICE_HTTP, 0, 0));
    if (!connection.IsValid())
    {
        return FailedReach();
    }
    const KVWinApi::CUniqueInternet request(KVWinApi::g_winApi->HttpOpenRequestW(
        connection.Get(), L"HEAD", L"/", nullptr, nullptr, nullptr, Http::GetRequestFlags(useSsl) | kQuietFlags, 0));
    return request.IsValid() ? Ask(request.Get()) : FailedReach();
}
} // namespace KVAnalyticsDoctor
