#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace GAClient
{
/// Texts by index.
using CustomDimensions = std::map<std::uint32_t, std::wstring>;
/// Numbers by index.
using CustomMetrics = std::map<std::int32_t, std::uint32_t>;

/// What a program wants to go out with its next hit, by index: dimensions (cd1, cd2, ...) and metrics (cm1, cm2, ...).
/// The maps are ordered, and so are the parameters: by number, cd2 before cd10.
struct CustomFacts
{
    CustomDimensions dimensions; ///< cd1, cd2, ...
    CustomMetrics metrics;       ///< cm1, cm2, ...
};
} // namespace GAClient
