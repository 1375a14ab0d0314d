#pragma once

#include <string>

namespace KVUtils
{
/// True if text ends with affix, case-sensitively. An empty affix always matches.
bool EndsWith(const std::wstring& text, const std::wstring& affix);
/// True if text starts with affix, case-sensitively. An empty affix always matches.
bool StartsWith(const std::wstring& text, const std::wstring& affix);

/// White space is blank, tab, line feed, carriage return, form feed and vertical tab; other Unicode spaces stay. If the
/// text is all white space, the result is empty.
std::wstring TrimLeft(const std::wstring& text);
std::wstring TrimRight(const std::wstring& text);
std::wstring Trim(const std::wstring& text);

/// Replaces every non-overlapping occurrence of `from` by `to`, which may be empty, from left to right. Replaced text
/// is not searched again. If `from` is empty, the text is unchanged.
std::wstring ReplaceAll(const std::wstring& text, const std::wstring& from, const std::wstring& to);
} // namespace KVUtils
