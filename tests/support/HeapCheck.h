#pragma once

#include <windows.h>

namespace KVTest
{
/// While it lives, each block that is given back to the C runtime is validated first; a damaged one ends the process
/// with kDamaged and a line on the standard error. Sees no more than the system's heap checks: what was written behind
/// a block or into a freed one is found where the heap keeps and checks fillings there (`scripts/wine TREE
/// check-heap`). One at a time; any thread may free.
class HeapCheck
{
public:
    static constexpr UINT kDamaged = 99;

    HeapCheck();
    ~HeapCheck();
    HeapCheck(const HeapCheck&) = delete;
    HeapCheck& operator=(const HeapCheck&) = delete;

    /// Validates every block, freed ones too, and ends the process in the same way.
    static void ValidateAll() noexcept;
};
} // namespace KVTest
