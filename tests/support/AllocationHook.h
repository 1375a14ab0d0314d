#pragma once

#include <cstddef>

namespace KVTest
{
/// While the object lives, the hook sees the size of every allocation of this process by `operator new`, before it is
/// made, and may throw in its place. One at a time.
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
