#pragma once

#include <cstdint>
#include <string>

namespace KVUtils
{
/// Typed values in an ini file. Sections and keys are zero-terminated texts, never null. A result of false means that
/// the value could not be read or written. A missing file, section or key never throws.
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

    /// If the key is absent or its text is empty, GetBool, GetInt and GetString leave value unchanged, whereas
    /// ReadString and GetStringA always replace it. Only the text "true", in any letter case, gives true.
    virtual bool GetBool(const wchar_t* section, const wchar_t* key, bool& value) const = 0;
    /// The decimal number at the start of the text, after blanks and a sign; beyond 32 bits, the nearest that fits. If
    /// the text has no number, or spells zero other than "0", value becomes 0 and the result is false.
    virtual bool GetInt(const wchar_t* section, const wchar_t* key, std::int32_t& value) const = 0;
    /// ReadString for narrow text, in the code page of the system. The path must be ASCII: each of its characters is
    /// reduced to its low byte, so any other path may name a different file.
    virtual bool GetStringA(const char* section, const char* key, std::string& value) const = 0;
    /// The text that ReadString gives.
    virtual bool GetString(const wchar_t* section, const wchar_t* key, std::wstring& value) const = 0;

    /// The whole text of a key, whatever its length. False if the key is absent or its value is empty. The value is
    /// always replaced, on failure by the empty text.
    virtual bool ReadString(const wchar_t* section, const wchar_t* key, std::wstring& value) const = 0;

    /// "Yes" for exactly 1, "No" for anything else.
    virtual bool SetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t value) = 0;
    /// "true" or "false".
    virtual bool SetBool(const wchar_t* section, const wchar_t* key, bool value) = 0;
    /// In decimal.
    virtual bool SetInt(const wchar_t* section, const wchar_t* key, std::int32_t value) = 0;
    /// The text, unchanged.
    virtual bool SetString(const wchar_t* section, const wchar_t* key, const std::wstring& value) = 0;
    /// The same as SetString. Deliberate: both slots stay, since linked programs call by slot.
    virtual bool SetText(const wchar_t* section, const wchar_t* key, const std::wstring& value) = 0;
    /// In the code page of the system; the path must be ASCII, as for GetStringA.
    virtual bool SetStringA(const char* section, const char* key, const std::string& value) = 0;
    /// The zero-terminated text, unchanged.
    virtual bool SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value) = 0;
    /// Removes the key with its value.
    virtual bool DeleteKey(const wchar_t* section, const wchar_t* key) = 0;
};

/// An ini file as the system sees it: each call asks `GetPrivateProfileStringW`, `WritePrivateProfileStringW` or their
/// narrow forms. The first write creates the file. A bare file name means the Windows folder.
///
/// Holds only the path. Any thread may read; SetFile must not race with anything else.
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

    /// All writers except SetStringA and DeleteKey call this operation; override it to redirect them.
    virtual bool WriteValue(const wchar_t* section, const wchar_t* key, const wchar_t* value);
    /// 1 for "Yes" in any letter case, 0 for any other text. If nothing can be read, value is unchanged.
    virtual bool GetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t& value) const;

    /// ReadString for a value that must not be taken for absent by mistake: if memory is short, in this process or in
    /// the system, it throws std::bad_alloc and leaves the value unchanged.
    bool ReadStringOrThrow(const wchar_t* section, const wchar_t* key, std::wstring& value) const;

private:
    std::string GetNarrowPath() const;

    std::wstring m_path;
};
} // namespace KVUtils
