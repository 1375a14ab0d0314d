#pragma once

// Before <windows.h>, which includes an older, conflicting socket header.
#include <winsock2.h>

#include <ws2tcpip.h>

namespace KVWinApi
{
/// Sockets (ws2_32). WSAGetLastError, which is the thread's last error, reports why a call failed.
///
/// Unless WIN32_LEAN_AND_MEAN is defined, include this before <windows.h>, whose older socket header conflicts.
///
/// Declaration order is slot order and part of the interface.
class IWinSockApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual int WSAStartup(WORD wVersionRequested, LPWSADATA lpWSAData) = 0;
    virtual INT WSAStringToAddressW(LPWSTR AddressString, INT AddressFamily, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                                    LPSOCKADDR lpAddress, LPINT lpAddressLength) = 0;
    virtual int WSACleanup() = 0;
    virtual SOCKET WSASocketW(int af, int type, int protocol, LPWSAPROTOCOL_INFOW lpProtocolInfo, GROUP g,
                              DWORD dwFlags) = 0;
    virtual int setsockopt(SOCKET s, int level, int optname, const char* optval, int optlen) = 0;
    virtual HANDLE WSACreateEvent() = 0;
    virtual int WSAEventSelect(SOCKET s, HANDLE hEventObject, long lNetworkEvents) = 0;
    virtual int WSAConnect(SOCKET s, const sockaddr* name, int namelen, LPWSABUF lpCallerData, LPWSABUF lpCalleeData,
                           LPQOS lpSQOS, LPQOS lpGQOS) = 0;
    virtual int WSAEnumNetworkEvents(SOCKET s, HANDLE hEventObject, LPWSANETWORKEVENTS lpNetworkEvents) = 0;
    virtual BOOL WSAResetEvent(HANDLE hEvent) = 0;
    virtual int shutdown(SOCKET s, int how) = 0;
    virtual int closesocket(SOCKET s) = 0;
    virtual BOOL WSACloseEvent(HANDLE hEvent) = 0;
    virtual int WSADuplicateSocketW(SOCKET s, DWORD dwProcessId, LPWSAPROTOCOL_INFOW lpProtocolInfo) = 0;
    virtual int bind(SOCKET s, const sockaddr* name, int namelen) = 0;
    virtual int listen(SOCKET s, int backlog) = 0;
    virtual SOCKET accept(SOCKET s, sockaddr* addr, int* addrlen) = 0;
    virtual int recv(SOCKET s, char* buf, int len, int flags) = 0;
    virtual int send(SOCKET s, const char* buf, int len, int flags) = 0;
    virtual int getaddrinfo(const char* nodename, const char* servname, const ADDRINFOA* hints, ADDRINFOA** res) = 0;
    virtual void freeaddrinfo(LPADDRINFO pAddrInfo) = 0;
    virtual INT WSAAddressToStringW(LPSOCKADDR lpsaAddress, DWORD dwAddressLength, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                                    LPWSTR lpszAddressString, LPDWORD lpdwAddressStringLength) = 0;
    virtual int WSAGetLastError() = 0;
    ///@}

    virtual ~IWinSockApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CWinSockApi : public IWinSockApi
{
public:
    int WSAStartup(WORD wVersionRequested, LPWSADATA lpWSAData) override;
    INT WSAStringToAddressW(LPWSTR AddressString, INT AddressFamily, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                            LPSOCKADDR lpAddress, LPINT lpAddressLength) override;
    int WSACleanup() override;
    SOCKET WSASocketW(int af, int type, int protocol, LPWSAPROTOCOL_INFOW lpProtocolInfo, GROUP g,
                      DWORD dwFlags) override;
    int setsockopt(SOCKET s, int level, int optname, const char* optval, int optlen) override;
    HANDLE WSACreateEvent() override;
    int WSAEventSelect(SOCKET s, HANDLE hEventObject, long lNetworkEvents) override;
    int WSAConnect(SOCKET s, const sockaddr* name, int namelen, LPWSABUF lpCallerData, LPWSABUF lpCalleeData,
                   LPQOS lpSQOS, LPQOS lpGQOS) override;
    int WSAEnumNetworkEvents(SOCKET s, HANDLE hEventObject, LPWSANETWORKEVENTS lpNetworkEvents) override;
    BOOL WSAResetEvent(HANDLE hEvent) override;
    int shutdown(SOCKET s, int how) override;
    int closesocket(SOCKET s) override;
    BOOL WSACloseEvent(HANDLE hEvent) override;
    int WSADuplicateSocketW(SOCKET s, DWORD dwProcessId, LPWSAPROTOCOL_INFOW lpProtocolInfo) override;
    int bind(SOCKET s, const sockaddr* name, int namelen) override;
    int listen(SOCKET s, int backlog) override;
    SOCKET accept(SOCKET s, sockaddr* addr, int* addrlen) override;
    int recv(SOCKET s, char* buf, int len, int flags) override;
    int send(SOCKET s, const char* buf, int len, int flags) override;
    int getaddrinfo(const char* nodename, const char* servname, const ADDRINFOA* hints, ADDRINFOA** res) override;
    void freeaddrinfo(LPADDRINFO pAddrInfo) override;
    INT WSAAddressToStringW(LPSOCKADDR lpsaAddress, DWORD dwAddressLength, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                            LPWSTR lpszAddressString, LPDWORD lpdwAddressStringLength) override;
    int WSAGetLastError() override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IWinSockApi* g_winSockApi;
} // namespace KVWinApi
