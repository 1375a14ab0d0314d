#pragma once

#include <windows.h>

#include <winspool.h>

namespace KVWinApi
{
/// Print spooler (winspool). GetPrinterDataExW and SetPrinterDataExW return error codes; the others set the last error
/// when they fail.
///
/// Declaration order is slot order and part of the interface.
class ISpoolerApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual BOOL OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault) = 0;
    virtual BOOL ClosePrinter(HANDLE hPrinter) = 0;
    virtual HANDLE AddPrinterW(LPWSTR pName, DWORD Level, LPBYTE pPrinter) = 0;
    virtual BOOL DeletePrinter(HANDLE hPrinter) = 0;
    virtual BOOL EnumPrintersW(DWORD Flags, LPWSTR Name, DWORD Level, LPBYTE pPrinterEnum, DWORD cbBuf,
                               LPDWORD pcbNeeded, LPDWORD pcReturned) = 0;
    virtual DWORD GetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, LPDWORD pType, LPBYTE pData,
                                    DWORD nSize, LPDWORD pcbNeeded) = 0;
    virtual DWORD SetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, DWORD Type, LPBYTE pData,
                                    DWORD cbData) = 0;
    virtual BOOL GetPrinterDriverW(HANDLE hPrinter, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                                   LPDWORD pcbNeeded) = 0;
    virtual BOOL AddPrinterDriverW(LPWSTR pName, DWORD Level, LPBYTE pDriverInfo) = 0;
    virtual BOOL XcvDataW(HANDLE hXcv, PCWSTR pszDataName, PBYTE pInputData, DWORD cbInputData, PBYTE pOutputData,
                          DWORD cbOutputData, PDWORD pcbOutputNeeded, PDWORD pdwStatus) = 0;
    virtual BOOL GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf, LPDWORD pcbNeeded) = 0;
    virtual BOOL DeletePrinterDriverExW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pDriverName, DWORD dwDeleteFlag,
                                        DWORD dwVersionFlag) = 0;
    virtual BOOL GetPrinterDriverDirectoryW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverDirectory,
                                            DWORD cbBuf, LPDWORD pcbNeeded) = 0;
    virtual BOOL EnumPrinterDriversW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                                     LPDWORD pcbNeeded, LPDWORD pcReturned) = 0;
    virtual BOOL SetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD Command) = 0;
    virtual BOOL SetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD Command) = 0;
    virtual BOOL GetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD cbBuf, LPDWORD pcbNeeded) = 0;
    virtual BOOL EnumJobsW(HANDLE hPrinter, DWORD FirstJob, DWORD NoJobs, DWORD Level, LPBYTE pJob, DWORD cbBuf,
                           LPDWORD pcbNeeded, LPDWORD pcReturned) = 0;
    virtual BOOL SetDefaultPrinterW(LPCWSTR pszPrinter) = 0;
    virtual BOOL GetDefaultPrinterW(LPWSTR pszBuffer, LPDWORD pcchBuffer) = 0;
    virtual BOOL AddMonitorW(LPWSTR pName, DWORD Level, LPBYTE pMonitorInfo) = 0;
    virtual BOOL DeleteMonitorW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pMonitorName) = 0;
    virtual BOOL EnumMonitorsW(LPWSTR pName, DWORD Level, LPBYTE pMonitor, DWORD cbBuf, LPDWORD pcbNeeded,
                               LPDWORD pcReturned) = 0;
    virtual BOOL EnumPortsW(LPWSTR pName, DWORD Level, LPBYTE pPorts, DWORD cbBuf, LPDWORD pcbNeeded,
                            LPDWORD pcReturned) = 0;
    virtual DWORD StartDocPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pDocInfo) = 0;
    virtual BOOL StartPagePrinter(HANDLE hPrinter) = 0;
    virtual BOOL WritePrinter(HANDLE hPrinter, LPVOID pBuf, DWORD cbBuf, LPDWORD pcWritten) = 0;
    virtual BOOL EndPagePrinter(HANDLE hPrinter) = 0;
    virtual BOOL EndDocPrinter(HANDLE hPrinter) = 0;
    virtual HANDLE FindFirstPrinterChangeNotification(HANDLE hPrinter, DWORD fdwFlags, DWORD fdwOptions,
                                                      LPVOID pPrinterNotifyOptions) = 0;
    virtual BOOL FindNextPrinterChangeNotification(HANDLE hChange, PDWORD pdwChange, LPVOID pPrinterNotifyOptions,
                                                   LPVOID* ppPrinterNotifyInfo) = 0;
    virtual BOOL FindClosePrinterChangeNotification(HANDLE hChange) = 0;
    virtual LONG DocumentPropertiesW(HWND hWnd, HANDLE hPrinter, LPWSTR pDeviceName, PDEVMODEW pDevModeOutput,
                                     PDEVMODEW pDevModeInput, DWORD fMode) = 0;
    ///@}

    virtual ~ISpoolerApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CSpoolerApi : public ISpoolerApi
{
public:
    BOOL OpenPrinterW(LPWSTR pPrinterName, LPHANDLE phPrinter, LPPRINTER_DEFAULTSW pDefault) override;
    BOOL ClosePrinter(HANDLE hPrinter) override;
    HANDLE AddPrinterW(LPWSTR pName, DWORD Level, LPBYTE pPrinter) override;
    BOOL DeletePrinter(HANDLE hPrinter) override;
    BOOL EnumPrintersW(DWORD Flags, LPWSTR Name, DWORD Level, LPBYTE pPrinterEnum, DWORD cbBuf, LPDWORD pcbNeeded,
                       LPDWORD pcReturned) override;
    DWORD GetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, LPDWORD pType, LPBYTE pData,
                            DWORD nSize, LPDWORD pcbNeeded) override;
    DWORD SetPrinterDataExW(HANDLE hPrinter, LPCWSTR pKeyName, LPCWSTR pValueName, DWORD Type, LPBYTE pData,
                            DWORD cbData) override;
    BOOL GetPrinterDriverW(HANDLE hPrinter, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                           LPDWORD pcbNeeded) override;
    BOOL AddPrinterDriverW(LPWSTR pName, DWORD Level, LPBYTE pDriverInfo) override;
    BOOL XcvDataW(HANDLE hXcv, PCWSTR pszDataName, PBYTE pInputData, DWORD cbInputData, PBYTE pOutputData,
                  DWORD cbOutputData, PDWORD pcbOutputNeeded, PDWORD pdwStatus) override;
    BOOL GetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD cbBuf, LPDWORD pcbNeeded) override;
    BOOL DeletePrinterDriverExW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pDriverName, DWORD dwDeleteFlag,
                                DWORD dwVersionFlag) override;
    BOOL GetPrinterDriverDirectoryW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverDirectory,
                                    DWORD cbBuf, LPDWORD pcbNeeded) override;
    BOOL EnumPrinterDriversW(LPWSTR pName, LPWSTR pEnvironment, DWORD Level, LPBYTE pDriverInfo, DWORD cbBuf,
                             LPDWORD pcbNeeded, LPDWORD pcReturned) override;
    BOOL SetPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pPrinter, DWORD Command) override;
    BOOL SetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD Command) override;
    BOOL GetJobW(HANDLE hPrinter, DWORD JobId, DWORD Level, LPBYTE pJob, DWORD cbBuf, LPDWORD pcbNeeded) override;
    BOOL EnumJobsW(HANDLE hPrinter, DWORD FirstJob, DWORD NoJobs, DWORD Level, LPBYTE pJob, DWORD cbBuf,
                   LPDWORD pcbNeeded, LPDWORD pcReturned) override;
    BOOL SetDefaultPrinterW(LPCWSTR pszPrinter) override;
    BOOL GetDefaultPrinterW(LPWSTR pszBuffer, LPDWORD pcchBuffer) override;
    BOOL AddMonitorW(LPWSTR pName, DWORD Level, LPBYTE pMonitorInfo) override;
    BOOL DeleteMonitorW(LPWSTR pName, LPWSTR pEnvironment, LPWSTR pMonitorName) override;
    BOOL EnumMonitorsW(LPWSTR pName, DWORD Level, LPBYTE pMonitor, DWORD cbBuf, LPDWORD pcbNeeded,
                       LPDWORD pcReturned) override;
    BOOL EnumPortsW(LPWSTR pName, DWORD Level, LPBYTE pPorts, DWORD cbBuf, LPDWORD pcbNeeded,
                    LPDWORD pcReturned) override;
    DWORD StartDocPrinterW(HANDLE hPrinter, DWORD Level, LPBYTE pDocInfo) override;
    BOOL StartPagePrinter(HANDLE hPrinter) override;
    BOOL WritePrinter(HANDLE hPrinter, LPVOID pBuf, DWORD cbBuf, LPDWORD pcWritten) override;
    BOOL EndPagePrinter(HANDLE hPrinter) override;
    BOOL EndDocPrinter(HANDLE hPrinter) override;
    HANDLE FindFirstPrinterChangeNotification(HANDLE hPrinter, DWORD fdwFlags, DWORD fdwOptions,
                                              LPVOID pPrinterNotifyOptions) override;
    BOOL FindNextPrinterChangeNotification(HANDLE hChange, PDWORD pdwChange, LPVOID pPrinterNotifyOptions,
                                           LPVOID* ppPrinterNotifyInfo) override;
    BOOL FindClosePrinterChangeNotification(HANDLE hChange) override;
    LONG DocumentPropertiesW(HWND hWnd, HANDLE hPrinter, LPWSTR pDeviceName, PDEVMODEW pDevModeOutput,
                             PDEVMODEW pDevModeInput, DWORD fMode) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit ISpoolerApi* g_spoolerApi;
} // namespace KVWinApi
