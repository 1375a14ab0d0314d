#include "utils/StringUtils.h"

#include <string_view>

namespace KVUtils
{
namespace
{
// Not iswspace: depending on the C runtime it accepts further characters, such as U+00A0.
constexpr wchar_t kWhiteSpace[] = L" \t\n\r\f\v";
} // namespace

bool EndsWith(const std::wstring& text, const std::wstring& affix)
{
    return std::wstring_view(text).ends_with(affix);
}

bool StartsWith(const std::wstring& text, const std::wstring& affix)
{
    return std::wstring_view(text).starts_with(affix);
}

std::wstring TrimLeft(const std::wstring& text)
{
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    return first == std::wstring::npos ? std::wstring() : text.substr(first);
}

std::wstring TrimRight(const std::wstring& text)
{
    // npos + 1 is 0: nothing remains of a text that is all white space.
    return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

std::wstring Trim(const std::wstring& text)
{
    return TrimRight(TrimLeft(text));
}

std::wstring ReplaceAll(const std::wstring& text, const std::wstring& from, const std::wstring& to)
{
    if (from.empty())
    {
        return text;
    }
    std::wstring result;
    result.reserve(text.size());
    std::size_t position = 0;
    for (std::size_t found = text.find(from); found != std::wstring::npos; found = text.find(from, position))
    {
        result.append(text, position, found - position).append(to);
        position = found + from.size();
    }
    return result.append(text, position);
}
} // namespace KVUtils
