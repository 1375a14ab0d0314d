#include "tests/support/RegistrySandbox.h"

#include <atomic>
#include <stdexcept>

namespace KVTest
{
namespace
{
std::atomic<unsigned> s_counter;

void Require(LONG result, const char* complaint)
{
    if (result != ERROR_SUCCESS)
    {
        throw std::runtime_error(complaint);
    }
}
} // namespace

RegistrySandbox::RegistrySandbox()
    : m_path(L"Software\\KVTest\\" + std::to_wstring(::GetCurrentProcessId()) + L"-" +
             std::to_wstring(::GetTickCount64()) + L"-" + std::to_wstring(s_counter++))
{
    Require(
        ::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_root, nullptr),
        "the sandbox key cannot be made");
    Require(::RegOverridePredefKey(HKEY_CURRENT_USER, m_root), "HKEY_CURRENT_USER cannot be redirected");
}

RegistrySandbox::~RegistrySandbox()
{
    ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
    ::RegCloseKey(m_root);
    ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());
}

void RegistrySandbox::SetDword(const std::wstring& key, const std::wstring& valueName, DWORD value) const
{
    SetValue(key, valueName, REG_DWORD, &value, sizeof(value));
}

void RegistrySandbox::SetString(const std::wstring& key, const std::wstring& valueName, const std::wstring& value) const
{
    SetValue(key, valueName, REG_SZ, value.c_str(), static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
}

void RegistrySandbox::SetValue(const std::wstring& key, const std::wstring& valueName, DWORD type, const void* data,
                               DWORD byteCount) const
{
    HKEY opened = nullptr;
    Require(::RegCreateKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, nullptr, 0, KEY_SET_VALUE, nullptr, &opened, nullptr),
            "the key cannot be made");
    const LONG result = ::RegSetValueExW(opened, valueName.c_str(), 0, type, static_cast<const BYTE*>(data), byteCount);
    ::RegCloseKey(opened);
    Require(result, "the value cannot be set");
}

void RegistrySandbox::DeleteValue(const std::wstring& key, const std::wstring& valueName) const
{
    Require(::RegDeleteKeyValueW(HKEY_CURRENT_USER, key.c_str(), valueName.c_str()), "the value cannot be deleted");
}

void RegistrySandbox::DeleteKey(const std::wstring& key) const
{
    const LONG result = ::RegDeleteTreeW(HKEY_CURRENT_USER, key.c_str());
    Require(result == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : result, "the key cannot be deleted");
}

bool RegistrySandbox::KeyExists(const std::wstring& key) const
{
    HKEY opened = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS)
    {
        return false;
    }
    ::RegCloseKey(opened);
    return true;
}
} // namespace KVTest
