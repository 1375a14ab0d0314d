#include <windows.h>

#include <cstdlib>
#include <string>

#include "tests/support/HeapCheck.h"

namespace
{
// Keeps the compiler from knowing that the pointer is that of a block.
char* Obscure(void* block) noexcept
{
    char* volatile pointer = static_cast<char*>(block);
    return pointer;
}

// 24 is not a multiple of the heap's granularity: a write behind the block damages only the fill pattern.
void OverrunBlock()
{
    char* const block = Obscure(std::malloc(24));
    block[24] = 'x';
    std::free(block);
}

void WriteToFreedBlock()
{
    char* const block = Obscure(std::malloc(100));
    char* const behind = Obscure(std::malloc(100)); // so that the freed block stays one of its own
    char* const freed = Obscure(block);
    std::free(block);
    freed[50] = 'x'; // NOLINT(clang-analyzer-unix.Malloc): what the test is about
    KVTest::HeapCheck::ValidateAll();
    std::free(behind);
}
} // namespace

// kv_heap_damage overrun|freed: writes behind a block, or into a freed one. Ends with 0 if no check notices.
int wmain(int argc, wchar_t** argv)
{
    const KVTest::HeapCheck heapCheck;
    const std::wstring kind = argc > 1 ? argv[1] : L"";
    if (kind == L"overrun")
    {
        OverrunBlock();
    }
    if (kind == L"freed")
    {
        WriteToFreedBlock();
    }
    return 0;
}
