// Replaces the standard library's operator new in the program; the standard library's other forms call this one.

#include <cstddef>
#include <cstdlib>
#include <new>

#include "faults/Injection.h"
#include "faults/SystemCalls.h"

void* operator new(std::size_t byteCount)
{
    if (!KVFaults::ShouldFail(KVFaults::Kind::kNew, "new"))
    {
        if (void* const block = KVFaults::AllocateUncounted(byteCount != 0 ? byteCount : 1))
        {
            return block;
        }
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
