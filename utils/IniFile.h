#pragma once

#include <cstdint>
#include <string>

namespace KVUtils
{
/// Typed values in an ini file. Sections and keys are zero-terminated texts, never null. A result of false means that
/// the value could not be read or written; nothing is ever thrown for a file, section or key that is not there.
///
/// Declaration order is slot order and part of the interface.
class IIniFile
{
public:
    virtual ~IIniFile() = default;

    /// Chooses the file. An empty path is refused: false, and nothing changes.
    virtual bool SetFile(const std::wstring& path) = 0;
    /// The path as it was set; empty at first.
    virtual std::wstring GetFile() const = 0;

    /// GetBool, GetInt and GetString leave value alone when the key is absent or its text is empty, whereas ReadString
    /// and GetStringA always replace it. Only the text "true" gives true, in any case.
    virtual bool GetBool(const wchar_t* section, const wchar_t* key, bool& value) const = 0;
    /// The decimal number that the text begins with, after blanks and a sign; beyond 32 bits it is the nearest that
    /// fits. If the text has no number, or spells zero other than "0", value becomes 0 and the result is false.
    virtual bool GetInt(const wchar_t* section, const wchar_t* key, std::int32_t& value) const = 0;
    /// The narrow twin of ReadString, in the code page of the system. The path must be ASCII: each of its characters is
    /// reduced to its low byte, so any other path may name a different file.
    virtual bool GetStringA(const char* section, const char* key, std::string& value) const = 0;
    /// The text as ReadString gives it.
    virtual bool GetString(const wchar_t* section, const wchar_t* key, std::wstring& value) const = 0;

    /// The text of a key, whole whatever its length. An absent and an empty value are one and the same: false. The
    /// value is always replaced, on failure by the empty text.
    virtual bool ReadString(const wchar_t* section, const wchar_t* key, std::wstring& value) const = 0;

    /// "Yes" for exactly 1, "No" for anything else.
    virtual bool SetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t value) = 0;
    /// "true" or "false".
    virtual bool SetBool(const wchar_t* section, const wchar_t* key, bool value) = 0;
    /// In decimal.
    virtual bool SetInt(const wchar_t* section, const wchar_t* key, std::int32_t value) = 0;
    /// The text as it stands.
    virtual bool SetString(const wchar_t* section, const wchar_t* key, const std::wstring& value) = 0;
    /// The same as SetString. Deliberate: both slots belong to the interface.
    virtual bool SetText(const wchar_t* section, const wchar_t* key, const std::wstring& value) = 0;
    /// In the code page of the system; the path must be ASCII, as for GetStringA.
    virtual bool SetStringA(const char* section, const char* key, const std::string& value) = 0;
    /// The text as it stands, zero-terminated.
    virtual bool SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value) = 0;
    /// Removes the key with its value.
    virtual bool DeleteKey(const wchar_t* section, const wchar_t* key) = 0;
};

/// An ini file as the system sees it: `GetPrivateProfileStringW`, `WritePrivateProfileStringW` and their narrow twins,
/// asked anew at each call. The first write makes the file. A bare file name means the Windows folder.
///
/// Holds the path only. Any thread may read; setting the path must not race with anything else.
class CIniFile : public IIniFile
{
public:
    bool SetFile(const std::wstring& path) override;
    std::wstring GetFile() const override;
    bool GetBool(const wchar_t* section, const wchar_t* key, bool& value) const override;
    bool GetInt(const wchar_t* section, const wchar_t* key, std::int32_t& value) const override;
    bool GetStringA(const char* section, const char* key, std::string& value) const override;
    bool GetString(const wchar_t* section, const wchar_t* key, std::wstring& value) const override;
    bool ReadString(const wchar_t* section, const wchar_t* key, std::wstring& value) const override;
    bool SetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t value) override;
    bool SetBool(const wchar_t* section, const wchar_t* key, bool value) override;
    bool SetInt(const wchar_t* section, const wchar_t* key, std::int32_t value) override;
    bool SetString(const wchar_t* section, const wchar_t* key, const std::wstring& value) override;
    bool SetText(const wchar_t* section, const wchar_t* key, const std::wstring& value) override;
    bool SetStringA(const char* section, const char* key, const std::string& value) override;
    bool SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value) override;
    bool DeleteKey(const wchar_t* section, const wchar_t* key) override;

    /// Where every writer of wide text but DeleteKey ends: a derived class redirects them all by overriding this one.
    virtual bool WriteValue(const wchar_t* section, const wchar_t* key, const wchar_t* value);
    /// 1 for "Yes" in any case, 0 for any other text. Leaves value alone when nothing can be read.
    virtual bool GetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t& value) const;

    /// ReadString for a value whose absence has consequences: when there is no memory to read it, in this process or in
    /// the system, std::bad_alloc is thrown and the value is left alone.
    bool ReadStringOrThrow(const wchar_t* section, const wchar_t* key, std::wstring& value) const;

private:
    std::string GetNarrowPath() const;

    std::wstring m_path;
};
} // namespace KVUtils
