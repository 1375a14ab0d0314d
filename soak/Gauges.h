#pragma once

#include <windows.h>

#include <cstddef>

namespace KVSoak
{
/// What this process holds at a moment.
struct Gauges
{
    unsigned handles;
    unsigned threads;
    std::size_t privateBytes; // committed, shared with nobody
};

/// Handles are found by asking for each value whether it is one: not every system tells their number.
Gauges ReadGauges();
} // namespace KVSoak
