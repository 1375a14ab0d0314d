#include "winapi/RegistryApi.h"

#include "winapi/FacadeInstance.h"

namespace KVWinApi
{
namespace
{
KV_FACADE_INSTANCE CRegistryApi s_registryApi;
} // namespace

constinit IRegistryApi* g_registryApi = &s_registryApi;

LONG CRegistryApi::RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, PHKEY phkResult)
{
    return ::RegOpenKeyExW(hKey, lpSubKey, 0, samDesired, phkResult);
}

LONG CRegistryApi::RegCloseKey(HKEY hKey)
{
    return ::RegCloseKey(hKey);
}

LONG CRegistryApi::RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions,
                                   REGSAM samDesired, LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                                   LPDWORD lpdwDisposition)
{
    return ::RegCreateKeyExW(hKey, lpSubKey, Reserved, lpClass, dwOptions, samDesired, lpSecurityAttributes, phkResult,
                             lpdwDisposition);
}

LONG CRegistryApi::RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey)
{
    return ::RegDeleteKeyW(hKey, lpSubKey);
}

LONG CRegistryApi::RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                                    LPDWORD lpcbData)
{
    return ::RegQueryValueExW(hKey, lpValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG CRegistryApi::RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                                  DWORD cbData)
{
    return ::RegSetValueExW(hKey, lpValueName, Reserved, dwType, lpData, cbData);
}

LONG CRegistryApi::RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName)
{
    return ::RegDeleteValueW(hKey, lpValueName);
}

LONG CRegistryApi::RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                                 LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime)
{
    return ::RegEnumKeyExW(hKey, dwIndex, lpName, lpcchName, lpReserved, lpClass, lpcchClass, lpftLastWriteTime);
}

LONG CRegistryApi::RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName,
                                 LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData)
{
    return ::RegEnumValueW(hKey, dwIndex, lpValueName, lpcchValueName, lpReserved, lpType, lpData, lpcbData);
}

LONG CRegistryApi::RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved,
                                    LPDWORD lpcSubKeys, LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen,
                                    LPDWORD lpcValues, LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen,
                                    LPDWORD lpcbSecurityDescriptor, PFILETIME lpftLastWriteTime)
{
    return ::RegQueryInfoKeyW(hKey, lpClass, lpcchClass, lpReserved, lpcSubKeys, lpcbMaxSubKeyLen, lpcbMaxClassLen,
                              lpcValues, lpcbMaxValueNameLen, lpcbMaxValueLen, lpcbSecurityDescriptor,
                              lpftLastWriteTime);
}
} // namespace KVWinApi
