#include "winapi/ShellApi.h"

#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CShellApi s_shellApi;
} // namespace

constinit IShellApi* g_shellApi = &s_shellApi;

BOOL CShellApi::ShellExecuteExW(SHELLEXECUTEINFOW* pExecInfo)
{
    return ::ShellExecuteExW(pExecInfo);
}

HINSTANCE CShellApi::ShellExecuteW(HWND hwnd, LPCWSTR lpOperation, LPCWSTR lpFile, LPCWSTR lpParameters,
                                   LPCWSTR lpDirectory, INT nShowCmd)
{
    return ::ShellExecuteW(hwnd, lpOperation, lpFile, lpParameters, lpDirectory, nShowCmd);
}

HRESULT CShellApi::SHGetFolderPathW(HWND hwnd, int csidl, HANDLE hToken, DWORD dwFlags, LPWSTR pszPath)
{
    return ::SHGetFolderPathW(hwnd, csidl, hToken, dwFlags, pszPath);
}

BOOL CShellApi::SHGetSpecialFolderPathW(HWND hwnd, LPWSTR pszPath, int csidl, BOOL fCreate)
{
    return ::SHGetSpecialFolderPathW(hwnd, pszPath, csidl, fCreate);
}

HICON CShellApi::ExtractIconW(HINSTANCE hInst, LPCWSTR pszExeFileName, UINT nIconIndex)
{
    return ::ExtractIconW(hInst, pszExeFileName, nIconIndex);
}
} // namespace KVWinApi
