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

/// Values that a program sets for its next hit, by index: dimensions (cd1, cd2, ...) and metrics (cm1, cm2, ...). Like
/// the maps, the parameters are in numeric order: cd2 before cd10.
struct CustomFacts
{
    CustomDimensions dimensions; ///< cd1, cd2, ...
    CustomMetrics metrics;       ///< cm1, cm2, ...
};
} // namespace GAClient
