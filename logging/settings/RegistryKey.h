#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "winapi/base/SystemHandles.h"

namespace KVLogging
{
/// A key of the current user's hive, or of another one, open for reading, or none. Closed by the destructor. A value
/// that is absent, of another type or unreadable reads as nothing.
class CRegistryKey
{
public:
    /// Opens the key (`RegOpenKeyExW`); OpenOrCreate makes a missing one (`RegCreateKeyExW`).
    static CRegistryKey Open(const std::wstring& path, HKEY hive = HKEY_CURRENT_USER) noexcept;
    static CRegistryKey OpenOrCreate(const std::wstring& path) noexcept;

    bool IsOpen() const noexcept { return m_key.IsValid(); }
    /// REG_DWORD.
    std::optional<std::uint32_t> ReadDword(const wchar_t* valueName) const noexcept;
    /// REG_SZ, up to the first zero character if the stored text has one.
    std::optional<std::wstring> ReadString(const wchar_t* valueName) const;
    /// Whether there is a value of that name, of any type.
    bool HasValue(const wchar_t* valueName) const noexcept
    {
        return ::RegQueryValueExW(m_key.Get(), valueName, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    }
    std::vector<std::wstring> GetSubkeyNames() const;

private:
    explicit CRegistryKey(HKEY key) noexcept : m_key(key) {}

    KVWinApi::CUniqueSystemKey m_key;
};
} // namespace KVLogging
