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
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, OpenPrinterW), pPrinterName, phPrinter, pDefault);
}

BOOL CSpoolerApi::ClosePrinter(HANDLE hPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, ClosePrinter), hPrinter);
}

HANDLE CSpoolerApi::AddPrinterW(LPWSTR pName, DWORD Level, LPBYTE pPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, AddPrinterW), pName, Level, pPrinter);
}

BOOL CSpoolerApi::DeletePrinter(HANDLE hPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, DeletePrinter), hPrinter);
}

BOOL CSpoolerApi::EnumPrintersW(DWORD Flags, LPWSTR Name, DWORD Level, LPBYTE pPrinterEnum, DWORD cbBuf,
                                LPDWORD pcbNeeded, LPDWORD pcReturned)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumPrintersW), Flags, Name, Level, pPrinterEnum, cbBuf, pcbNeeded,
                pcReturned);
}

DWORD CSpoolerApi::GetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, LPDWORD pType, LPBYTE pData,
                                     DWORD nSize, LPDWORD pcbNeeded)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterDataExW), hPrinter, pKeyName, pValueName, pType,
                           pData, nSize, pcbNeeded);
}

DWORD CSpoolerApi::SetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, DWORD Type, LPBYTE pData,
                                     DWORD cbData)
{
    return CallOrErrorCode(KV_SYSTEM_FUNCTION(g_winSpoolDll, SetPrinterDataExW), hPrinter, pKeyName, pValueName, Type,
                           pData, cbData);
}

BOOL CSpoolerApi::GetPrinterDriverW(HANDLE hPrinter, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                                    LPDWORD pcbNeeded)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterDriverW), hPrinter, pEnvironment, Level, pDriverInfo, cbBuf,
                pcbNeeded);
}

BOOL CSpoolerApi::AddPrinterDriverW(LPWSTR pName, DWORD Level, LPBYTE pDriverInfo)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, AddPrinterDriverW), pName, Level, pDriverInfo);
}

BOOL CSpoolerApi::XcvDataW(HANDLE hXcv, PCWSTR pszDataName, PBYTE pInputData, DWORD cbInputData, PBYTE pOutputData,
                           DWORD cbOutputData, PDWORD pcbOutputNeeded, PDWORD pdwStatus)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, XcvDataW), hXcv, pszDataName, pInputData, cbInputData, pOutputData,
                cbOutputData, pcbOutputNeeded, pdwStatus);
}

BOOL CSpoolerApi::GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf, LPDWORD pcbNeeded)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterW), hPrinter, Level, pPrinter, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::DeletePrinterDriverExW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pDriverName, DWORD dwDeleteFlag,
                                         DWORD dwVersionFlag)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, DeletePrinterDriverExW), pName, pEnvironment, pDriverName,
                dwDeleteFlag, dwVersionFlag);
}

BOOL CSpoolerApi::GetPrinterDriverDirectoryW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverDirectory,
                                             DWORD cbBuf, LPDWORD pcbNeeded)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, GetPrinterDriverDirectoryW), pName, pEnvironment, Level,
                pDriverDirectory, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::EnumPrinterDriversW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                                      LPDWORD pcbNeeded, LPDWORD pcReturned)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumPrinterDriversW), pName, pEnvironment, Level, pDriverInfo, cbBuf,
                pcbNeeded, pcReturned);
}

BOOL CSpoolerApi::SetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD Command)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, SetPrinterW), hPrinter, Level, pPrinter, Command);
}

BOOL CSpoolerApi::SetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD Command)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, SetJobW), hPrinter, JobId, Level, pJob, Command);
}

BOOL CSpoolerApi::GetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD cbBuf, LPDWORD pcbNeeded)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, GetJobW), hPrinter, JobId, Level, pJob, cbBuf, pcbNeeded);
}

BOOL CSpoolerApi::EnumJobsW(HANDLE hPrinter, DWORD FirstJob, DWORD NoJobs, DWORD Level, LPBYTE pJob, DWORD cbBuf,
                            LPDWORD pcbNeeded, LPDWORD pcReturned)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumJobsW), hPrinter, FirstJob, NoJobs, Level, pJob, cbBuf, pcbNeeded,
                pcReturned);
}

BOOL CSpoolerApi::SetDefaultPrinterW(LPCWSTR pszPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, SetDefaultPrinterW), pszPrinter);
}

BOOL CSpoolerApi::GetDefaultPrinterW(LPWSTR pszBuffer, LPDWORD pcchBuffer)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, GetDefaultPrinterW), pszBuffer, pcchBuffer);
}

BOOL CSpoolerApi::AddMonitorW(LPWSTR pName, DWORD Level, LPBYTE pMonitorInfo)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, AddMonitorW), pName, Level, pMonitorInfo);
}

BOOL CSpoolerApi::DeleteMonitorW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pMonitorName)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, DeleteMonitorW), pName, pEnvironment, pMonitorName);
}

BOOL CSpoolerApi::EnumMonitorsW(LPWSTR pName, DWORD Level, LPBYTE pMonitor, DWORD cbBuf, LPDWORD pcbNeeded,
                                LPDWORD pcReturned)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumMonitorsW), pName, Level, pMonitor, cbBuf, pcbNeeded, pcReturned);
}

BOOL CSpoolerApi::EnumPortsW(LPWSTR pName, DWORD Level, LPBYTE pPorts, DWORD cbBuf, LPDWORD pcbNeeded,
                             LPDWORD pcReturned)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EnumPortsW), pName, Level, pPorts, cbBuf, pcbNeeded, pcReturned);
}

DWORD CSpoolerApi::StartDocPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pDocInfo)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, StartDocPrinterW), hPrinter, Level, pDocInfo);
}

BOOL CSpoolerApi::StartPagePrinter(HANDLE hPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, StartPagePrinter), hPrinter);
}

BOOL CSpoolerApi::WritePrinter(HANDLE hPrinter, LPVOID pBuf, DWORD cbBuf, LPDWORD pcWritten)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, WritePrinter), hPrinter, pBuf, cbBuf, pcWritten);
}

BOOL CSpoolerApi::EndPagePrinter(HANDLE hPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EndPagePrinter), hPrinter);
}

BOOL CSpoolerApi::EndDocPrinter(HANDLE hPrinter)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, EndDocPrinter), hPrinter);
}

HANDLE CSpoolerApi::FindFirstPrinterChangeNotification(HANDLE hPrinter, DWORD fdwFlags, DWORD fdwOptions,
                                                       LPVOID pPrinterNotifyOptions)
{
    return CallOr(INVALID_HANDLE_VALUE, KV_SYSTEM_FUNCTION(g_winSpoolDll, FindFirstPrinterChangeNotification), hPrinter,
                  fdwFlags, fdwOptions, pPrinterNotifyOptions);
}

BOOL CSpoolerApi::FindNextPrinterChangeNotification(HANDLE hChange, PDWORD pdwChange, LPVOID pPrinterNotifyOptions,
                                                    LPVOID* ppPrinterNotifyInfo)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, FindNextPrinterChangeNotification), hChange, pdwChange,
                pPrinterNotifyOptions, ppPrinterNotifyInfo);
}

BOOL CSpoolerApi::FindClosePrinterChangeNotification(HANDLE hChange)
{
    return Call(KV_SYSTEM_FUNCTION(g_winSpoolDll, FindClosePrinterChangeNotification), hChange);
}

LONG CSpoolerApi::DocumentPropertiesW(HWND hWnd, HANDLE hPrinter, LPWSTR pDeviceName, PDEVMODEW pDevModeOutput,
                                      PDEVMODEW pDevModeInput, DWORD fMode)
{
    return CallOr(-1, KV_SYSTEM_FUNCTION(g_winSpoolDll, DocumentPropertiesW), hWnd, hPrinter, pDeviceName,
                  pDevModeOutput, pDevModeInput, fMode);
}
} // namespace KVWinApi
