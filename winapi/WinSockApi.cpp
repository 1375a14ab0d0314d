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
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ws2Dll, WSAStartup), wVersionRequested, lpWSAData);
}

INT CWinSockApi::WSAStringToAddressW(LPWSTR AddressString, INT AddressFamily, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                                     LPSOCKADDR lpAddress, LPINT lpAddressLength)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSAStringToAddressW), AddressString, AddressFamily,
                  lpProtocolInfo, lpAddress, lpAddressLength);
}

int CWinSockApi::WSACleanup()
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSACleanup));
}

SOCKET CWinSockApi::WSASocketW(int af, int type, int protocol, LPWSAPROTOCOL_INFOW lpProtocolInfo, GROUP g,
                               DWORD dwFlags)
{
    return CallOr(INVALID_SOCKET, KV_SYSTEM_FUNCTION(g_ws2Dll, WSASocketW), af, type, protocol, lpProtocolInfo, g,
                  dwFlags);
}

int CWinSockApi::setsockopt(SOCKET s, int level, int optname, const char* optval, int optlen)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, setsockopt), s, level, optname, optval, optlen);
}

HANDLE CWinSockApi::WSACreateEvent()
{
    return Call(KV_SYSTEM_FUNCTION(g_ws2Dll, WSACreateEvent));
}

int CWinSockApi::WSAEventSelect(SOCKET s, HANDLE hEventObject, long lNetworkEvents)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSAEventSelect), s, hEventObject, lNetworkEvents);
}

int CWinSockApi::WSAConnect(SOCKET s, const sockaddr* name, int namelen, LPWSABUF lpCallerData, LPWSABUF lpCalleeData,
                            LPQOS lpSQOS, LPQOS lpGQOS)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSAConnect), s, name, namelen, lpCallerData, lpCalleeData,
                  lpSQOS, lpGQOS);
}

int CWinSockApi::WSAEnumNetworkEvents(SOCKET s, HANDLE hEventObject, LPWSANETWORKEVENTS lpNetworkEvents)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSAEnumNetworkEvents), s, hEventObject, lpNetworkEvents);
}

BOOL CWinSockApi::WSAResetEvent(HANDLE hEvent)
{
    return Call(KV_SYSTEM_FUNCTION(g_ws2Dll, WSAResetEvent), hEvent);
}

int CWinSockApi::shutdown(SOCKET s, int how)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, shutdown), s, how);
}

int CWinSockApi::closesocket(SOCKET s)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, closesocket), s);
}

BOOL CWinSockApi::WSACloseEvent(HANDLE hEvent)
{
    return Call(KV_SYSTEM_FUNCTION(g_ws2Dll, WSACloseEvent), hEvent);
}

int CWinSockApi::WSADuplicateSocketW(SOCKET s, DWORD dwProcessId, LPWSAPROTOCOL_INFOW lpProtocolInfo)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSADuplicateSocketW), s, dwProcessId, lpProtocolInfo);
}

int CWinSockApi::bind(SOCKET s, const sockaddr* name, int namelen)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, bind), s, name, namelen);
}

int CWinSockApi::listen(SOCKET s, int backlog)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, listen), s, backlog);
}

SOCKET CWinSockApi::accept(SOCKET s, sockaddr* addr, int* addrlen)
{
    return CallOr(INVALID_SOCKET, KV_SYSTEM_FUNCTION(g_ws2Dll, accept), s, addr, addrlen);
}

int CWinSockApi::recv(SOCKET s, char* buf, int len, int flags)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, recv), s, buf, len, flags);
}

int CWinSockApi::send(SOCKET s, const char* buf, int len, int flags)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, send), s, buf, len, flags);
}

int CWinSockApi::getaddrinfo(const char* nodename, const char* servname, const ADDRINFOA* hints, ADDRINFOA** res)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ws2Dll, getaddrinfo), nodename, servname, hints, res);
}

void CWinSockApi::freeaddrinfo(LPADDRINFO pAddrInfo)
{
    Call(KV_SYSTEM_FUNCTION(g_ws2Dll, freeaddrinfo), pAddrInfo);
}

INT CWinSockApi::WSAAddressToStringW(LPSOCKADDR lpsaAddress, DWORD dwAddressLength, LPWSAPROTOCOL_INFOW lpProtocolInfo,
                                     LPWSTR lpszAddressString, LPDWORD lpdwAddressStringLength)
{
    return CallOr(SOCKET_ERROR, KV_SYSTEM_FUNCTION(g_ws2Dll, WSAAddressToStringW), lpsaAddress, dwAddressLength,
                  lpProtocolInfo, lpszAddressString, lpdwAddressStringLength);
}

int CWinSockApi::WSAGetLastError()
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ws2Dll, WSAGetLastError));
}
} // namespace KVWinApi
