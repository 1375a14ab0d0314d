#pragma once

#include <windows.h>

#include <shlobj.h>
#include <wininet.h>

namespace KVWinApi
{
/// The mixed set that the measurement client uses (wininet, gdi32, user32, kernel32, shell32).
///
/// Deliberate: this interface alone has no virtual destructor. Its table of virtual functions is fixed, and nothing
/// deletes an implementation through it.
///
/// Declaration order is slot order and part of the interface.
class IWinApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual HINTERNET InternetOpenW(LPCWSTR lpszAgent, DWORD dwAccessType, LPCWSTR lpszProxy, LPCWSTR lpszProxyBypass,
                                    DWORD dwFlags) = 0;
    virtual BOOL InternetSetOptionW(HINTERNET hInternet, DWORD dwOption, LPVOID lpBuffer, DWORD dwBufferLength) = 0;
    virtual HINTERNET InternetConnectW(HINTERNET hInternet, LPCWSTR lpszServerName, INTERNET_PORT nServerPort,
                                       LPCWSTR lpszUserName, LPCWSTR lpszPassword, DWORD dwService, DWORD dwFlags,
                                       DWORD_PTR dwContext) = 0;
    virtual BOOL InternetCloseHandle(HINTERNET hInternet) = 0;
    virtual HINTERNET HttpOpenRequestW(HINTERNET hConnect, LPCWSTR lpszVerb, LPCWSTR lpszObjectName,
                                       LPCWSTR lpszVersion, LPCWSTR lpszReferrer, LPCWSTR* lplpszAcceptTypes,
                                       DWORD dwFlags, DWORD_PTR dwContext) = 0;
    virtual BOOL HttpSendRequestW(HINTERNET hRequest, LPCWSTR lpszHeaders, DWORD dwHeadersLength, LPVOID lpOptional,
                                  DWORD dwOptionalLength) = 0;
    virtual BOOL HttpQueryInfoW(HINTERNET hRequest, DWORD dwInfoLevel, LPVOID lpBuffer, LPDWORD lpdwBufferLength,
                                LPDWORD lpdwIndex) = 0;
    virtual BOOL InternetGetConnectedState(LPDWORD lpdwFlags, DWORD dwReserved) = 0;
    virtual BOOL GetVersionExW(LPOSVERSIONINFOW lpVersionInformation) = 0;
    virtual HDC GetDC(HWND hWnd) = 0;
    virtual int ReleaseDC(HWND hWnd, HDC hDC) = 0;
    virtual int GetDeviceCaps(HDC hdc, int index) = 0;
    virtual HWND GetDesktopWindow() = 0;
    virtual HDC GetWindowDC(HWND hWnd) = 0;
    virtual HANDLE GetCurrentProcess() = 0;
    virtual BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW lpVersionInformation, DWORD dwTypeMask,
                                    DWORDLONG dwlConditionMask) = 0;
    virtual int GetLocaleInfoW(LCID Locale, LCTYPE LCType, LPWSTR lpLCData, int cchData) = 0;
    virtual DWORD GetPrivateProfileStringW(LPCWSTR lpAppName, LPCWSTR lpKeyName, LPCWSTR lpDefault,
                                           LPWSTR lpReturnedString, DWORD nSize, LPCWSTR lpFileName) = 0;
    virtual BOOL WritePrivateProfileStringW(LPCWSTR lpAppName, LPCWSTR lpKeyName, LPCWSTR lpString,
                                            LPCWSTR lpFileName) = 0;
    virtual FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) = 0;
    virtual HMODULE GetModuleHandleW(LPCWSTR lpModuleName) = 0;
    virtual HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName) = 0;
    virtual BOOL CloseHandle(HANDLE hObject) = 0;
    virtual DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) = 0;
    virtual BOOL ReleaseMutex(HANDLE hMutex) = 0;
    virtual BOOL SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate) = 0;
    ///@}
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CWinApi : public IWinApi
{
public:
    HINTERNET InternetOpenW(LPCWSTR lpszAgent, DWORD dwAccessType, LPCWSTR lpszProxy, LPCWSTR lpszProxyBypass,
                            DWORD dwFlags) override;
    BOOL InternetSetOptionW(HINTERNET hInternet, DWORD dwOption, LPVOID lpBuffer, DWORD dwBufferLength) override;
    HINTERNET InternetConnectW(HINTERNET hInternet, LPCWSTR lpszServerName, INTERNET_PORT nServerPort,
                               LPCWSTR lpszUserName, LPCWSTR lpszPassword, DWORD dwService, DWORD dwFlags,
                               DWORD_PTR dwContext) override;
    BOOL InternetCloseHandle(HINTERNET hInternet) override;
    HINTERNET HttpOpenRequestW(HINTERNET hConnect, LPCWSTR lpszVerb, LPCWSTR lpszObjectName, LPCWSTR lpszVersion,
                               LPCWSTR lpszReferrer, LPCWSTR* lplpszAcceptTypes, DWORD dwFlags,
                               DWORD_PTR dwContext) override;
    BOOL HttpSendRequestW(HINTERNET hRequest, LPCWSTR lpszHeaders, DWORD dwHeadersLength, LPVOID lpOptional,
                          DWORD dwOptionalLength) override;
    BOOL HttpQueryInfoW(HINTERNET hRequest, DWORD dwInfoLevel, LPVOID lpBuffer, LPDWORD lpdwBufferLength,
                        LPDWORD lpdwIndex) override;
    BOOL InternetGetConnectedState(LPDWORD lpdwFlags, DWORD dwReserved) override;
    BOOL GetVersionExW(LPOSVERSIONINFOW lpVersionInformation) override;
    HDC GetDC(HWND hWnd) override;
    int ReleaseDC(HWND hWnd, HDC hDC) override;
    int GetDeviceCaps(HDC hdc, int index) override;
    HWND GetDesktopWindow() override;
    HDC GetWindowDC(HWND hWnd) override;
    HANDLE GetCurrentProcess() override;
    BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW lpVersionInformation, DWORD dwTypeMask,
                            DWORDLONG dwlConditionMask) override;
    int GetLocaleInfoW(LCID Locale, LCTYPE LCType, LPWSTR lpLCData, int cchData) override;
    DWORD GetPrivateProfileStringW(LPCWSTR lpAppName, LPCWSTR lpKeyName, LPCWSTR lpDefault, LPWSTR lpReturnedString,
                                   DWORD nSize, LPCWSTR lpFileName) override;
    BOOL WritePrivateProfileStringW(LPCWSTR lpAppName, LPCWSTR lpKeyName, LPCWSTR lpString,
                                    LPCWSTR lpFileName) override;
    FARPROC GetProcAddress(HMODULE hModule, LPCSTR lpProcName) override;
    HMODULE GetModuleHandleW(LPCWSTR lpModuleName) override;
    HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName) override;
    BOOL CloseHandle(HANDLE hObject) override;
    DWORD WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds) override;
    BOOL ReleaseMutex(HANDLE hMutex) override;
    BOOL SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IWinApi* g_winApi;
} // namespace KVWinApi
