#include "winapi/UserApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CUserApi s_userApi;
} // namespace

constinit IUserApi* g_userApi = &s_userApi;

HWINSTA CUserApi::OpenWindowStationW(LPCWSTR lpszWinSta, BOOL fInherit, ACCESS_MASK dwDesiredAccess)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, OpenWindowStationW), lpszWinSta, fInherit, dwDesiredAccess);
}

BOOL CUserApi::CloseWindowStation(HWINSTA hWinSta)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, CloseWindowStation), hWinSta);
}

HWINSTA CUserApi::GetProcessWindowStation()
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetProcessWindowStation));
}

BOOL CUserApi::SetProcessWindowStation(HWINSTA hWinSta)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, SetProcessWindowStation), hWinSta);
}

HDESK CUserApi::GetThreadDesktop(DWORD dwThreadId)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetThreadDesktop), dwThreadId);
}

BOOL CUserApi::SetThreadDesktop(HDESK hDesktop)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, SetThreadDesktop), hDesktop);
}

HDESK CUserApi::OpenDesktopW(LPCWSTR lpszDesktop, DWORD dwFlags, BOOL fInherit, ACCESS_MASK dwDesiredAccess)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, OpenDesktopW), lpszDesktop, dwFlags, fInherit, dwDesiredAccess);
}

BOOL CUserApi::CloseDesktop(HDESK hDesktop)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, CloseDesktop), hDesktop);
}

BOOL CUserApi::ExitWindowsEx(UINT uFlags, DWORD dwReason)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, ExitWindowsEx), uFlags, dwReason);
}

BOOL CUserApi::AllowSetForegroundWindow(DWORD dwProcessId)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, AllowSetForegroundWindow), dwProcessId);
}

BOOL CUserApi::GetUserNameW(LPWSTR lpBuffer, LPDWORD pcbBuffer)
{
    return ::GetUserNameW(lpBuffer, pcbBuffer);
}

BOOLEAN CUserApi::GetUserNameExW(EXTENDED_NAME_FORMAT NameFormat, LPWSTR lpNameBuffer, PULONG nSize)
{
    return Call(KV_SYSTEM_FUNCTION(g_secur32Dll, GetUserNameExW), NameFormat, lpNameBuffer, nSize);
}

BOOL CUserApi::PeekMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, PeekMessageW), lpMsg, hWnd, wMsgFilterMin, wMsgFilterMax, wRemoveMsg);
}

DWORD CUserApi::MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                          DWORD dwWakeMask)
{
    return CallOr(WAIT_FAILED, KV_SYSTEM_FUNCTION(g_user32Dll, MsgWaitForMultipleObjects), nCount, pHandles, fWaitAll,
                  dwMilliseconds, dwWakeMask);
}

int CUserApi::GetSystemMetrics(int nIndex)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetSystemMetrics), nIndex);
}

BOOL CUserApi::SystemParametersInfoW(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, SystemParametersInfoW), uiAction, uiParam, pvParam, fWinIni);
}

HICON CUserApi::LoadIconW(HINSTANCE hInstance, LPCWSTR lpIconName)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, LoadIconW), hInstance, lpIconName);
}

BOOL CUserApi::DestroyIcon(HICON hIcon)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, DestroyIcon), hIcon);
}

UINT CUserApi::RegisterWindowMessageW(LPCWSTR lpString)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, RegisterWindowMessageW), lpString);
}

UINT_PTR CUserApi::SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, SetTimer), hWnd, nIDEvent, uElapse, lpTimerFunc);
}

BOOL CUserApi::GetMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax)
{
    return CallOr(-1, KV_SYSTEM_FUNCTION(g_user32Dll, GetMessageW), lpMsg, hWnd, wMsgFilterMin, wMsgFilterMax);
}

BOOL CUserApi::SendMessageCallbackW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam, SENDASYNCPROC lpResultCallBack,
                                    ULONG_PTR dwData)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, SendMessageCallbackW), hWnd, Msg, wParam, lParam, lpResultCallBack,
                dwData);
}

SHORT CUserApi::GetKeyState(int nVirtKey)
{
    return Call(KV_SYSTEM_FUNCTION(g_user32Dll, GetKeyState), nVirtKey);
}
} // namespace KVWinApi
