#pragma once

#include <windows.h>

#include <cstdio>
#include <cwchar>

namespace KVBench
{
/// Microseconds that a piece of work takes.
template <typename Work> double Time(const Work& work)
{
    LARGE_INTEGER frequency{};
    LARGE_INTEGER start{};
    LARGE_INTEGER end{};
    ::QueryPerformanceFrequency(&frequency);
    ::QueryPerformanceCounter(&start);
    work();
    ::QueryPerformanceCounter(&end);
    return static_cast<double>(end.QuadPart - start.QuadPart) * 1e6 / static_cast<double>(frequency.QuadPart);
}

/// Runs what is measured and its floor in turn, once unmeasured and then `pairs` times, and prints the times as a line
/// of JSON. They take turns at running first, so that caches favour neither.
template <typename Measured, typename Floor>
void ComparePairs(const char* row, int pairs, const Measured& measured, const Floor& floor)
{
    measured();
    floor();
    std::printf("{\"row\": \"%s\", \"pairs\": [", row);
    for (int i = 0; i < pairs; ++i)
    {
        const bool floorFirst = i % 2 != 0;
        const double early = floorFirst ? Time(floor) : Time(measured);
        const double late = floorFirst ? Time(measured) : Time(floor);
        std::printf("%s[%.3f, %.3f]", i == 0 ? "" : ", ", floorFirst ? late : early, floorFirst ? early : late);
    }
    std::printf("]}\n");
}

/// The number of pairs given on the command line.
inline int PairsOf(int argc, wchar_t** argv)
{
    return argc > 1 ? static_cast<int>(std::wcstol(argv[1], nullptr, 10)) : 15;
}
} // namespace KVBench
