#include "winapi/ShellApi.h"

#include "winapi/base/SystemLibraries.h"
#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CShellApi s_shellApi;

// The result of ShellExecuteW is a handle in type only: a value up to 32 is an error code.
HINSTANCE DllNotFound() noexcept
{
    return reinterpret_cast<HINSTANCE>(static_cast<INT_PTR>(SE_ERR_DLLNOTFOUND));
}
} // namespace

constinit IShellApi* g_shellApi = &s_shellApi;

BOOL CShellApi::ShellExecuteExW(SHELLEXECUTEINFOW* pExecInfo)
{
    return Call(KV_SYSTEM_FUNCTION(g_shell32Dll, ShellExecuteExW), pExecInfo);
}

HINSTANCE CShellApi::ShellExecuteW(HWND hwnd, LPCWSTR lpOperation, LPCWSTR lpFile, LPCWSTR lpParameters,
                                   LPCWSTR lpDirectory, INT nShowCmd)
{
    return CallOr(DllNotFound(), KV_SYSTEM_FUNCTION(g_shell32Dll, ShellExecuteW), hwnd, lpOperation, lpFile,
                  lpParameters, lpDirectory, nShowCmd);
}

HRESULT CShellApi::SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath)
{
    return Call(KV_SYSTEM_FUNCTION(g_shell32Dll, SHGetFolderPathW), hwnd, csidl, hToken, dwFlags, pszPath);
}

BOOL CShellApi::SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate)
{
    return Call(KV_SYSTEM_FUNCTION(g_shell32Dll, SHGetSpecialFolderPathW), hwnd, pszPath, csidl, fCreate);
}

HICON CShellApi::ExtractIconW(HINSTANCE hInst, LPCWSTR pszExeFileName, UINT nIconIndex)
{
    return Call(KV_SYSTEM_FUNCTION(g_shell32Dll, ExtractIconW), hInst, pszExeFileName, nIconIndex);
}
} // namespace KVWinApi
