#include "winapi/SetupApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CSetupApi s_setupApi;

// What the library gives in place of a key.
HKEY NoKey() noexcept
{
    return static_cast<HKEY>(INVALID_HANDLE_VALUE);
}
} // namespace

constinit ISetupApi* g_setupApi = &s_setupApi;

CONFIGRET CSetupApi::CM_Locate_DevNodeW(PDEVINST pdnDevInst, DEVINSTID_W pDeviceID, ULONG ulFlags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CM_Locate_DevNodeW)
        .Or(CR_CALL_NOT_IMPLEMENTED)(pdnDevInst, pDeviceID, ulFlags);
}

CONFIGRET CSetupApi::CM_Get_DevNode_Status(PULONG pulStatus, PULONG pulProblemNumber, DEVINST dnDevInst, ULONG ulFlags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CM_Get_DevNode_Status)
        .Or(CR_CALL_NOT_IMPLEMENTED)(pulStatus, pulProblemNumber, dnDevInst, ulFlags);
}

CONFIGRET CSetupApi::CM_Get_Device_IDW(DEVINST dnDevInst, PWCHAR Buffer, ULONG BufferLen, ULONG ulFlags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CM_Get_Device_IDW)
        .Or(CR_CALL_NOT_IMPLEMENTED)(dnDevInst, Buffer, BufferLen, ulFlags);
}

CONFIGRET CSetupApi::CM_Get_DevNode_Registry_PropertyW(DEVINST dnDevInst, ULONG ulProperty, PULONG pulRegDataType,
                                                       PVOID Buffer, PULONG pulLength, ULONG ulFlags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CM_Get_DevNode_Registry_PropertyW)
        .Or(CR_CALL_NOT_IMPLEMENTED)(dnDevInst, ulProperty, pulRegDataType, Buffer, pulLength, ulFlags);
}

CONFIGRET CSetupApi::CM_Set_DevNode_Registry_PropertyW(DEVINST dnDevInst, ULONG ulProperty, PCVOID Buffer,
                                                       ULONG ulLength, ULONG ulFlags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CM_Set_DevNode_Registry_PropertyW)
        .Or(CR_CALL_NOT_IMPLEMENTED)(dnDevInst, ulProperty, Buffer, ulLength, ulFlags);
}

CONFIGRET CSetupApi::CM_Disable_DevNode(DEVINST dnDevInst, ULONG ulFlags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CM_Disable_DevNode).Or(CR_CALL_NOT_IMPLEMENTED)(dnDevInst, ulFlags);
}

HDEVINFO CSetupApi::SetupDiGetClassDevsW(const GUID* ClassGuid, PCWSTR Enumerator, HWND hwndParent, DWORD Flags)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiGetClassDevsW)
        .Or(INVALID_HANDLE_VALUE)(ClassGuid, Enumerator, hwndParent, Flags);
}

HDEVINFO CSetupApi::SetupDiCreateDeviceInfoList(const GUID* ClassGuid, HWND hwndParent)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiCreateDeviceInfoList)
        .Or(INVALID_HANDLE_VALUE)(ClassGuid, hwndParent);
}

BOOL CSetupApi::SetupDiDestroyDeviceInfoList(HDEVINFO DeviceInfoSet)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiDestroyDeviceInfoList).Or(FALSE)(DeviceInfoSet);
}

BOOL CSetupApi::SetupDiEnumDeviceInfo(HDEVINFO DeviceInfoSet, DWORD MemberIndex, PSP_DEVINFO_DATA DeviceInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiEnumDeviceInfo)
        .Or(FALSE)(DeviceInfoSet, MemberIndex, DeviceInfoData);
}

BOOL CSetupApi::SetupDiGetDeviceRegistryPropertyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                                  DWORD Property, PDWORD PropertyRegDataType, PBYTE PropertyBuffer,
                                                  DWORD PropertyBufferSize, PDWORD RequiredSize)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiGetDeviceRegistryPropertyW)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, Property, PropertyRegDataType, PropertyBuffer, PropertyBufferSize,
                   RequiredSize);
}

BOOL CSetupApi::SetupDiOpenDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceInstanceId, HWND hwndParent,
                                       DWORD OpenFlags, PSP_DEVINFO_DATA DeviceInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiOpenDeviceInfoW)
        .Or(FALSE)(DeviceInfoSet, DeviceInstanceId, hwndParent, OpenFlags, DeviceInfoData);
}

BOOL CSetupApi::SetupDiCreateDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceName, const GUID* ClassGuid,
                                         PCWSTR DeviceDescription, HWND hwndParent, DWORD CreationFlags,
                                         PSP_DEVINFO_DATA DeviceInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiCreateDeviceInfoW)
        .Or(FALSE)(DeviceInfoSet, DeviceName, ClassGuid, DeviceDescription, hwndParent, CreationFlags, DeviceInfoData);
}

BOOL CSetupApi::SetupDiEnumDeviceInterfaces(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                            const GUID* InterfaceClassGuid, DWORD MemberIndex,
                                            PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiEnumDeviceInterfaces)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, InterfaceClassGuid, MemberIndex, DeviceInterfaceData);
}

BOOL CSetupApi::SetupDiGetDeviceInterfaceDetailW(HDEVINFO DeviceInfoSet, PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData,
                                                 PSP_DEVICE_INTERFACE_DETAIL_DATA_W DeviceInterfaceDetailData,
                                                 DWORD DeviceInterfaceDetailDataSize, PDWORD RequiredSize,
                                                 PSP_DEVINFO_DATA DeviceInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiGetDeviceInterfaceDetailW)
        .Or(FALSE)(DeviceInfoSet, DeviceInterfaceData, DeviceInterfaceDetailData, DeviceInterfaceDetailDataSize,
                   RequiredSize, DeviceInfoData);
}

BOOL CSetupApi::SetupDiGetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                               PSP_DEVINSTALL_PARAMS_W DeviceInstallParams)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiGetDeviceInstallParamsW)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, DeviceInstallParams);
}

BOOL CSetupApi::SetupDiSetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                               PSP_DEVINSTALL_PARAMS_W DeviceInstallParams)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiSetDeviceInstallParamsW)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, DeviceInstallParams);
}

BOOL CSetupApi::SetupDiCallClassInstaller(DI_FUNCTION InstallFunction, HDEVINFO DeviceInfoSet,
                                          PSP_DEVINFO_DATA DeviceInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiCallClassInstaller)
        .Or(FALSE)(InstallFunction, DeviceInfoSet, DeviceInfoData);
}

HKEY CSetupApi::SetupDiOpenClassRegKey(const GUID* ClassGuid, REGSAM samDesired)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiOpenClassRegKey).Or(NoKey())(ClassGuid, samDesired);
}

HKEY CSetupApi::SetupDiCreateDevRegKeyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope,
                                        DWORD HwProfile, DWORD KeyType, HINF InfHandle, PCWSTR InfSectionName)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiCreateDevRegKeyW)
        .Or(NoKey())(DeviceInfoSet, DeviceInfoData, Scope, HwProfile, KeyType, InfHandle, InfSectionName);
}

HKEY CSetupApi::SetupDiOpenDevRegKey(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope,
                                     DWORD HwProfile, DWORD KeyType, REGSAM samDesired)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiOpenDevRegKey)
        .Or(NoKey())(DeviceInfoSet, DeviceInfoData, Scope, HwProfile, KeyType, samDesired);
}

BOOL CSetupApi::SetupDiBuildDriverInfoList(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD DriverType)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiBuildDriverInfoList)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, DriverType);
}

BOOL CSetupApi::SetupDiDestroyDriverInfoList(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD DriverType)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiDestroyDriverInfoList)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, DriverType);
}

BOOL CSetupApi::SetupDiRemoveDevice(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiRemoveDevice).Or(FALSE)(DeviceInfoSet, DeviceInfoData);
}

BOOL CSetupApi::SetupDiGetSelectedDriverW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                          PSP_DRVINFO_DATA_W DriverInfoData)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiGetSelectedDriverW)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, DriverInfoData);
}

BOOL CSetupApi::SetupDiGetDriverInfoDetailW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                            PSP_DRVINFO_DATA_W DriverInfoData,
                                            PSP_DRVINFO_DETAIL_DATA_W DriverInfoDetailData,
                                            DWORD DriverInfoDetailDataSize, PDWORD RequiredSize)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiGetDriverInfoDetailW)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, DriverInfoData, DriverInfoDetailData, DriverInfoDetailDataSize,
                   RequiredSize);
}

HINF CSetupApi::SetupOpenInfFileW(PCWSTR FileName, PCWSTR InfClass, DWORD InfStyle, PUINT ErrorLine)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupOpenInfFileW)
        .Or(INVALID_HANDLE_VALUE)(FileName, InfClass, InfStyle, ErrorLine);
}

BOOL CSetupApi::SetupFindFirstLineW(HINF InfHandle, PCWSTR Section, PCWSTR Key, PINFCONTEXT Context)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupFindFirstLineW).Or(FALSE)(InfHandle, Section, Key, Context);
}

BOOL CSetupApi::SetupGetLineTextW(PINFCONTEXT Context, HINF InfHandle, PCWSTR Section, PCWSTR Key, PWSTR ReturnBuffer,
                                  DWORD ReturnBufferSize, PDWORD RequiredSize)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupGetLineTextW)
        .Or(FALSE)(Context, InfHandle, Section, Key, ReturnBuffer, ReturnBufferSize, RequiredSize);
}

void CSetupApi::SetupCloseInfFile(HINF InfHandle)
{
    KV_SYSTEM_FUNCTION(g_setupApiDll, SetupCloseInfFile).OrNothing()(InfHandle);
}

DWORD CSetupApi::CMP_WaitNoPendingInstallEvents(DWORD dwTimeout)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, CMP_WaitNoPendingInstallEvents).Or(WAIT_FAILED)(dwTimeout);
}

BOOL CSetupApi::SetupDiSetClassInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                              PSP_CLASSINSTALL_HEADER ClassInstallParams, DWORD ClassInstallParamsSize)
{
    return KV_SYSTEM_FUNCTION(g_setupApiDll, SetupDiSetClassInstallParamsW)
        .Or(FALSE)(DeviceInfoSet, DeviceInfoData, ClassInstallParams, ClassInstallParamsSize);
}
} // namespace KVWinApi
