#pragma once

#include <bit>
#include <cstddef>

namespace KVTest
{
#if !defined(_MSC_VER)
/// Index of a virtual operation in its class's virtual table, from 0. A virtual destructor takes two slots here, one
/// with MSVC. Relies on how g++ and clang represent a pointer to a virtual member: the offset in the table plus one.
template <typename Member> std::size_t SlotOf(Member member) noexcept
{
    struct Representation
    {
        std::size_t offsetPlusOne;
        std::ptrdiff_t adjustment;
    };
    return (std::bit_cast<Representation>(member).offsetPlusOne - 1) / sizeof(void*);
}

/// Number of slots in the virtual table of an interface: the slot that the next operation would take.
template <typename Interface> std::size_t SlotCountOf() noexcept
{
    struct Extended : Interface
    {
        virtual void Next() = 0;
    };
    return SlotOf(&Extended::Next);
}
#endif
} // namespace KVTest
