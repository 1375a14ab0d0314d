#include "logging/system/PerformanceClock.h"

#include <windows.h>

namespace KVLogging
{
namespace
{
std::int64_t QueryFrequency() noexcept
{
    LARGE_INTEGER frequency{};
    ::QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}
} // namespace

std::int64_t GetPerformanceTicks() noexcept
{
    LARGE_INTEGER ticks{};
    ::QueryPerformanceCounter(&ticks);
    return ticks.QuadPart;
}

std::int64_t TicksToMicroseconds(std::int64_t ticks) noexcept
{
    static const std::int64_t s_frequency = QueryFrequency();
    return TicksToMicroseconds(ticks, s_frequency);
}
} // namespace KVLogging
