#pragma once

#include <windows.h>

#ifndef SECURITY_WIN32
#define SECURITY_WIN32 // <security.h> wants to know which of its users it serves
#endif
#include <security.h>

namespace KVWinApi
{
/// Window stations, desktops, messages and user names (user32; advapi32 and secur32 for the names).
///
/// Declaration order is slot order and part of the interface.
class IUserApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual HWINSTA OpenWindowStationW(LPCWSTR lpszWinSta, BOOL fInherit, ACCESS_MASK dwDesiredAccess) = 0;
    virtual BOOL CloseWindowStation(HWINSTA hWinSta) = 0;
    virtual HWINSTA GetProcessWindowStation() = 0;
    virtual BOOL SetProcessWindowStation(HWINSTA hWinSta) = 0;
    virtual HDESK GetThreadDesktop(DWORD dwThreadId) = 0;
    virtual BOOL SetThreadDesktop(HDESK hDesktop) = 0;
    virtual HDESK OpenDesktopW(LPCWSTR lpszDesktop, DWORD dwFlags, BOOL fInherit, ACCESS_MASK dwDesiredAccess) = 0;
    virtual BOOL CloseDesktop(HDESK hDesktop) = 0;
    virtual BOOL ExitWindowsEx(UINT uFlags, DWORD dwReason) = 0;
    virtual BOOL AllowSetForegroundWindow(DWORD dwProcessId) = 0;
    virtual BOOL GetUserNameW(LPWSTR lpBuffer, LPDWORD pcbBuffer) = 0;
    virtual BOOLEAN GetUserNameExW(EXTENDED_NAME_FORMAT NameFormat, LPWSTR lpNameBuffer, PULONG nSize) = 0;
    virtual BOOL PeekMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg) = 0;
    virtual DWORD MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                            DWORD dwWakeMask) = 0;
    virtual int GetSystemMetrics(int nIndex) = 0;
    virtual BOOL SystemParametersInfoW(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni) = 0;
    virtual HICON LoadIconW(HINSTANCE hInstance, LPCWSTR lpIconName) = 0;
    virtual BOOL DestroyIcon(HICON hIcon) = 0;
    virtual UINT RegisterWindowMessageW(LPCWSTR lpString) = 0;
    virtual UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc) = 0;
    virtual BOOL GetMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax) = 0;
    virtual BOOL SendMessageCallbackW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam, SENDASYNCPROC lpResultCallBack,
                                      ULONG_PTR dwData) = 0;
    virtual SHORT GetKeyState(int nVirtKey) = 0;
    ///@}

    virtual ~IUserApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CUserApi : public IUserApi
{
public:
    HWINSTA OpenWindowStationW(LPCWSTR lpszWinSta, BOOL fInherit, ACCESS_MASK dwDesiredAccess) override;
    BOOL CloseWindowStation(HWINSTA hWinSta) override;
    HWINSTA GetProcessWindowStation() override;
    BOOL SetProcessWindowStation(HWINSTA hWinSta) override;
    HDESK GetThreadDesktop(DWORD dwThreadId) override;
    BOOL SetThreadDesktop(HDESK hDesktop) override;
    HDESK OpenDesktopW(LPCWSTR lpszDesktop, DWORD dwFlags, BOOL fInherit, ACCESS_MASK dwDesiredAccess) override;
    BOOL CloseDesktop(HDESK hDesktop) override;
    BOOL ExitWindowsEx(UINT uFlags, DWORD dwReason) override;
    BOOL AllowSetForegroundWindow(DWORD dwProcessId) override;
    BOOL GetUserNameW(LPWSTR lpBuffer, LPDWORD pcbBuffer) override;
    BOOLEAN GetUserNameExW(EXTENDED_NAME_FORMAT NameFormat, LPWSTR lpNameBuffer, PULONG nSize) override;
    BOOL PeekMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax, UINT wRemoveMsg) override;
    DWORD MsgWaitForMultipleObjects(DWORD nCount, const HANDLE* pHandles, BOOL fWaitAll, DWORD dwMilliseconds,
                                    DWORD dwWakeMask) override;
    int GetSystemMetrics(int nIndex) override;
    BOOL SystemParametersInfoW(UINT uiAction, UINT uiParam, PVOID pvParam, UINT fWinIni) override;
    HICON LoadIconW(HINSTANCE hInstance, LPCWSTR lpIconName) override;
    BOOL DestroyIcon(HICON hIcon) override;
    UINT RegisterWindowMessageW(LPCWSTR lpString) override;
    UINT_PTR SetTimer(HWND hWnd, UINT_PTR nIDEvent, UINT uElapse, TIMERPROC lpTimerFunc) override;
    BOOL GetMessageW(LPMSG lpMsg, HWND hWnd, UINT wMsgFilterMin, UINT wMsgFilterMax) override;
    BOOL SendMessageCallbackW(HWND hWnd, UINT Msg, WPARAM wParam, LPARAM lParam, SENDASYNCPROC lpResultCallBack,
                              ULONG_PTR dwData) override;
    SHORT GetKeyState(int nVirtKey) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IUserApi* g_userApi;
} // namespace KVWinApi
