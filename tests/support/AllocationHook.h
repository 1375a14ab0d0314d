#pragma once

#include <cstddef>

namespace KVTest
{
/// While the object lives, `operator new` of this process calls the hook with the size of each allocation before it
/// allocates; the hook may throw. One at a time. Needs the target kv_allocation_hook.
class AllocationHook
{
public:
    using Hook = void (*)(std::size_t byteCount);

    explicit AllocationHook(Hook hook) noexcept;
    ~AllocationHook();
    AllocationHook(const AllocationHook&) = delete;
    AllocationHook& operator=(const AllocationHook&) = delete;
};
} // namespace KVTest
