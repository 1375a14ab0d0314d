#pragma once

#include <cstddef>
#include <new>

#include "tests/support/AllocationHook.h"

namespace KVTest
{
/// While the object lives, the first allocations succeed and all that follow fail. For tests with one thread.
class FailingAllocations
{
public:
    explicit FailingAllocations(int successes) : m_hook(&Count)
    {
        s_left = successes;
        s_hasFailed = false;
    }
    /// Whether an allocation has failed since the last object was made.
    static bool HasFailed() noexcept { return s_hasFailed; }

private:
    static void Count(std::size_t)
    {
        if (s_left-- <= 0)
        {
            s_hasFailed = true;
            throw std::bad_alloc();
        }
    }
    static inline int s_left = 0;
    static inline bool s_hasFailed = false;
    AllocationHook m_hook;
};
} // namespace KVTest
