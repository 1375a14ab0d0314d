#pragma once

namespace Activities
{
/// What every request string begins with: path and start of the query. The parameters follow.
inline constexpr wchar_t kCollectPath[] = L"/collect?";
} // namespace Activities
