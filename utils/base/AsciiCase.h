#pragma once

#include <string_view>

namespace KVUtils
{
/// The lower-case letter of A-Z, any other character as it is. Unlike `towlower` it does not depend on the locale,
/// which belongs to the program that uses this library.
constexpr wchar_t ToLowerAscii(wchar_t character) noexcept
{
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

/// Orders texts as if A-Z were a-z and every other character itself: unit by unit over the shorter length, then the
/// shorter text first. Negative if left sorts before right, 0 if they are equal, positive if left sorts behind right.
int CompareIgnoringAsciiCase(std::wstring_view left, std::wstring_view right) noexcept;
} // namespace KVUtils
