#include "winapi/SpoolerApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CSpoolerApi s_spoolerApi;
} // namespace

constinit ISpoolerApi* g_spoolerApi = &s_spoolerApi;

BOOL CSpoolerApi::OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, OpenPrinterW).Or(FALSE)(pPrinterName, phPrinter, pDefault);
}

BOOL CSpoolerApi::ClosePrinter(HANDLE hPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, ClosePrinter).Or(FALSE)(hPrinter);
}

HANDLE CSpoolerApi::AddPrinterW(LPWSTR pName, DWORD Level, LPBYTE pPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, AddPrinterW).Or(nullptr)(pName, Level, pPrinter);
}

BOOL CSpoolerApi::DeletePrinter(HANDLE hPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, DeletePrinter).Or(FALSE)(hPrinter);
}

BOOL CSpoolerApi::EnumPrintersW(DWORD Flags, LPWSTR Name, DWORD Level, LPBYTE pPrinterEnum, DWORD cbBuf,
                                LPDWORD pcbNeeded, LPDWORD pcReturned)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumPrintersW)
        .Or(FALSE)(Flags, Name, Level, pPrinterEnum, cbBuf, pcbNeeded, pcReturned);
}

DWORD CSpoolerApi::GetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, LPDWORD pType, LPBYTE pData,
                                     DWORD nSize, LPDWORD pcbNeeded)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterDataExW)
        .OrErrorCode()(hPrinter, pKeyName, pValueName, pType, pData, nSize, pcbNeeded);
}

DWORD CSpoolerApi::SetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, DWORD Type, LPBYTE pData,
                                     DWORD cbData)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, SetPrinterDataExW)
        .OrErrorCode()(hPrinter, pKeyName, pValueName, Type, pData, cbData);
}

BOOL CSpoolerApi::GetPrinterDriverW(HANDLE hPrinter, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                                    LPDWORD pcbNeeded)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterDriverW)
        .Or(FALSE)(hPrinter, pEnvironment, Level, pDriverInfo, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::AddPrinterDriverW(LPWSTR pName, DWORD Level, LPBYTE pDriverInfo)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, AddPrinterDriverW).Or(FALSE)(pName, Level, pDriverInfo);
}

BOOL CSpoolerApi::XcvDataW(HANDLE hXcv, PCWSTR pszDataName, PBYTE pInputData, DWORD cbInputData, PBYTE pOutputData,
                           DWORD cbOutputData, PDWORD pcbOutputNeeded, PDWORD pdwStatus)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, XcvDataW)
        .Or(FALSE)(hXcv, pszDataName, pInputData, cbInputData, pOutputData, cbOutputData, pcbOutputNeeded, pdwStatus);
}

BOOL CSpoolerApi::GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf, LPDWORD pcbNeeded)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterW).Or(FALSE)(hPrinter, Level, pPrinter, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::DeletePrinterDriverExW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pDriverName, DWORD dwDeleteFlag,
                                         DWORD dwVersionFlag)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, DeletePrinterDriverExW)
        .Or(FALSE)(pName, pEnvironment, pDriverName, dwDeleteFlag, dwVersionFlag);
}

BOOL CSpoolerApi::GetPrinterDriverDirectoryW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverDirectory,
                                             DWORD cbBuf, LPDWORD pcbNeeded)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterDriverDirectoryW)
        .Or(FALSE)(pName, pEnvironment, Level, pDriverDirectory, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::EnumPrinterDriversW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                                      LPDWORD pcbNeeded, LPDWORD pcReturned)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumPrinterDriversW)
        .Or(FALSE)(pName, pEnvironment, Level, pDriverInfo, cbBuf, pcbNeeded, pcReturned);
}

BOOL CSpoolerApi::SetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD Command)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, SetPrinterW).Or(FALSE)(hPrinter, Level, pPrinter, Command);
}

BOOL CSpoolerApi::SetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD Command)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, SetJobW).Or(FALSE)(hPrinter, JobId, Level, pJob, Command);
}

BOOL CSpoolerApi::GetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD cbBuf, LPDWORD pcbNeeded)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, GetJobW).Or(FALSE)(hPrinter, JobId, Level, pJob, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::EnumJobsW(HANDLE hPrinter, DWORD FirstJob, DWORD NoJobs, DWORD Level, LPBYTE pJob, DWORD cbBuf,
                            LPDWORD pcbNeeded, LPDWORD pcReturned)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumJobsW)
        .Or(FALSE)(hPrinter, FirstJob, NoJobs, Level, pJob, cbBuf, pcbNeeded, pcReturned);
}

BOOL CSpoolerApi::SetDefaultPrinterW(LPCWSTR pszPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, SetDefaultPrinterW).Or(FALSE)(pszPrinter);
}

BOOL CSpoolerApi::GetDefaultPrinterW(LPWSTR pszBuffer, LPDWORD pcchBuffer)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, GetDefaultPrinterW).Or(FALSE)(pszBuffer, pcchBuffer);
}

BOOL CSpoolerApi::AddMonitorW(LPWSTR pName, DWORD Level, LPBYTE pMonitorInfo)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, AddMonitorW).Or(FALSE)(pName, Level, pMonitorInfo);
}

BOOL CSpoolerApi::DeleteMonitorW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pMonitorName)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, DeleteMonitorW).Or(FALSE)(pName, pEnvironment, pMonitorName);
}

BOOL CSpoolerApi::EnumMonitorsW(LPWSTR pName, DWORD Level, LPBYTE pMonitor, DWORD cbBuf, LPDWORD pcbNeeded,
                                LPDWORD pcReturned)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumMonitorsW)
        .Or(FALSE)(pName, Level, pMonitor, cbBuf, pcbNeeded, pcReturned);
}

BOOL CSpoolerApi::EnumPortsW(LPWSTR pName, DWORD Level, LPBYTE pPorts, DWORD cbBuf, LPDWORD pcbNeeded,
                             LPDWORD pcReturned)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumPortsW).Or(FALSE)(pName, Level, pPorts, cbBuf, pcbNeeded, pcReturned);
}

DWORD CSpoolerApi::StartDocPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pDocInfo)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, StartDocPrinterW).Or(0)(hPrinter, Level, pDocInfo);
}

BOOL CSpoolerApi::StartPagePrinter(HANDLE hPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, StartPagePrinter).Or(FALSE)(hPrinter);
}

BOOL CSpoolerApi::WritePrinter(HANDLE hPrinter, LPVOID pBuf, DWORD cbBuf, LPDWORD pcWritten)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, WritePrinter).Or(FALSE)(hPrinter, pBuf, cbBuf, pcWritten);
}

BOOL CSpoolerApi::EndPagePrinter(HANDLE hPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EndPagePrinter).Or(FALSE)(hPrinter);
}

BOOL CSpoolerApi::EndDocPrinter(HANDLE hPrinter)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, EndDocPrinter).Or(FALSE)(hPrinter);
}

HANDLE CSpoolerApi::FindFirstPrinterChangeNotification(HANDLE hPrinter, DWORD fdwFlags, DWORD fdwOptions,
                                                       LPVOID pPrinterNotifyOptions)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, FindFirstPrinterChangeNotification)
        .Or(INVALID_HANDLE_VALUE)(hPrinter, fdwFlags, fdwOptions, pPrinterNotifyOptions);
}

BOOL CSpoolerApi::FindNextPrinterChangeNotification(HANDLE hChange, PDWORD pdwChange, LPVOID pPrinterNotifyOptions,
                                                    LPVOID* ppPrinterNotifyInfo)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, FindNextPrinterChangeNotification)
        .Or(FALSE)(hChange, pdwChange, pPrinterNotifyOptions, ppPrinterNotifyInfo);
}

BOOL CSpoolerApi::FindClosePrinterChangeNotification(HANDLE hChange)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, FindClosePrinterChangeNotification).Or(FALSE)(hChange);
}

LONG CSpoolerApi::DocumentPropertiesW(HWND hWnd, HANDLE hPrinter, LPWSTR pDeviceName, PDEVMODEW pDevModeOutput,
                                      PDEVMODEW pDevModeInput, DWORD fMode)
{
    return KV_SYSTEM_FUNCTION(g_winSpoolDll, DocumentPropertiesW)
        .Or(-1)(hWnd, hPrinter, pDeviceName, pDevModeOutput, pDevModeInput, fMode);
}
} // namespace KVWinApi
