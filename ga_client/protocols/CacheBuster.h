#pragma once

#include <cstdint>

namespace Protocols::MeasurementParams
{
/// The next cache buster, a number from 1000000000 to 9999999998.
///
/// Deliberate: the C runtime's generator is never seeded, so that every process produces the sequence that receivers
/// know: 6093677622, 7322882386, 8228121895, ... Nothing else in the process may call `rand`. The generator's state is
/// per thread: a program that builds hits on several threads starts the sequence on each of them.
std::int64_t NextCacheBuster();
} // namespace Protocols::MeasurementParams
