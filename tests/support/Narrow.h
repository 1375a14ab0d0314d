#pragma once

#include <algorithm>
#include <string>

namespace KVTest
{
/// The text in ASCII, for messages and comparisons. Characters beyond 0x7E as "?".
inline std::string Narrow(const std::wstring& text)
{
    std::string narrow(text.size(), '?');
    std::transform(text.begin(), text.end(), narrow.begin(),
                   [](wchar_t character) { return character <= 0x7E ? static_cast<char>(character) : '?'; });
    return narrow;
}
} // namespace KVTest
