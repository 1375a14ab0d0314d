#pragma once

#include <cstddef>
#include <string_view>

#include "utils/base/AsciiCase.h"

namespace KVLogging
{
/// Names a source file for the settings per source file: one static object in each, made by KV_TRACE_SOURCE.
///
/// The name is part of the object, filled at compile time, and the destructor leaves it alone: a static object of a
/// different source file may open a trace scope before this object's construction or after its destruction at process
/// exit. Immutable, hence safe on any thread.
class CLogSourceFile
{
public:
    /// filePath: the file's name; a folder before it is removed.
    explicit constexpr CLogSourceFile(std::wstring_view filePath) noexcept
    {
        for (const wchar_t character : StripFolder(filePath).substr(0, kMaxName))
        {
            m_name[m_length++] = KVUtils::ToLowerAscii(character);
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
