#pragma once

#include <windows.h>

#include <wininet.h>

namespace KVTest
{
/// Redirects connections to the collection host to a server on this computer; otherwise the system's own WinINet.
/// Ignores a proxy of the environment. Base is the facade class to derive from.
template <typename Base> class RedirectedInternet : public Base
{
public:
    explicit RedirectedInternet(INTERNET_PORT port) : m_port(port)
    {
        ::SetEnvironmentVariableW(L"http_proxy", nullptr);
        ::SetEnvironmentVariableW(L"https_proxy", nullptr);
    }

    HINTERNET InternetConnectW(HINTERNET session, LPCWSTR, INTERNET_PORT, LPCWSTR user, LPCWSTR password, DWORD service,
                               DWORD flags, DWORD_PTR context) override
    {
        return Base::InternetConnectW(session, L"127.0.0.1", m_port, user, password, service, flags, context);
    }

private:
    INTERNET_PORT m_port;
};
} // namespace KVTest
