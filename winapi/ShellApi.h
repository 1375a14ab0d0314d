#pragma once

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

namespace KVWinApi
{
/// Shell execution, special folders and icons (shell32).
///
/// Declaration order is slot order and part of the interface.
class IShellApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual BOOL ShellExecuteExW(SHELLEXECUTEINFOW* pExecInfo) = 0;
    virtual HINSTANCE ShellExecuteW(HWND hwnd, LPCWSTR lpOperation, LPCWSTR lpFile, LPCWSTR lpParameters,
                                    LPCWSTR lpDirectory, INT nShowCmd) = 0;
    virtual HRESULT SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath) = 0;
    virtual BOOL SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate) = 0;
    virtual HICON ExtractIconW(HINSTANCE hInst, LPCWSTR pszExeFileName, UINT nIconIndex) = 0;
    ///@}

    virtual ~IShellApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CShellApi : public IShellApi
{
public:
    BOOL ShellExecuteExW(SHELLEXECUTEINFOW* pExecInfo) override;
    HINSTANCE ShellExecuteW(HWND hwnd, LPCWSTR lpOperation, LPCWSTR lpFile, LPCWSTR lpParameters, LPCWSTR lpDirectory,
                            INT nShowCmd) override;
    HRESULT SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath) override;
    BOOL SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate) override;
    HICON ExtractIconW(HINSTANCE hInst, LPCWSTR pszExeFileName, UINT nIconIndex) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IShellApi* g_shellApi;
} // namespace KVWinApi
