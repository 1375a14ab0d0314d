#pragma once

#include <cstddef>
#include <string>

namespace Activities
{
/// The start of every request string: the path and the question mark of the query. The parameters follow.
inline constexpr wchar_t kCollectPath[] = L"/collect?";

/// Replaces out by the start of a request string, with memory reserved for a hit of the usual length.
inline void BeginRequest(std::wstring& out)
{
    constexpr std::size_t kUsualLength = 512;
    out.clear();
    out.reserve(kUsualLength);
    out.append(kCollectPath);
}
} // namespace Activities
