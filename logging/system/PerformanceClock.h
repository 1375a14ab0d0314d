#pragma once

#include <cstdint>

namespace KVLogging
{
/// The performance counter (`QueryPerformanceCounter`), in ticks.
std::int64_t GetPerformanceTicks() noexcept;

/// Ticks of the performance counter in microseconds. Does not overflow however long the machine runs.
/// frequency: ticks a second; 0, the answer of a machine without the counter, counts as 1 000 000.
constexpr std::int64_t TicksToMicroseconds(std::int64_t ticks, std::int64_t frequency) noexcept
{
    constexpr std::int64_t kMicrosecondsPerSecond = 1000000;
    if (frequency == 0)
    {
        frequency = kMicrosecondsPerSecond;
    }
    // Whole seconds on their own: their product with a million fits for 292 000 years, that of all ticks for days only.
    return ticks / frequency * kMicrosecondsPerSecond + ticks % frequency * kMicrosecondsPerSecond / frequency;
}

/// The same with the frequency of this machine (`QueryPerformanceFrequency`, asked once).
std::int64_t TicksToMicroseconds(std::int64_t ticks) noexcept;
} // namespace KVLogging
