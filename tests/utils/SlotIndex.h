#pragma once

#include <cstddef>
#include <cstring>

namespace KVTest
{
#if defined(__GNUC__)
/// The index of a virtual operation in its class's table of functions, a virtual destructor taking two: with the
/// destructor declared first, as slot 1, the index is the number of the slot.
template <typename Member> std::size_t SlotIndex(Member member)
{
    std::ptrdiff_t word = 0; // of a pointer to a virtual member: one more than the offset in the table
    std::memcpy(&word, &member, sizeof(word));
    return static_cast<std::size_t>(word - 1) / sizeof(void*);
}
#endif
} // namespace KVTest
