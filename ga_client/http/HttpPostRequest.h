#pragma once

#include <windows.h>

#include <string>

#include "ga_client/http/CollectionHost.h"
#include "winapi/handles/InternetHandles.h"

namespace Http
{
/// The flags of a request to the collection host (`HttpOpenRequestW`). Deliberate: of certificate errors, a wrong date
/// or name is tolerated.
DWORD GetRequestFlags(bool useSsl) noexcept;

/// The HTTP status of the answer to a request (`HttpQueryInfoW`); 0, which no server sends, if it cannot be read.
DWORD QueryStatus(HINTERNET request);

/// Delivers one request string to the collection host.
class IHttpPostRequest
{
public:
    virtual ~IHttpPostRequest() = default;

    /// True if the server answered 200, 201 or 202. Any other outcome is false, without a reason, and may be retried.
    virtual bool Send(const std::wstring& request, bool useSsl) = 0;
};

/// WinINet transport: a POST whose path and query are the request string, with an empty body. Session and connection
/// are opened at the first send, kept while sends succeed, and closed after any failure, so that the next send opens
/// afresh.
///
/// A member of the outbox, which calls it on one thread at a time, under its lock. It has no time-out of its own: with
/// a timeout of 0, the system's time-outs bound an exchange.
class CHttpPostRequest : public IHttpPostRequest
{
public:
    /// The request begins with "/collect?"; an empty one sends the previous one again. Deliberate: of certificate
    /// errors, a wrong date or name is tolerated, so that computers with a wrong clock report as well.
    bool Send(const std::wstring& request, bool useSsl) override;

    /// Milliseconds for each of connecting, sending and receiving; 0 means the system's defaults. Read when a
    /// connection opens, so a change takes effect with the next one.
    void SetTimeout(DWORD timeoutMs) noexcept { m_timeoutMs = timeoutMs; }

private:
    bool Exchange();
    bool Open();
    void ApplyTimeout() noexcept;
    bool Post() const;
    void Close() noexcept;

    std::wstring m_header;
    std::wstring m_path; // outlives Send: an empty request sends it again
    std::wstring m_host = kCollectionHost;
    DWORD m_timeoutMs = 0;
    bool m_useSsl = false;
    KVWinApi::CUniqueInternet m_session;
    KVWinApi::CUniqueInternet m_connection; // declared after the session and therefore closed first
};
} // namespace Http
