#include <windows.h>

#include <cstdint>

extern "C" std::uint64_t __stack_chk_guard; // NOLINT(readability-identifier-naming): the compiler's name

namespace
{
// Not to be looked into by the compiler, which would see that the buffer is too short.
[[gnu::noinline]] void Fill(volatile char* buffer, int length)
{
    for (int i = 0; i < length; ++i)
    {
        buffer[i] = 'x';
    }
}

[[gnu::noinline]] int Overflow(int length)
{
    char buffer[16] = {};
    Fill(buffer, length);
    return buffer[0] == 'x' ? 0 : 1;
}
} // namespace

// kv_smashing LENGTH: fills a buffer of 16 characters on the stack with so many and ends with 0.
// kv_smashing: ends with 31 bits of the value that guards the stack, with 0 when its first byte in memory is not zero.
int wmain(int argc, wchar_t** argv)
{
    if (argc > 1)
    {
        return Overflow(::_wtoi(argv[1]));
    }
    return (__stack_chk_guard & 0xFF) == 0 ? static_cast<int>(__stack_chk_guard >> 8 & 0x7FFFFFFF) : 0;
}
