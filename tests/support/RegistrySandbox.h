#pragma once

#include <windows.h>

#include <string>

namespace KVTest
{
/// While the object lives, `RegOverridePredefKey` maps HKEY_CURRENT_USER of this process to an empty key of its own, so
/// tests that run at the same time do not see each other's settings. The key is deleted afterwards. Child processes see
/// the user's own registry. Throws std::runtime_error if it cannot be set up.
class RegistrySandbox
{
public:
    RegistrySandbox();
    ~RegistrySandbox();
    RegistrySandbox(const RegistrySandbox&) = delete;
    RegistrySandbox& operator=(const RegistrySandbox&) = delete;

    /// Set a value below HKEY_CURRENT_USER, creating its key if it is missing. Throw if that fails.
    void SetDword(const std::wstring& key, const std::wstring& valueName, DWORD value) const;
    void SetString(const std::wstring& key, const std::wstring& valueName, const std::wstring& value) const;
    /// Any type, any bytes: for values that a program must tolerate.
    void SetValue(const std::wstring& key, const std::wstring& valueName, DWORD type, const void* data,
                  DWORD byteCount) const;
    void DeleteValue(const std::wstring& key, const std::wstring& valueName) const;
    /// Deletes the key with everything below it; does nothing if it is missing.
    void DeleteKey(const std::wstring& key) const;
    bool KeyExists(const std::wstring& key) const;

private:
    std::wstring m_path;
    HKEY m_root = nullptr;
};
} // namespace KVTest
