#pragma once

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace KVLogging
{
/// A key of the current user's hive, open for reading, or none. Closed by the destructor. A value that is absent, of
/// another type or unreadable reads as nothing.
class CRegistryKey
{
public:
    /// Opens the key (`RegOpenKeyExW`), or makes it when it is missing (`RegCreateKeyExW`).
    static CRegistryKey Open(const std::wstring& path) noexcept;
    static CRegistryKey OpenOrCreate(const std::wstring& path) noexcept;

    CRegistryKey(CRegistryKey&& other) noexcept;
    CRegistryKey& operator=(CRegistryKey&&) = delete;
    CRegistryKey(const CRegistryKey&) = delete;
    CRegistryKey& operator=(const CRegistryKey&) = delete;
    ~CRegistryKey();

    bool IsOpen() const noexcept { return m_key != nullptr; }
    /// REG_DWORD.
    std::optional<std::uint32_t> ReadDword(const wchar_t* valueName) const noexcept;
    /// REG_SZ, up to the first zero character, whether the stored text ends with one or not.
    std::optional<std::wstring> ReadString(const wchar_t* valueName) const;
    std::vector<std::wstring> GetSubkeyNames() const;

private:
    explicit CRegistryKey(HKEY key) noexcept : m_key(key) {}

    HKEY m_key;
};
} // namespace KVLogging
