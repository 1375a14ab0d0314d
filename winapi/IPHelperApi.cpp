#include "winapi/IPHelperApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CIPHelperApi s_ipHelperApi;
} // namespace

constinit IIPHelperApi* g_ipHelperApi = &s_ipHelperApi;

ULONG CIPHelperApi::GetAdaptersInfo(PIP_ADAPTER_INFO AdapterInfo, PULONG SizePointer)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetAdaptersInfo), AdapterInfo, SizePointer);
}

ULONG CIPHelperApi::GetAdaptersAddresses(ULONG Family, ULONG Flags, PVOID Reserved,
                                         PIP_ADAPTER_ADDRESSES AdapterAddresses, PULONG SizePointer)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetAdaptersAddresses), Family, Flags, Reserved,
                           AdapterAddresses, SizePointer);
}

DWORD CIPHelperApi::GetIfEntry(PMIB_IFROW pIfRow)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetIfEntry), pIfRow);
}

DWORD CIPHelperApi::GetInterfaceInfo(PIP_INTERFACE_INFO pIfTable, PULONG dwOutBufLen)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetInterfaceInfo), pIfTable, dwOutBufLen);
}

DWORD CIPHelperApi::IpReleaseAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IpReleaseAddress), AdapterInfo);
}

DWORD CIPHelperApi::IpRenewAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IpRenewAddress), AdapterInfo);
}

DWORD CIPHelperApi::AddIPAddress(IPAddr Address, IPMask IpMask, DWORD IfIndex, PULONG NTEContext, PULONG NTEInstance)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, AddIPAddress), Address, IpMask, IfIndex, NTEContext,
                           NTEInstance);
}

DWORD CIPHelperApi::DeleteIPAddress(ULONG NTEContext)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, DeleteIPAddress), NTEContext);
}

HANDLE CIPHelperApi::IcmpCreateFile()
{
    return CallOr(INVALID_HANDLE_VALUE, KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IcmpCreateFile));
}

DWORD CIPHelperApi::IcmpSendEcho(HANDLE IcmpHandle, IPAddr DestinationAddress, LPVOID RequestData, WORD RequestSize,
                                 PIP_OPTION_INFORMATION RequestOptions, LPVOID ReplyBuffer, DWORD ReplySize,
                                 DWORD Timeout)
{
    return Call(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IcmpSendEcho), IcmpHandle, DestinationAddress, RequestData,
                RequestSize, RequestOptions, ReplyBuffer, ReplySize, Timeout);
}

BOOL CIPHelperApi::IcmpCloseHandle(HANDLE IcmpHandle)
{
    return Call(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IcmpCloseHandle), IcmpHandle);
}

DWORD CIPHelperApi::NotifyAddrChange(PHANDLE Handle, LPOVERLAPPED overlapped)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_ipHlpApiDll, NotifyAddrChange), Handle, overlapped);
}
} // namespace KVWinApi
