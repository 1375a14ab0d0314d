#pragma once

#include <windows.h>

namespace KVWinApi
{
/// Registry (advapi32). Results are error codes, ERROR_SUCCESS for success; the last error is not used.
///
/// Deliberate: RegOpenKeyExW has no options parameter. No caller needs an option, and the system always receives 0.
///
/// Declaration order is slot order and part of the interface.
class IRegistryApi
{
public:
    /// The system function of this name, with its arguments and its result, except where stated above.
    ///@{
    virtual LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, PHKEY phkResult) = 0;
    virtual LONG RegCloseKey(HKEY hKey) = 0;
    virtual LONG RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions,
                                 REGSAM samDesired, LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                                 LPDWORD lpdwDisposition) = 0;
    virtual LONG RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) = 0;
    virtual LONG RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                                  LPDWORD lpcbData) = 0;
    virtual LONG RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                                DWORD cbData) = 0;
    virtual LONG RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) = 0;
    virtual LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved,
                               LPWSTR lpClass, LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) = 0;
    virtual LONG RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                               LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) = 0;
    virtual LONG RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys,
                                  LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                                  LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                                  PFILETIME lpftLastWriteTime) = 0;
    ///@}

    virtual ~IRegistryApi() = default;
};

/// Forwards every operation to the system. Stateless and therefore safe on any thread.
class CRegistryApi : public IRegistryApi
{
public:
    LONG RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, REGSAM samDesired, PHKEY phkResult) override;
    LONG RegCloseKey(HKEY hKey) override;
    LONG RegCreateKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD Reserved, LPWSTR lpClass, DWORD dwOptions,
                         REGSAM samDesired, LPSECURITY_ATTRIBUTES lpSecurityAttributes, PHKEY phkResult,
                         LPDWORD lpdwDisposition) override;
    LONG RegDeleteKeyW(HKEY hKey, LPCWSTR lpSubKey) override;
    LONG RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD lpReserved, LPDWORD lpType, LPBYTE lpData,
                          LPDWORD lpcbData) override;
    LONG RegSetValueExW(HKEY hKey, LPCWSTR lpValueName, DWORD Reserved, DWORD dwType, const BYTE* lpData,
                        DWORD cbData) override;
    LONG RegDeleteValueW(HKEY hKey, LPCWSTR lpValueName) override;
    LONG RegEnumKeyExW(HKEY hKey, DWORD dwIndex, LPWSTR lpName, LPDWORD lpcchName, LPDWORD lpReserved, LPWSTR lpClass,
                       LPDWORD lpcchClass, PFILETIME lpftLastWriteTime) override;
    LONG RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD lpReserved,
                       LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData) override;
    LONG RegQueryInfoKeyW(HKEY hKey, LPWSTR lpClass, LPDWORD lpcchClass, LPDWORD lpReserved, LPDWORD lpcSubKeys,
                          LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                          LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                          PFILETIME lpftLastWriteTime) override;
};

/// The current facade, never null. Read it at each call and keep no copy: a substitute redirects the whole process.
extern constinit IRegistryApi* g_registryApi;
} // namespace KVWinApi
