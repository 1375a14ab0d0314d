#include "logging/settings/RegistryKey.h"

namespace KVLogging
{
namespace
{
constexpr REGSAM kAccess = KEY_READ; // 0x20019, the default view of the process
} // namespace

CRegistryKey CRegistryKey::Open(const std::wstring& path, HKEY hive) noexcept
{
    HKEY key = nullptr;
    const LSTATUS status = ::RegOpenKeyExW(hive, path.c_str(), 0, kAccess, &key);
    return CRegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

CRegistryKey CRegistryKey::OpenOrCreate(const std::wstring& path) noexcept
{
    HKEY key = nullptr;
    const LSTATUS status = ::RegCreateKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                             kAccess, nullptr, &key, nullptr);
    return CRegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

std::optional<std::uint32_t> CRegistryKey::ReadDword(const wchar_t* valueName) const noexcept
{
    DWORD type = REG_NONE;
    DWORD value = 0;
    DWORD byteCount = sizeof(value);
    const LSTATUS status =
        ::RegQueryValueExW(m_key.Get(), valueName, nullptr, &type, reinterpret_cast<BYTE*>(&value), &byteCount);
    if (status != ERROR_SUCCESS || type != REG_DWORD || byteCount != sizeof(value))
    {
        return std::nullopt;
    }
    return value;
}

std::optional<std::wstring> CRegistryKey::ReadString(const wchar_t* valueName) const
{
    constexpr int kMaxTries = 8; // in case another program makes the text longer before each try
    std::wstring text(MAX_PATH, L'\0');
    for (int i = 0; i < kMaxTries; ++i)
    {
        DWORD type = REG_NONE;
        DWORD byteCount = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        const LSTATUS status = ::RegQueryValueExW(m_key.Get(), valueName, nullptr, &type,
                                                  reinterpret_cast<BYTE*>(text.data()), &byteCount);
        if (status == ERROR_MORE_DATA && type == REG_SZ)
        {
            text.assign(byteCount / sizeof(wchar_t) + 1, L'\0'); // one more: it may have grown again by the next try
            continue;
        }
        if (status != ERROR_SUCCESS || type != REG_SZ)
        {
            return std::nullopt;
        }
        text.resize(byteCount / sizeof(wchar_t));
        text.resize(::wcsnlen(text.c_str(), text.size()));
        return text;
    }
    return std::nullopt;
}

std::vector<std::wstring> CRegistryKey::GetSubkeyNames() const
{
    constexpr DWORD kMaxKeyName = 255; // the registry's own bound
    std::vector<std::wstring> names;
    for (DWORD index = 0;; ++index)
    {
        wchar_t name[kMaxKeyName + 1] = {};
        DWORD length = kMaxKeyName + 1;
        if (::RegEnumKeyExW(m_key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
        {
            return names;
        }
        names.emplace_back(name, length);
    }
}
} // namespace KVLogging
