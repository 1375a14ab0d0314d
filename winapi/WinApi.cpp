#include "winapi/WinApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CWinApi s_winApi;
} // namespace

constinit IWinApi* g_winApi = &s_winApi;

HINTERNET CWinApi::InternetOpenW(LPCWSTR lpszAgent, DWORD dwAccessType, LPCWSTR lpszProxy, LPCWSTR lpszProxyBypass,
                                 DWORD dwFlags)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, InternetOpenW)
        .Or(nullptr)(lpszAgent, dwAccessType, lpszProxy, lpszProxyBypass, dwFlags);
}

BOOL CWinApi::InternetSetOptionW(HINTERNET hInternet, DWORD dwOption, LPVOID lpBuffer, DWORD dwBufferLength)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, InternetSetOptionW)
        .Or(FALSE)(hInternet, dwOption, lpBuffer, dwBufferLength);
}

HINTERNET CWinApi::InternetConnectW(HINTERNET hInternet, LPCWSTR lpszServerName, INTERNET_PORT nServerPort,
                                    LPCWSTR lpszUserName, LPCWSTR lpszPassword, DWORD dwService, DWORD dwFlags,
                                    DWORD_PTR dwContext)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, InternetConnectW)
        .Or(nullptr)(hInternet, lpszServerName, nServerPort, lpszUserName, lpszPassword, dwService, dwFlags, dwContext);
}

BOOL CWinApi::InternetCloseHandle(HINTERNET hInternet)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, InternetCloseHandle).Or(FALSE)(hInternet);
}

HINTERNET CWinApi::HttpOpenRequestW(HINTERNET hConnect, LPCWSTR lpszVerb, LPCWSTR lpszObjectName, LPCWSTR lpszVersion,
                                    LPCWSTR lpszReferrer, LPCWSTR* lplpszAcceptTypes, DWORD dwFlags,
                                    DWORD_PTR dwContext)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, HttpOpenRequestW)
        .Or(nullptr)(hConnect, lpszVerb, lpszObjectName, lpszVersion, lpszReferrer, lplpszAcceptTypes, dwFlags,
                     dwContext);
}

BOOL CWinApi::HttpSendRequestW(HINTERNET hRequest, LPCWSTR lpszHeaders, DWORD dwHeadersLength, LPVOID lpOptional,
                               DWORD dwOptionalLength)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, HttpSendRequestW)
        .Or(FALSE)(hRequest, lpszHeaders, dwHeadersLength, lpOptional, dwOptionalLength);
}

BOOL CWinApi::HttpQueryInfoW(HINTERNET hRequest, DWORD dwInfoLevel, LPVOID lpBuffer, LPDWORD lpdwBufferLength,
                             LPDWORD lpdwIndex)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, HttpQueryInfoW)
        .Or(FALSE)(hRequest, dwInfoLevel, lpBuffer, lpdwBufferLength, lpdwIndex);
}

BOOL CWinApi::InternetGetConnectedState(LPDWORD lpdwFlags, DWORD dwReserved)
{
    return KV_SYSTEM_FUNCTION(g_winInetDll, InternetGetConnectedState).Or(FALSE)(lpdwFlags, dwReserved);
}

BOOL CWinApi::GetVersionExW(LPOSVERSIONINFOW lpVersionInformation)
{
    return ::GetVersionExW(lpVersionInformation);
}

HDC CWinApi::GetDC(HWND hWnd)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetDC).Or(nullptr)(hWnd);
}

int CWinApi::ReleaseDC(HWND hWnd, HDC hDC)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, ReleaseDC).Or(0)(hWnd, hDC);
}

int CWinApi::GetDeviceCaps(HDC hdc, int index)
{
    return KV_SYSTEM_FUNCTION(g_gdi32Dll, GetDeviceCaps).Or(0)(hdc, index);
}

HWND CWinApi::GetDesktopWindow()
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetDesktopWindow).Or(nullptr)();
}

HDC CWinApi::GetWindowDC(HWND hWnd)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetWindowDC).Or(nullptr)(hWnd);
}

HANDLE CWinApi::GetCurrentProcess()
{
    return ::GetCurrentProcess();
}

BOOL CWinApi::VerifyVersionInfoW(LPOSVERSIONINFOEXW lpVersionInformation, DWORD dwTypeMask, DWORDLONG dwlConditionMask)
{
    return ::VerifyVersionInfoW(lpVersionInformation, dwTypeMask, dwlConditionMask);
}

int CWinApi::GetLocaleInfoW(LCID Locale, LCTYPE LCType, LPWSTR lpLCData, int cchData)
{
    return ::GetLocaleInfoW(Locale, LCType, lpLCData, cchData);
}

DWORD CWinApi::GetPrivateProfileStringW(LPCWSTR lpAppName, LPCWSTR lpKeyName, LPCWSTR lpDefault,
                                        LPWSTR lpReturnedString, DWORD nSize, LPCWSTR lpFileName)
{
    return ::GetPrivateProfileStringW(lpAppName, lpKeyName, lpDefault, lpReturnedString, nSize, lpFileName);
}

BOOL CWinApi::WritePrivateProfileStringW(LPCWSTR lpAppName, LPCWSTR lpKeyName, LPCWSTR lpString, LPCWSTR lpFileName)
{
    return ::WritePrivateProfileStringW(lpAppName, lpKeyName, lpString, lpFileName);
}

FARPROC CWinApi::GetProcAddress(HMODULE hModule, LPCSTR lpProcName)
{
    return ::GetProcAddress(hModule, lpProcName);
}

HMODULE CWinApi::GetModuleHandleW(LPCWSTR lpModuleName)
{
    return ::GetModuleHandleW(lpModuleName);
}

HANDLE CWinApi::CreateMutexW(LPSECURITY_ATTRIBUTES lpMutexAttributes, BOOL bInitialOwner, LPCWSTR lpName)
{
    return ::CreateMutexW(lpMutexAttributes, bInitialOwner, lpName);
}

BOOL CWinApi::CloseHandle(HANDLE hObject)
{
    return ::CloseHandle(hObject);
}

DWORD CWinApi::WaitForSingleObject(HANDLE hHandle, DWORD dwMilliseconds)
{
    return ::WaitForSingleObject(hHandle, dwMilliseconds);
}

BOOL CWinApi::ReleaseMutex(HANDLE hMutex)
{
    return ::ReleaseMutex(hMutex);
}

BOOL CWinApi::SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate)
{
    return KV_SYSTEM_FUNCTION(g_shell32Dll, SHGetSpecialFolderPathW).Or(FALSE)(hwnd, pszPath, csidl, fCreate);
}
} // namespace KVWinApi
