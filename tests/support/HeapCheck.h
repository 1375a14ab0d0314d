#pragma once

#include <windows.h>

namespace KVTest
{
/// While the object lives, each block is validated before the C runtime frees it; a damaged one ends the process with
/// kDamaged and a line on the standard error. Finds what the system's heap checks find: a write behind a block or into
/// a freed one is noticed only if the heap keeps and checks fill patterns there (`scripts/wine TREE check-heap`). One
/// at a time; any thread may free.
class HeapCheck
{
public:
    static constexpr UINT kDamaged = 99;

    HeapCheck();
    ~HeapCheck();
    HeapCheck(const HeapCheck&) = delete;
    HeapCheck& operator=(const HeapCheck&) = delete;

    /// Validates every block, even freed ones, and ends the process in the same way.
    static void ValidateAll() noexcept;
};
} // namespace KVTest
