#pragma once

#include <cstddef>
#include <string>

namespace Activities
{
/// What every request string begins with: path and start of the query. The parameters follow.
inline constexpr wchar_t kCollectPath[] = L"/collect?";

/// Begins a request string in out, in place of what it held, with room for hits of the usual length.
inline void BeginRequest(std::wstring& out)
{
    constexpr std::size_t kUsualLength = 512;
    out.clear();
    out.reserve(kUsualLength);
    out.append(kCollectPath);
}
} // namespace Activities
