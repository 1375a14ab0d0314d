#pragma once

// Before <windows.h>, which includes an older, conflicting socket header.
#include <winsock2.h>

#include <windows.h>

#include <iphlpapi.h>

#include <icmpapi.h> // needs the types of the header above

namespace KVWinApi
{
/// Network adapters and echo requests (iphlpapi). Results are error codes, except for the handle of IcmpCreateFile, the
/// reply count of IcmpSendEcho and the BOOL of IcmpCloseHandle.
///
/// Unless WIN32_LEAN_AND_MEAN is defined, include this before <windows.h>, whose older socket header conflicts.
///
/// Declaration order is slot order and part of the interface.
class IIPHelperApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual ULONG GetAdaptersInfo(PIP_ADAPTER_INFO AdapterInfo, PULONG SizePointer) = 0;
    virtual ULONG GetAdaptersAddresses(ULONG Family, ULONG Flags, PVOID Reserved,
                                       PIP_ADAPTER_ADDRESSES AdapterAddresses, PULONG SizePointer) = 0;
    virtual DWORD GetIfEntry(PMIB_IFROW pIfRow) = 0;
    virtual DWORD GetInterfaceInfo(PIP_INTERFACE_INFO pIfTable, PULONG dwOutBufLen) = 0;
    virtual DWORD IpReleaseAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo) = 0;
    virtual DWORD IpRenewAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo) = 0;
    virtual DWORD AddIPAddress(IPAddr Address, IPMask IpMask, DWORD IfIndex, PULONG NTEContext, PULONG NTEInstance) = 0;
    virtual DWORD DeleteIPAddress(ULONG NTEContext) = 0;
    virtual HANDLE IcmpCreateFile() = 0;
    virtual DWORD IcmpSendEcho(HANDLE IcmpHandle, IPAddr DestinationAddress, LPVOID RequestData, WORD RequestSize,
                               PIP_OPTION_INFORMATION RequestOptions, LPVOID ReplyBuffer, DWORD ReplySize,
                               DWORD Timeout) = 0;
    virtual BOOL IcmpCloseHandle(HANDLE IcmpHandle) = 0;
    virtual DWORD NotifyAddrChange(PHANDLE Handle, LPOVERLAPPED overlapped) = 0;
    ///@}

    virtual ~IIPHelperApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CIPHelperApi : public IIPHelperApi
{
public:
    ULONG GetAdaptersInfo(PIP_ADAPTER_INFO AdapterInfo, PULONG SizePointer) override;
    ULONG GetAdaptersAddresses(ULONG Family, ULONG Flags, PVOID Reserved, PIP_ADAPTER_ADDRESSES AdapterAddresses,
                               PULONG SizePointer) override;
    DWORD GetIfEntry(PMIB_IFROW pIfRow) override;
    DWORD GetInterfaceInfo(PIP_INTERFACE_INFO pIfTable, PULONG dwOutBufLen) override;
    DWORD IpReleaseAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo) override;
    DWORD IpRenewAddress(PIP_ADAPTER_INDEX_MAP AdapterInfo) override;
    DWORD AddIPAddress(IPAddr Address, IPMask IpMask, DWORD IfIndex, PULONG NTEContext, PULONG NTEInstance) override;
    DWORD DeleteIPAddress(ULONG NTEContext) override;
    HANDLE IcmpCreateFile() override;
    DWORD IcmpSendEcho(HANDLE IcmpHandle, IPAddr DestinationAddress, LPVOID RequestData, WORD RequestSize,
                       PIP_OPTION_INFORMATION RequestOptions, LPVOID ReplyBuffer, DWORD ReplySize,
                       DWORD Timeout) override;
    BOOL IcmpCloseHandle(HANDLE IcmpHandle) override;
    DWORD NotifyAddrChange(PHANDLE Handle, LPOVERLAPPED overlapped) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IIPHelperApi* g_ipHelperApi;
} // namespace KVWinApi
