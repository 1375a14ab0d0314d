#pragma once

#include <string>
#include <vector>

namespace KVAnalyticsDoctor
{
/// A parameter of a waiting hit.
struct HitParameter
{
    std::wstring key;
    std::wstring name;  ///< what it means; "?" for a key that no hit of this product has
    std::wstring value; ///< nothing in a hit is escaped
};

/// The parameters of a request string, in their order, without its queue-time mark. Any text is allowed: one that is no
/// hit gives few parameters, or none.
std::vector<HitParameter> DecodeHit(const std::wstring& request);
} // namespace KVAnalyticsDoctor
