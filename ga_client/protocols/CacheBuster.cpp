#include "ga_client/protocols/CacheBuster.h"

#include <cstdlib>

namespace Protocols::MeasurementParams
{
std::int64_t NextCacheBuster()
{
    constexpr std::int64_t kCount = 8999999999;
    constexpr std::int64_t kFirst = 1000000000;
    // Two statements: in one expression, the order of the calls would be unspecified.
    const std::int64_t high = std::rand();
    const std::int64_t low = std::rand();
    return ((high << 32) | low) % kCount + kFirst;
}
} // namespace Protocols::MeasurementParams
