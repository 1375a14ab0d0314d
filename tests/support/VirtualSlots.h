#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace KVTest
{
/// Slots of a virtual destructor.
#if defined(_MSC_VER)
constexpr std::size_t kDestructorSlots = 1; // one function, with an argument that says whether the memory is freed
#else
constexpr std::size_t kDestructorSlots = 2; // with and without freeing the memory
#endif

/// Finds out the slot of an operation by calling it. The functions below use it.
class VirtualSlots
{
public:
    static constexpr std::size_t kCount = 256; // more than any class has
    static constexpr std::size_t kNone = kCount;

    /// An object with one virtual table, of whose functions no other is ever called.
    struct Object
    {
        virtual void Operation();

    protected:
        ~Object() = default;
    };
    using Operation = void (Object::*)();

    /// Calls an operation of an object whose virtual table has a function of its own in each slot, and returns the slot
    /// of the function that was called. These functions touch no argument.
    static std::size_t Call(Operation operation)
    {
        const Function* const virtualTable = s_functions.data();
        alignas(void*) unsigned char fake[sizeof(void*)];
        std::memcpy(fake, &virtualTable, sizeof(fake));
        Object* volatile object = reinterpret_cast<Object*>(fake);
        s_called = kNone;
        // The functions of the table read no argument, so it may lack what the operation takes.
        (object->*operation)(); // NOLINT(clang-analyzer-core.CallAndMessage)
        return s_called;
    }

private:
    using Function = void (*)();

    template <std::size_t Slot> static void Note() { s_called = Slot; }

    template <std::size_t... Slots>
    static constexpr std::array<Function, kCount> MakeFunctions(std::index_sequence<Slots...>) noexcept
    {
        return {&Note<Slots>...};
    }

    static const std::array<Function, kCount> s_functions;
    static inline std::size_t s_called = kNone;
};

inline const std::array<VirtualSlots::Function, VirtualSlots::kCount> VirtualSlots::s_functions =
    MakeFunctions(std::make_index_sequence<kCount>());

/// Index of a virtual operation in its class's virtual table, from 0. Relies on what every compiler for x64 does: a
/// pointer to a member of a class with single inheritance does not depend on the class, an object begins with the
/// address of its virtual table, and the caller removes the arguments.
template <typename Member> std::size_t SlotOf(Member member) noexcept
{
    return VirtualSlots::Call(std::bit_cast<VirtualSlots::Operation>(member));
}

/// Number of slots in the virtual table of an interface: the slot that the next operation would take.
template <typename Interface> std::size_t SlotCountOf() noexcept
{
    struct Extended : Interface
    {
        Extended() = delete;
        virtual void Next() = 0;
    };
    return SlotOf(&Extended::Next);
}
} // namespace KVTest
