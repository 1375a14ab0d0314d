#include "utils/IniFile.h"

#include <windows.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <string_view>

#include "utils/base/AsciiCase.h"
#include "utils/base/Decimal.h"
#include "utils/MemoryShortage.h"
#include "winapi/WinApi.h"

namespace KVUtils
{
namespace
{
constexpr DWORD kBufferGrowth = 512; // characters of whichever width

// Reads with growing buffers until the text fits: read(buffer, size) returns the length, or size - 1 if it cut the
// text. If memory is short, here or in the system, it throws std::bad_alloc and leaves value unchanged.
template <typename Character, typename Read>
bool ReadWholeOrThrow(const Read& read, std::basic_string<Character>& value)
{
    std::basic_string<Character> buffer; // not value itself, whose text section or key may be
    DWORD size = 0;
    DWORD length = 0;
    do
    {
        if (size > std::numeric_limits<DWORD>::max() - kBufferGrowth)
        {
            throw std::bad_alloc();
        }
        size += kBufferGrowth;
        buffer.assign(size, Character()); // zeroed: if the system writes nothing, the text is empty
        ::SetLastError(ERROR_SUCCESS);    // the system does not clear it if the key is absent
        length = read(buffer.data(), size);
    } while (length >= size - 1);
    if (length == 0)
    {
        ThrowIfMemoryShortage(::GetLastError());
    }
    buffer.resize(std::min(buffer.find(Character()), buffer.size()));
    value.swap(buffer);
    return length != 0;
}

// The same, but a lack of memory counts as an absent value.
template <typename Character, typename Read> bool ReadWhole(const Read& read, std::basic_string<Character>& value)
{
    try
    {
        return ReadWholeOrThrow(read, value);
    }
    catch (const std::bad_alloc&)
    {
        value.clear();
        return false;
    }
}

auto MakeReader(const wchar_t* section, const wchar_t* key, const std::wstring& path)
{
    return [=, &path](wchar_t* buffer, DWORD size) {
        return KVWinApi::g_winApi->GetPrivateProfileStringW(section, key, L"", buffer, size, path.c_str());
    };
}

bool IsDigit(wchar_t character)
{
    return character >= L'0' && character <= L'9';
}

// Not _wtoi: its result for a number that does not fit, and the digits that it knows, depend on the C runtime.
std::int32_t ParseDecimal(std::wstring_view text)
{
    std::size_t position = std::min(text.find_first_not_of(L" \t"), text.size());
    bool isNegative = false;
    if (position < text.size() && (text[position] == L'-' || text[position] == L'+'))
    {
        isNegative = text[position] == L'-';
        ++position;
    }
    constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1; // the negative side's
    std::int64_t magnitude = 0;
    for (; position < text.size() && IsDigit(text[position]); ++position)
    {
        magnitude = std::min(magnitude * 10 + (text[position] - L'0'), kLimit);
    }
    return static_cast<std::int32_t>(isNegative ? -magnitude : std::min(magnitude, kLimit - 1));
}
} // namespace

bool CIniFile::SetFile(const std::wstring& path)
{
    if (path.empty())
    {
        return false;
    }
    m_path = path;
    return true;
}

std::wstring CIniFile::GetFile() const
{
    return m_path;
}

bool CIniFile::GetBool(const wchar_t* section, const wchar_t* key, bool& value) const
{
    std::wstring text;
    if (!ReadString(section, key, text))
    {
        return false;
    }
    value = CompareIgnoringAsciiCase(text, L"true") == 0;
    return true;
}

bool CIniFile::GetInt(const wchar_t* section, const wchar_t* key, std::int32_t& value) const
{
    std::wstring text;
    if (!ReadString(section, key, text))
    {
        return false;
    }
    value = ParseDecimal(text);
    // Deliberate: 00, -0 and a blank before the 0 are not numbers here: like plain text, they parse as 0.
    return value != 0 || text == L"0";
}

bool CIniFile::GetStringA(const char* section, const char* key, std::string& value) const
{
    const std::string path = GetNarrowPath();
    return ReadWhole(
        [&](char* buffer, DWORD size) {
            return ::GetPrivateProfileStringA(section, key, "", buffer, size, path.c_str());
        },
        value);
}

bool CIniFile::GetString(const wchar_t* section, const wchar_t* key, std::wstring& value) const
{
    std::wstring text;
    if (!ReadString(section, key, text))
    {
        return false;
    }
    value = text;
    return true;
}

bool CIniFile::ReadString(const wchar_t* section, const wchar_t* key, std::wstring& value) const
{
    return ReadWhole(MakeReader(section, key, m_path), value);
}

bool CIniFile::ReadStringOrThrow(const wchar_t* section, const wchar_t* key, std::wstring& value) const
{
    return ReadWholeOrThrow(MakeReader(section, key, m_path), value);
}

bool CIniFile::SetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t value)
{
    return SetValue(section, key, value == 1 ? L"Yes" : L"No");
}

bool CIniFile::SetBool(const wchar_t* section, const wchar_t* key, bool value)
{
    return SetValue(section, key, value ? L"true" : L"false");
}

bool CIniFile::SetInt(const wchar_t* section, const wchar_t* key, std::int32_t value)
{
    return SetValue(section, key, CDecimalText(value).ZeroTerminated());
}

bool CIniFile::SetString(const wchar_t* section, const wchar_t* key, const std::wstring& value)
{
    return SetValue(section, key, value.c_str());
}

bool CIniFile::SetText(const wchar_t* section, const wchar_t* key, const std::wstring& value)
{
    return SetValue(section, key, value.c_str());
}

bool CIniFile::SetStringA(const char* section, const char* key, const std::string& value)
{
    return ::WritePrivateProfileStringA(section, key, value.c_str(), GetNarrowPath().c_str()) > 0;
}

bool CIniFile::SetValue(const wchar_t* section, const wchar_t* key, const wchar_t* value)
{
    return WriteValue(section, key, value);
}

bool CIniFile::DeleteKey(const wchar_t* section, const wchar_t* key)
{
    return KVWinApi::g_winApi->WritePrivateProfileStringW(section, key, nullptr, m_path.c_str()) > 0;
}

bool CIniFile::WriteValue(const wchar_t* section, const wchar_t* key, const wchar_t* value)
{
    return KVWinApi::g_winApi->WritePrivateProfileStringW(section, key, value, m_path.c_str()) > 0;
}

bool CIniFile::GetYesNo(const wchar_t* section, const wchar_t* key, std::int32_t& value) const
{
    std::wstring text;
    if (!ReadString(section, key, text))
    {
        return false;
    }
    value = CompareIgnoringAsciiCase(text, L"Yes") == 0 ? 1 : 0;
    return true;
}

std::string CIniFile::GetNarrowPath() const
{
    std::string narrow;
    narrow.reserve(m_path.size());
    // Deliberate: each unit keeps its low byte, without a code page. The narrow operations are for ASCII paths, which
    // this leaves unchanged.
    std::transform(m_path.begin(), m_path.end(), std::back_inserter(narrow),
                   [](wchar_t unit) { return static_cast<char>(unit & 0xFF); });
    return narrow;
}
} // namespace KVUtils
