#include "tests/support/HeapCheck.h"

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include "tests/support/ImportPatch.h"

KV_DECLARE_IMPORT(free)

namespace KVTest
{
namespace
{
using FreeFunction = void(__cdecl*)(void*);

std::optional<ImportPatch> s_patch;
FreeFunction s_free = nullptr; // outlives the patch: a different thread may still be in it

void End(const char* reason) noexcept
{
    std::fputs(reason, stderr);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), HeapCheck::kDamaged);
}

// A block of the C runtime's heap, or all blocks if it is null.
void Validate(const void* block) noexcept
{
    if (::HeapValidate(reinterpret_cast<HANDLE>(_get_heap_handle()), 0, block) == FALSE)
    {
        End(block != nullptr ? "a damaged block was freed\n" : "the heap is damaged\n");
    }
}

void __cdecl ValidateAndFree(void* block)
{
    if (block != nullptr)
    {
        Validate(block);
    }
    s_free(block);
}
} // namespace

HeapCheck::HeapCheck()
{
    s_free = reinterpret_cast<FreeFunction>(__imp_free);
    s_patch.emplace(__imp_free, reinterpret_cast<void*>(&ValidateAndFree));
}

HeapCheck::~HeapCheck()
{
    s_patch.reset();
}

void HeapCheck::ValidateAll() noexcept
{
    Validate(nullptr);
    if (::HeapValidate(::GetProcessHeap(), 0, nullptr) == FALSE)
    {
        End("the process heap is damaged\n");
    }
}
} // namespace KVTest
