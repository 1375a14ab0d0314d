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
    return KV_SYSTEM_FUNCTION(g_user32Dll, OpenWindowStationW).Or(nullptr)(lpszWinSta, fInherit, dwDesiredAccess);
}

BOOL CUserApi::CloseWindowStation(HWINSTA hWinSta)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, CloseWindowStation).Or(FALSE)(hWinSta);
}

HWINSTA CUserApi::GetProcessWindowStation()
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetProcessWindowStation).Or(nullptr)();
}

BOOL CUserApi::SetProcessWindowStation(HWINSTA hWinSta)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, SetProcessWindowStation).Or(FALSE)(hWinSta);
}

HDESK CUserApi::GetThreadDesktop(DWORD dwThreadId)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetThreadDesktop).Or(nullptr)(dwThreadId);
}

BOOL CUserApi::SetThreadDesktop(HDESK hDesktop)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, SetThreadDesktop).Or(FALSE)(hDesktop);
}

HDESK CUserApi::OpenDesktopW(LPCWSTR lpszDesktop, DWORD dwFlags, BOOL fInherit, ACCESS_MASK dwDesiredAccess)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, OpenDesktopW).Or(nullptr)(lpszDesktop, dwFlags, fInherit, dwDesiredAccess);
}

BOOL CUserApi::CloseDesktop(HDESK hDesktop)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, CloseDesktop).Or(FALSE)(hDesktop);
}

BOOL CUserApi::ExitWindowsEx(UINT uFlags, DWORD dwReason)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, ExitWindowsEx).Or(FALSE)(uFlags, dwReason);
}

BOOL CUserApi::AllowSetForegroundWindow(DWORD dwProcessId)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, AllowSetForegroundWindow).Or(FALSE)(dwProcessId);
}

BOOL CUserApi::GetUserNameW(LPWSTR lpBuffer, LPDWORD pcbBuffer)
{
    return ::GetUserNameW(lpBuffer, pcbBuffer);
}

BOOLEAN CUserApi::GetUserNameExW(EXTENDED_NAME_FORMAT NameFormat, LPWSTR lpNameBuffer, PULONG nSize)
{
    return KV_SYSTEM_FUNCTION(g_secur32Dll, GetUserNameExW).Or(FALSE)(NameFormat, lpNameBuffer, nSize);
}

BOOL CUserApi::PeekMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, PeekMessageW)
        .Or(FALSE)(lpMsg, hWnd, wMsgFilterMin, wMsgFilterMax, wRemoveMsg);
}

DWORD CUserApi::MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                          DWORD dwWakeMask)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, MsgWaitForMultipleObjects)
        .Or(WAIT_FAILED)(nCount, pHandles, fWaitAll, dwMilliseconds, dwWakeMask);
}

int CUserApi::GetSystemMetrics(int nIndex)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetSystemMetrics).Or(0)(nIndex);
}

BOOL CUserApi::SystemParametersInfoW(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, SystemParametersInfoW).Or(FALSE)(uiAction, uiParam, pvParam, fWinIni);
}

HICON CUserApi::LoadIconW(HINSTANCE hInstance, LPCWSTR lpIconName)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, LoadIconW).Or(nullptr)(hInstance, lpIconName);
}

BOOL CUserApi::DestroyIcon(HICON hIcon)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, DestroyIcon).Or(FALSE)(hIcon);
}

UINT CUserApi::RegisterWindowMessageW(LPCWSTR lpString)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, RegisterWindowMessageW).Or(0)(lpString);
}

UINT_PTR CUserApi::SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, SetTimer).Or(0)(hWnd, nIDEvent, uElapse, lpTimerFunc);
}

BOOL CUserApi::GetMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetMessageW).Or(-1)(lpMsg, hWnd, wMsgFilterMin, wMsgFilterMax);
}

BOOL CUserApi::SendMessageCallbackW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam, SENDASYNCPROC lpResultCallBack,
                                    ULONG_PTR dwData)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, SendMessageCallbackW)
        .Or(FALSE)(hWnd, Msg, wParam, lParam, lpResultCallBack, dwData);
}

SHORT CUserApi::GetKeyState(int nVirtKey)
{
    return KV_SYSTEM_FUNCTION(g_user32Dll, GetKeyState).Or(0)(nVirtKey);
}
} // namespace KVWinApi
