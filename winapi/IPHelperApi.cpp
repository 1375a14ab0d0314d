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
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetAdaptersInfo).OrErrorCode()(AdapterInfo, SizePointer);
}

ULONG CIPHelperApi::GetAdaptersAddresses(ULONG Family, ULONG Flags, PVOID Reserved,
                                         PIP_ADAPTER_ADDRESSES AdapterAddresses, PULONG SizePointer)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetAdaptersAddresses)
        .OrErrorCode()(Family, Flags, Reserved, AdapterAddresses, SizePointer);
}

DWORD CIPHelperApi::GetIfEntry(PMIB_IFROW pIfRow)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetIfEntry).OrErrorCode()(pIfRow);
}

DWORD CIPHelperApi::GetInterfaceInfo(PIP_INTERFACE_INFO pIfTable, PULONG dwOutBufLen)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, GetInterfaceInfo).OrErrorCode()(pIfTable, dwOutBufLen);
}

DWORD CIPHelperApi::IpReleaseAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IpReleaseAddress).OrErrorCode()(AdapterInfo);
}

DWORD CIPHelperApi::IpRenewAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IpRenewAddress).OrErrorCode()(AdapterInfo);
}

DWORD CIPHelperApi::AddIPAddress(IPAddr Address, IPMask IpMask, DWORD IfIndex, PULONG NTEContext, PULONG NTEInstance)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, AddIPAddress)
        .OrErrorCode()(Address, IpMask, IfIndex, NTEContext, NTEInstance);
}

DWORD CIPHelperApi::DeleteIPAddress(ULONG NTEContext)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, DeleteIPAddress).OrErrorCode()(NTEContext);
}

HANDLE CIPHelperApi::IcmpCreateFile()
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IcmpCreateFile).Or(INVALID_HANDLE_VALUE)();
}

DWORD CIPHelperApi::IcmpSendEcho(HANDLE IcmpHandle, IPAddr DestinationAddress, LPVOID RequestData, WORD RequestSize,
                                 PIP_OPTION_INFORMATION RequestOptions, LPVOID ReplyBuffer, DWORD ReplySize,
                                 DWORD Timeout)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IcmpSendEcho)
        .Or(0)(IcmpHandle, DestinationAddress, RequestData, RequestSize, RequestOptions, ReplyBuffer, ReplySize,
               Timeout);
}

BOOL CIPHelperApi::IcmpCloseHandle(HANDLE IcmpHandle)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, IcmpCloseHandle).Or(FALSE)(IcmpHandle);
}

DWORD CIPHelperApi::NotifyAddrChange(PHANDLE Handle, LPOVERLAPPED overlapped)
{
    return KV_SYSTEM_FUNCTION(g_ipHlpApiDll, NotifyAddrChange).OrErrorCode()(Handle, overlapped);
}
} // namespace KVWinApi
