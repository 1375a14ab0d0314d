#include "logging/line/FunctionName.h"

#include <cstddef>

namespace KVLogging
{
namespace
{
constexpr std::size_t kMaxName = 255;
constexpr std::size_t kSeparatorLength = 2;

wchar_t s_buffer[kMaxName + 1];

// Counts the depth of template brackets. False for a bracket and for what is inside brackets.
bool IsOutsideBrackets(wchar_t character, std::size_t& depth) noexcept
{
    if (character == L'<')
    {
        ++depth;
        return false;
    }
    if (character == L'>')
    {
        depth -= depth > 0 ? 1 : 0; // operator-> opens none
        return false;
    }
    return depth == 0;
}
} // namespace

FunctionName SplitFunctionName(const wchar_t* fullName)
{
    std::size_t length = 0;
    std::size_t depth = 0; // of template brackets
    std::size_t componentCount = fullName[0] != L':' ? 1 : 0;
    std::size_t lastStart = 0;
    std::size_t previousStart = 0; // of the component before
    wchar_t previous = L'\0';      // kept here, since another thread may write to the buffer
    for (std::size_t i = 0; i < kMaxName && fullName[i] != L'\0'; ++i)
    {
        const wchar_t character = fullName[i];
        if (IsOutsideBrackets(character, depth))
        {
            s_buffer[length++] = character;
            const bool isSeparator = character == L':' && previous == L':';
            if (isSeparator)
            {
                ++componentCount;
                previousStart = lastStart;
                lastStart = length;
            }
            previous = isSeparator ? L'\0' : character; // a third colon belongs to the name
        }
    }
    s_buffer[length] = L'\0';
    if (componentCount < 2)
    {
        return {std::wstring(), std::wstring(s_buffer, length)};
    }
    return {std::wstring(s_buffer + previousStart, lastStart - kSeparatorLength - previousStart),
            std::wstring(s_buffer + previousStart, length - previousStart)};
}
} // namespace KVLogging
