#include "winapi/WinSockApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CWinSockApi s_winSockApi;
} // namespace

constinit IWinSockApi* g_winSockApi = &s_winSockApi;

int CWinSockApi::WSAStartup(WORD wVersionRequested, LPWSADATA lpWSAData)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAStartup).OrErrorCode()(wVersionRequested, lpWSAData);
}

INT CWinSockApi::WSAStringToAddressW(LPWSTR AddressString, INT AddressFamily, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                                     LPSOCKADDR lpAddress, LPINT lpAddressLength)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAStringToAddressW)
        .Or(SOCKET_ERROR)(AddressString, AddressFamily, lpProtocolInfo, lpAddress, lpAddressLength);
}

int CWinSockApi::WSACleanup()
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSACleanup).Or(SOCKET_ERROR)();
}

SOCKET CWinSockApi::WSASocketW(int af, int type, int protocol, LPWSAPROTOCOL_INFOW lpProtocolInfo, GROUP g,
                               DWORD dwFlags)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSASocketW).Or(INVALID_SOCKET)(af, type, protocol, lpProtocolInfo, g, dwFlags);
}

int CWinSockApi::setsockopt(SOCKET s, int level, int optname, const char* optval, int optlen)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, setsockopt).Or(SOCKET_ERROR)(s, level, optname, optval, optlen);
}

HANDLE CWinSockApi::WSACreateEvent()
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSACreateEvent).Or(WSA_INVALID_EVENT)();
}

int CWinSockApi::WSAEventSelect(SOCKET s, HANDLE hEventObject, long lNetworkEvents)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAEventSelect).Or(SOCKET_ERROR)(s, hEventObject, lNetworkEvents);
}

int CWinSockApi::WSAConnect(SOCKET s, const sockaddr* name, int namelen, LPWSABUF lpCallerData, LPWSABUF lpCalleeData,
                            LPQOS lpSQOS, LPQOS lpGQOS)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAConnect)
        .Or(SOCKET_ERROR)(s, name, namelen, lpCallerData, lpCalleeData, lpSQOS, lpGQOS);
}

int CWinSockApi::WSAEnumNetworkEvents(SOCKET s, HANDLE hEventObject, LPWSANETWORKEVENTS lpNetworkEvents)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAEnumNetworkEvents).Or(SOCKET_ERROR)(s, hEventObject, lpNetworkEvents);
}

BOOL CWinSockApi::WSAResetEvent(HANDLE hEvent)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAResetEvent).Or(FALSE)(hEvent);
}

int CWinSockApi::shutdown(SOCKET s, int how)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, shutdown).Or(SOCKET_ERROR)(s, how);
}

int CWinSockApi::closesocket(SOCKET s)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, closesocket).Or(SOCKET_ERROR)(s);
}

BOOL CWinSockApi::WSACloseEvent(HANDLE hEvent)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSACloseEvent).Or(FALSE)(hEvent);
}

int CWinSockApi::WSADuplicateSocketW(SOCKET s, DWORD dwProcessId, LPWSAPROTOCOL_INFOW lpProtocolInfo)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSADuplicateSocketW).Or(SOCKET_ERROR)(s, dwProcessId, lpProtocolInfo);
}

int CWinSockApi::bind(SOCKET s, const sockaddr* name, int namelen)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, bind).Or(SOCKET_ERROR)(s, name, namelen);
}

int CWinSockApi::listen(SOCKET s, int backlog)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, listen).Or(SOCKET_ERROR)(s, backlog);
}

SOCKET CWinSockApi::accept(SOCKET s, sockaddr* addr, int* addrlen)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, accept).Or(INVALID_SOCKET)(s, addr, addrlen);
}

int CWinSockApi::recv(SOCKET s, char* buf, int len, int flags)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, recv).Or(SOCKET_ERROR)(s, buf, len, flags);
}

int CWinSockApi::send(SOCKET s, const char* buf, int len, int flags)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, send).Or(SOCKET_ERROR)(s, buf, len, flags);
}

int CWinSockApi::getaddrinfo(const char* nodename, const char* servname, const ADDRINFOA* hints, ADDRINFOA** res)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, getaddrinfo).OrErrorCode()(nodename, servname, hints, res);
}

void CWinSockApi::freeaddrinfo(LPADDRINFO pAddrInfo)
{
    KV_SYSTEM_FUNCTION(g_ws2Dll, freeaddrinfo).OrNothing()(pAddrInfo);
}

INT CWinSockApi::WSAAddressToStringW(LPSOCKADDR lpsaAddress, DWORD dwAddressLength, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                                     LPWSTR lpszAddressString, LPDWORD lpdwAddressStringLength)
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAAddressToStringW)
        .Or(SOCKET_ERROR)(lpsaAddress, dwAddressLength, lpProtocolInfo, lpszAddressString, lpdwAddressStringLength);
}

int CWinSockApi::WSAGetLastError()
{
    return KV_SYSTEM_FUNCTION(g_ws2Dll, WSAGetLastError).OrErrorCode()();
}
} // namespace KVWinApi
