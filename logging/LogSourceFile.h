#pragma once

#include <cstddef>
#include <string_view>

namespace KVLogging
{
/// The lower-case letter of A-Z, any other character as it is: the letter case rule of every name in the log settings.
/// Unlike `towlower` it does not depend on the locale that the host may set.
constexpr wchar_t ToLowerAscii(wchar_t character) noexcept
{
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

/// Names a source file for the settings per source file: one static object in each, made by KV_TRACE_SOURCE.
///
/// The name lies in the object itself, filled at compile time where the compiler can, and the destructor leaves it
/// alone: a static object of another source file may still open a trace scope, before this object's construction or
/// after its destruction at process exit. Immutable, hence safe on any thread.
class CLogSourceFile
{
public:
    /// filePath: the file's name; a folder before it is taken off.
    explicit constexpr CLogSourceFile(std::wstring_view filePath) noexcept
    {
        for (const wchar_t character : StripFolder(filePath).substr(0, kMaxName))
        {
            m_name[m_length++] = ToLowerAscii(character);
        }
    }
    constexpr virtual ~CLogSourceFile() = default;
    CLogSourceFile(const CLogSourceFile&) = delete;
    CLogSourceFile& operator=(const CLogSourceFile&) = delete;

    /// File name with extension, A-Z in lower case.
    constexpr std::wstring_view GetName() const noexcept { return {m_name, m_length}; }

private:
    static constexpr std::size_t kMaxName = 255; // no file system in use has a longer file name

    static constexpr std::wstring_view StripFolder(std::wstring_view filePath) noexcept
    {
        const std::size_t backslash = filePath.rfind(L'\\');
        // A single backslash at the very front stays.
        const bool keep = backslash == std::wstring_view::npos || backslash == 0;
        return keep ? filePath : filePath.substr(backslash + 1);
    }

    wchar_t m_name[kMaxName] = {};
    std::size_t m_length = 0;
};
} // namespace KVLogging
