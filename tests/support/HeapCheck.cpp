#include "tests/support/HeapCheck.h"

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
FreeFunction s_free = nullptr; // outlives the patch: another thread may be on its way

void Validate(const void* block) noexcept
{
    // The C runtime's blocks are the process heap's.
    if (::HeapValidate(::GetProcessHeap(), 0, block) == FALSE)
    {
        std::fputs(block != nullptr ? "a damaged block was freed\n" : "the heap is damaged\n", stderr);
        ::TerminateProcess(::GetCurrentProcess(), HeapCheck::kDamaged);
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
}
} // namespace KVTest
