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
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, InternetOpenW), lpszAgent, dwAccessType, lpszProxy, lpszProxyBypass,
                dwFlags);
}

BOOL CWinApi::InternetSetOptionW(HINTERNET hInternet, DWORD dwOption, LPVOID lpBuffer, DWORD dwBufferLength)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, InternetSetOptionW), hInternet, dwOption, lpBuffer, dwBufferLength);
}

HINTERNET CWinApi::InternetConnectW(HINTERNET hInternet, LPCWSTR lpszServerName, INTERNET_PORT nServerPort,
                                    LPCWSTR lpszUserName, LPCWSTR lpszPassword, DWORD dwService, DWORD dwFlags,
                                    DWORD_PTR dwContext)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, InternetConnectW), hInternet, lpszServerName, nServerPort,
                lpszUserName, lpszPassword, dwService, dwFlags, dwContext);
}

BOOL CWinApi::InternetCloseHandle(HINTERNET hInternet)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, InternetCloseHandle), hInternet);
}

HINTERNET CWinApi::HttpOpenRequestW(HINTERNET hConnect, LPCWSTR lpszVerb, LPCWSTR lpszObjectName, LPCWSTR lpszVersion,
                                    LPCWSTR lpszReferrer, LPCWSTR* lplpszAcceptTypes, DWORD dwFlags,
                                    DWORD_PTR dwContext)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, HttpOpenRequestW), hConnect, lpszVerb, lpszObjectName, lpszVersion,
                lpszReferrer, lplpszAcceptTypes, dwFlags, dwContext);
}

BOOL CWinApi::HttpSendRequestW(HINTERNET hRequest, LPCWSTR lpszHeaders, DWORD dwHeadersLength, LPVOID lpOptional,
                               DWORD dwOptionalLength)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, HttpSendRequestW), hRequest, lpszHeaders, dwHeadersLength, lpOptional,
                dwOptionalLength);
}

BOOL CWinApi::HttpQueryInfoW(HINTERNET hRequest, DWORD dwInfoLevel, LPVOID lpBuffer, LPDWORD lpdwBufferLength,
                             LPDWORD lpdwIndex)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, HttpQueryInfoW), hRequest, dwInfoLevel, lpBuffer, lpdwBufferLength,
                lpdwIndex);
}

BOOL CWinApi::InternetGetConnectedState(LPDWORD lpdwFlags, DWORD dwReserved)
{
    return Call(KV_SYSTEM_FUNCTION(g_winInetDll, InternetGetConnectedState), lpdwFlags, dwReserved);
}

BOOL CWinApi::GetVersionExW(LPOSVERSIONINFOW lpVersionInformation)
{
    return ::GetVersionExW(lpVersionInformation);
}

HDC CWinApi::GetDC(HWND hWnd)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetDC), hWnd);
}

int CWinApi::ReleaseDC(HWND hWnd, HDC hDC)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, ReleaseDC), hWnd, hDC);
}

int CWinApi::GetDeviceCaps(HDC hdc, int index)
{
    return Call(KV_SYSTEM_FUNCTION(g_gdi32Dll, GetDeviceCaps), hdc, index);
}

HWND CWinApi::GetDesktopWindow()
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetDesktopWindow));
}

HDC CWinApi::GetWindowDC(HWND hWnd)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetWindowDC), hWnd);
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
    return Call(KV_SYSTEM_FUNCTION(g_shell32Dll, SHGetSpecialFolderPathW), hwnd, pszPath, csidl, fCreate);
}
} // namespace KVWinApi
