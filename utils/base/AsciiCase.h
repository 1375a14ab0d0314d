#pragma once

#include <string_view>

namespace KVUtils
{
/// Orders texts as if A-Z were a-z and every other character itself, whatever the locale of the process: unit by unit
/// over the shorter length, then the shorter text first. Negative, 0 or positive, as left sorts before, equal to or
/// behind right.
int CompareIgnoringAsciiCase(std::wstring_view left, std::wstring_view right) noexcept;
} // namespace KVUtils
