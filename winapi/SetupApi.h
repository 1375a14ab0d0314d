#pragma once

#include <windows.h>

#include <cfgmgr32.h>
#include <setupapi.h>

namespace KVWinApi
{
/// Device installation and the device tree (setupapi, cfgmgr32). CM_ operations return CONFIGRET codes; the others set
/// the last error when they fail.
///
/// Declaration order is slot order and part of the interface.
class ISetupApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual CONFIGRET CM_Locate_DevNodeW(PDEVINST pdnDevInst, DEVINSTID_W pDeviceID, ULONG ulFlags) = 0;
    virtual CONFIGRET CM_Get_DevNode_Status(PULONG pulStatus, PULONG pulProblemNumber, DEVINST dnDevInst,
                                            ULONG ulFlags) = 0;
    virtual CONFIGRET CM_Get_Device_IDW(DEVINST dnDevInst, PWCHAR Buffer, ULONG BufferLen, ULONG ulFlags) = 0;
    virtual CONFIGRET CM_Get_DevNode_Registry_PropertyW(DEVINST dnDevInst, ULONG ulProperty, PULONG pulRegDataType,
                                                        PVOID Buffer, PULONG pulLength, ULONG ulFlags) = 0;
    virtual CONFIGRET CM_Set_DevNode_Registry_PropertyW(DEVINST dnDevInst, ULONG ulProperty, PCVOID Buffer,
                                                        ULONG ulLength, ULONG ulFlags) = 0;
    virtual CONFIGRET CM_Disable_DevNode(DEVINST dnDevInst, ULONG ulFlags) = 0;
    virtual HDEVINFO SetupDiGetClassDevsW(const GUID* ClassGuid, PCWSTR Enumerator, HWND hwndParent, DWORD Flags) = 0;
    virtual HDEVINFO SetupDiCreateDeviceInfoList(const GUID* ClassGuid, HWND hwndParent) = 0;
    virtual BOOL SetupDiDestroyDeviceInfoList(HDEVINFO DeviceInfoSet) = 0;
    virtual BOOL SetupDiEnumDeviceInfo(HDEVINFO DeviceInfoSet, DWORD MemberIndex, PSP_DEVINFO_DATA DeviceInfoData) = 0;
    virtual BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                                   DWORD Property, PDWORD PropertyRegDataType, PBYTE PropertyBuffer,
                                                   DWORD PropertyBufferSize, PDWORD RequiredSize) = 0;
    virtual BOOL SetupDiOpenDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceInstanceId, HWND hwndParent,
                                        DWORD OpenFlags, PSP_DEVINFO_DATA DeviceInfoData) = 0;
    virtual BOOL SetupDiCreateDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceName, const GUID* ClassGuid,
                                          PCWSTR DeviceDescription, HWND hwndParent, DWORD CreationFlags,
                                          PSP_DEVINFO_DATA DeviceInfoData) = 0;
    virtual BOOL SetupDiEnumDeviceInterfaces(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                             const GUID* InterfaceClassGuid, DWORD MemberIndex,
                                             PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData) = 0;
    virtual BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO DeviceInfoSet, PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData,
                                                  PSP_DEVICE_INTERFACE_DETAIL_DATA_W DeviceInterfaceDetailData,
                                                  DWORD DeviceInterfaceDetailDataSize, PDWORD RequiredSize,
                                                  PSP_DEVINFO_DATA DeviceInfoData) = 0;
    virtual BOOL SetupDiGetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                                PSP_DEVINSTALL_PARAMS_W DeviceInstallParams) = 0;
    virtual BOOL SetupDiSetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                                PSP_DEVINSTALL_PARAMS_W DeviceInstallParams) = 0;
    virtual BOOL SetupDiCallClassInstaller(DI_FUNCTION InstallFunction, HDEVINFO DeviceInfoSet,
                                           PSP_DEVINFO_DATA DeviceInfoData) = 0;
    virtual HKEY SetupDiOpenClassRegKey(const GUID* ClassGuid, REGSAM samDesired) = 0;
    virtual HKEY SetupDiCreateDevRegKeyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope,
                                         DWORD HwProfile, DWORD KeyType, HINF InfHandle, PCWSTR InfSectionName) = 0;
    virtual HKEY SetupDiOpenDevRegKey(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope,
                                      DWORD HwProfile, DWORD KeyType, REGSAM samDesired) = 0;
    virtual BOOL SetupDiBuildDriverInfoList(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                            DWORD DriverType) = 0;
    virtual BOOL SetupDiDestroyDriverInfoList(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                              DWORD DriverType) = 0;
    virtual BOOL SetupDiRemoveDevice(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData) = 0;
    virtual BOOL SetupDiGetSelectedDriverW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                           PSP_DRVINFO_DATA_W DriverInfoData) = 0;
    virtual BOOL SetupDiGetDriverInfoDetailW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                             PSP_DRVINFO_DATA_W DriverInfoData,
                                             PSP_DRVINFO_DETAIL_DATA_W DriverInfoDetailData,
                                             DWORD DriverInfoDetailDataSize, PDWORD RequiredSize) = 0;
    virtual HINF SetupOpenInfFileW(PCWSTR FileName, PCWSTR InfClass, DWORD InfStyle, PUINT ErrorLine) = 0;
    virtual BOOL SetupFindFirstLineW(HINF InfHandle, PCWSTR Section, PCWSTR Key, PINFCONTEXT Context) = 0;
    virtual BOOL SetupGetLineTextW(PINFCONTEXT Context, HINF InfHandle, PCWSTR Section, PCWSTR Key, PWSTR ReturnBuffer,
                                   DWORD ReturnBufferSize, PDWORD RequiredSize) = 0;
    virtual void SetupCloseInfFile(HINF InfHandle) = 0;
    virtual DWORD CMP_WaitNoPendingInstallEvents(DWORD dwTimeout) = 0;
    virtual BOOL SetupDiSetClassInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                               PSP_CLASSINSTALL_HEADER ClassInstallParams,
                                               DWORD ClassInstallParamsSize) = 0;
    ///@}

    virtual ~ISetupApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CSetupApi : public ISetupApi
{
public:
    CONFIGRET CM_Locate_DevNodeW(PDEVINST pdnDevInst, DEVINSTID_W pDeviceID, ULONG ulFlags) override;
    CONFIGRET CM_Get_DevNode_Status(PULONG pulStatus, PULONG pulProblemNumber, DEVINST dnDevInst,
                                    ULONG ulFlags) override;
    CONFIGRET CM_Get_Device_IDW(DEVINST dnDevInst, PWCHAR Buffer, ULONG BufferLen, ULONG ulFlags) override;
    CONFIGRET CM_Get_DevNode_Registry_PropertyW(DEVINST dnDevInst, ULONG ulProperty, PULONG pulRegDataType,
                                                PVOID Buffer, PULONG pulLength, ULONG ulFlags) override;
    CONFIGRET CM_Set_DevNode_Registry_PropertyW(DEVINST dnDevInst, ULONG ulProperty, PCVOID Buffer, ULONG ulLength,
                                                ULONG ulFlags) override;
    CONFIGRET CM_Disable_DevNode(DEVINST dnDevInst, ULONG ulFlags) override;
    HDEVINFO SetupDiGetClassDevsW(const GUID* ClassGuid, PCWSTR Enumerator, HWND hwndParent, DWORD Flags) override;
    HDEVINFO SetupDiCreateDeviceInfoList(const GUID* ClassGuid, HWND hwndParent) override;
    BOOL SetupDiDestroyDeviceInfoList(HDEVINFO DeviceInfoSet) override;
    BOOL SetupDiEnumDeviceInfo(HDEVINFO DeviceInfoSet, DWORD MemberIndex, PSP_DEVINFO_DATA DeviceInfoData) override;
    BOOL SetupDiGetDeviceRegistryPropertyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Property,
                                           PDWORD PropertyRegDataType, PBYTE PropertyBuffer, DWORD PropertyBufferSize,
                                           PDWORD RequiredSize) override;
    BOOL SetupDiOpenDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceInstanceId, HWND hwndParent, DWORD OpenFlags,
                                PSP_DEVINFO_DATA DeviceInfoData) override;
    BOOL SetupDiCreateDeviceInfoW(HDEVINFO DeviceInfoSet, PCWSTR DeviceName, const GUID* ClassGuid,
                                  PCWSTR DeviceDescription, HWND hwndParent, DWORD CreationFlags,
                                  PSP_DEVINFO_DATA DeviceInfoData) override;
    BOOL SetupDiEnumDeviceInterfaces(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                     const GUID* InterfaceClassGuid, DWORD MemberIndex,
                                     PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData) override;
    BOOL SetupDiGetDeviceInterfaceDetailW(HDEVINFO DeviceInfoSet, PSP_DEVICE_INTERFACE_DATA DeviceInterfaceData,
                                          PSP_DEVICE_INTERFACE_DETAIL_DATA_W DeviceInterfaceDetailData,
                                          DWORD DeviceInterfaceDetailDataSize, PDWORD RequiredSize,
                                          PSP_DEVINFO_DATA DeviceInfoData) override;
    BOOL SetupDiGetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                        PSP_DEVINSTALL_PARAMS_W DeviceInstallParams) override;
    BOOL SetupDiSetDeviceInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                        PSP_DEVINSTALL_PARAMS_W DeviceInstallParams) override;
    BOOL SetupDiCallClassInstaller(DI_FUNCTION InstallFunction, HDEVINFO DeviceInfoSet,
                                   PSP_DEVINFO_DATA DeviceInfoData) override;
    HKEY SetupDiOpenClassRegKey(const GUID* ClassGuid, REGSAM samDesired) override;
    HKEY SetupDiCreateDevRegKeyW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope, DWORD HwProfile,
                                 DWORD KeyType, HINF InfHandle, PCWSTR InfSectionName) override;
    HKEY SetupDiOpenDevRegKey(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD Scope, DWORD HwProfile,
                              DWORD KeyType, REGSAM samDesired) override;
    BOOL SetupDiBuildDriverInfoList(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData, DWORD DriverType) override;
    BOOL SetupDiDestroyDriverInfoList(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                      DWORD DriverType) override;
    BOOL SetupDiRemoveDevice(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData) override;
    BOOL SetupDiGetSelectedDriverW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                   PSP_DRVINFO_DATA_W DriverInfoData) override;
    BOOL SetupDiGetDriverInfoDetailW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                     PSP_DRVINFO_DATA_W DriverInfoData, PSP_DRVINFO_DETAIL_DATA_W DriverInfoDetailData,
                                     DWORD DriverInfoDetailDataSize, PDWORD RequiredSize) override;
    HINF SetupOpenInfFileW(PCWSTR FileName, PCWSTR InfClass, DWORD InfStyle, PUINT ErrorLine) override;
    BOOL SetupFindFirstLineW(HINF InfHandle, PCWSTR Section, PCWSTR Key, PINFCONTEXT Context) override;
    BOOL SetupGetLineTextW(PINFCONTEXT Context, HINF InfHandle, PCWSTR Section, PCWSTR Key, PWSTR ReturnBuffer,
                           DWORD ReturnBufferSize, PDWORD RequiredSize) override;
    void SetupCloseInfFile(HINF InfHandle) override;
    DWORD CMP_WaitNoPendingInstallEvents(DWORD dwTimeout) override;
    BOOL SetupDiSetClassInstallParamsW(HDEVINFO DeviceInfoSet, PSP_DEVINFO_DATA DeviceInfoData,
                                       PSP_CLASSINSTALL_HEADER ClassInstallParams,
                                       DWORD ClassInstallParamsSize) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit ISetupApi* g_setupApi;
} // namespace KVWinApi
