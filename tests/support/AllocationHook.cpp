#include "tests/support/AllocationHook.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace
{
std::atomic<KVTest::AllocationHook::Hook> s_hook;
} // namespace

namespace KVTest
{
AllocationHook::AllocationHook(Hook hook) noexcept
{
    s_hook = hook;
}

AllocationHook::~AllocationHook()
{
    s_hook = nullptr;
}
} // namespace KVTest

// Replaces that of the standard library in the whole program; the standard library's other forms call this one.
void* operator new(std::size_t byteCount)
{
    if (const KVTest::AllocationHook::Hook hook = s_hook)
    {
        hook(byteCount);
    }
    if (void* const block = std::malloc(byteCount != 0 ? byteCount : 1))
    {
        return block;
    }
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    std::free(block);
}

void operator delete(void* block, std::size_t /*byteCount*/) noexcept
{
    std::free(block);
}
