#pragma once

#include <windows.h>

#include <cstddef>

namespace KVSoak
{
/// What this process uses at a moment.
struct Gauges
{
    unsigned handles;
    unsigned threads;
    std::size_t privateBytes; // committed private memory
};

/// Counts handles by testing each value: not every system reports their number.
Gauges ReadGauges();
} // namespace KVSoak
