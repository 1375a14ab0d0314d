#include "ga_client/http/HttpPostRequest.h"

#include "ga_client/SystemProbes.h"
#include "winapi/WinApi.h"

namespace Http
{
namespace
{
// Deliberate: certificates with a wrong date or host are accepted. Computers with a wrong clock report usage as well.
constexpr DWORD kSecureFlags =
    INTERNET_FLAG_SECURE | INTERNET_FLAG_IGNORE_CERT_DATE_INVALID | INTERNET_FLAG_IGNORE_CERT_CN_INVALID;
constexpr DWORD kPlainFlags = INTERNET_FLAG_RELOAD;

bool IsAccepted(DWORD status)
{
    return status == HTTP_STATUS_OK || status == HTTP_STATUS_CREATED || status == HTTP_STATUS_ACCEPTED;
}
} // namespace

DWORD GetRequestFlags(bool useSsl) noexcept
{
    return useSsl ? kSecureFlags : kPlainFlags;
}

DWORD QueryStatus(HINTERNET request)
{
    DWORD status = 0;
    DWORD size = sizeof(status);
    const BOOL queried = KVWinApi::g_winApi->HttpQueryInfoW(request, HTTP_QUERY_STATUS_CODE | HTTP_QUERY_FLAG_NUMBER,
                                                            &status, &size, nullptr);
    return queried != FALSE ? status : 0;
}

bool CHttpPostRequest::Send(const std::wstring& request, bool useSsl)
{
    m_useSsl = useSsl;
    m_header = L"User-Agent: " + GAClient::GetUserAgent();
    if (!request.empty())
    {
        m_path = request;
    }
    return Exchange();
}

bool CHttpPostRequest::Exchange()
{
    DWORD connectionKind = 0;
    const bool connected = KVWinApi::g_winApi->InternetGetConnectedState(&connectionKind, 0) != FALSE;
    if (connected && Open() && Post())
    {
        return true;
    }
    Close();
    return false;
}

bool CHttpPostRequest::Open()
{
    if (m_connection.IsValid())
    {
        // Deliberate: after a change of the SSL flag the open connection keeps its port until a failure closes it. A
        // tracker never changes its flag, so nothing would gain from opening again.
        return true;
    }
    m_session.Reset(KVWinApi::g_winApi->InternetOpenW(L"Statlet", INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0));
    if (!m_session.IsValid())
    {
        return false;
    }
    ApplyTimeout();
    const INTERNET_PORT port = m_useSsl ? INTERNET_DEFAULT_HTTPS_PORT : INTERNET_DEFAULT_HTTP_PORT;
    m_connection.Reset(KVWinApi::g_winApi->InternetConnectW(m_session.Get(), m_host.c_str(), port, nullptr, nullptr,
                                                            INTERNET_SERVICE_HTTP, 0, 0));
    return m_connection.IsValid();
}

void CHttpPostRequest::ApplyTimeout() noexcept
{
    if (m_timeoutMs == 0)
    {
        return;
    }
    constexpr DWORD kOptions[] = {INTERNET_OPTION_CONNECT_TIMEOUT, INTERNET_OPTION_SEND_TIMEOUT,
                                  INTERNET_OPTION_RECEIVE_TIMEOUT};
    for (const DWORD option : kOptions)
    {
        // The result is ignored: without the option, the system's own time-out bounds the exchange.
        KVWinApi::g_winApi->InternetSetOptionW(m_session.Get(), option, &m_timeoutMs, sizeof(m_timeoutMs));
    }
}

bool CHttpPostRequest::Post() const
{
    const KVWinApi::CUniqueInternet request(KVWinApi::g_winApi->HttpOpenRequestW(
        m_connection.Get(), L"POST", m_path.c_str(), nullptr, nullptr, nullptr, GetRequestFlags(m_useSsl), 0));
    if (!request.IsValid())
    {
        return false;
    }
    // Deliberate: the length is 0 although the text is terminated. A system that then drops the header sends the agent
    // of the session instead; any other length would change the agent that receivers see.
    const bool sent = KVWinApi::g_winApi->HttpSendRequestW(request.Get(), m_header.c_str(), 0, nullptr, 0) != FALSE;
    // The status alone proves nothing: after a failed secure send, it can be that of the proxy's answer.
    return sent && IsAccepted(QueryStatus(request.Get()));
}

void CHttpPostRequest::Close() noexcept
{
    m_connection.Reset();
    m_session.Reset();
}
} // namespace Http
