#include "utils/base/AsciiCase.h"

#include <algorithm>
#include <cstddef>

namespace KVUtils
{
int CompareIgnoringAsciiCase(std::wstring_view left, std::wstring_view right) noexcept
{
    const std::size_t shorter = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < shorter; ++i)
    {
        const int difference = int{ToLowerAscii(left[i])} - int{ToLowerAscii(right[i])};
        if (difference != 0)
        {
            return difference;
        }
    }
    if (left.size() == right.size())
    {
        return 0;
    }
    return left.size() < right.size() ? -1 : 1;
}
} // namespace KVUtils
