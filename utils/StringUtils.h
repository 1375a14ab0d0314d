#pragma once

#include <string>

namespace KVUtils
{
/// True when text ends with affix: exact, case-sensitive; an empty affix always matches.
bool EndsWith(const std::wstring& text, const std::wstring& affix);
/// True when text starts with affix: exact, case-sensitive; an empty affix always matches.
bool StartsWith(const std::wstring& text, const std::wstring& affix);

/// White space is exactly blank, tab, line feed, carriage return, form feed and vertical tab; other Unicode spaces
/// stay. Text of white space only gives the empty string.
std::wstring TrimLeft(const std::wstring& text);
std::wstring TrimRight(const std::wstring& text);
std::wstring Trim(const std::wstring& text);

/// Puts `to`, which may be empty, in place of every non-overlapping occurrence of `from`, left to right. What was put
/// in is not searched again. An empty `from` leaves the text as it is.
std::wstring ReplaceAll(const std::wstring& text, const std::wstring& from, const std::wstring& to);
} // namespace KVUtils
