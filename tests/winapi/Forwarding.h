#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tests/support/VirtualSlots.h"

// Proof that the operations of a facade class reach the system function of the same name with the same arguments in the
// same order and return its result: the place of that function in the program's import table is overwritten with a
// stand-in while the operation is called.

namespace KVTest
{
/// How an argument is made up, kept and compared. Every position gets another value.
template <typename T> struct Argument
{
    using Kept = std::remove_const_t<T>;
    static Kept Make(std::size_t position)
    {
        if constexpr (std::is_pointer_v<Kept>)
        {
            return reinterpret_cast<Kept>(static_cast<std::uintptr_t>(0x10010 + position * 0x100));
        }
        else if constexpr (std::is_enum_v<Kept>)
        {
            return static_cast<Kept>(1); // other values may be none of the enumeration's
        }
        else
        {
            return static_cast<Kept>(position + 3);
        }
    }
    static T Pass(const Kept& kept) { return kept; }
    static Kept Keep(T value) { return value; }
};

/// References are kept as addresses.
template <typename T> struct Argument<const T&>
{
    using Kept = const T*;
    static Kept Make(std::size_t position)
    {
        static const T s_objects[16] = {};
        return &s_objects[position];
    }
    static const T& Pass(const Kept& kept) { return *kept; }
    static Kept Keep(const T& value) { return &value; }
};

/// The stand-in for system functions of one type.
template <typename Result, typename... Parameters> struct StandIn
{
    using Arguments = std::tuple<typename Argument<Parameters>::Kept...>;
    static inline Arguments s_received;
    static inline int s_calls = 0;

    static Result WINAPI Function(Parameters... parameters)
    {
        s_received = Arguments(Argument<Parameters>::Keep(parameters)...);
        ++s_calls;
        if constexpr (!std::is_void_v<Result>)
        {
            return Argument<Result>::Make(11);
        }
    }
};

/// Overwrites one place of the import table for the object's lifetime.
class ImportPatch
{
public:
    ImportPatch(void*& place, void* function) : m_place(place), m_original(place) { Write(function); }
    ~ImportPatch() { Write(m_original); }
    ImportPatch(const ImportPatch&) = delete;
    ImportPatch& operator=(const ImportPatch&) = delete;

private:
    void Write(void* function)
    {
        DWORD previous = 0;
        ::VirtualProtect(&m_place, sizeof(m_place), PAGE_READWRITE, &previous);
        m_place = function;
        ::VirtualProtect(&m_place, sizeof(m_place), previous, &previous);
    }

    void*& m_place;
    void* m_original;
};

/// Calls the operation of api with made-up arguments and expects exactly them to arrive at the system function whose
/// place in the import table is given, and its result to come back.
template <typename Interface, typename Result, typename... Parameters>
void ExpectForwards(Interface& api, Result (Interface::*operation)(Parameters...), void*& importPlace, const char* name)
{
    SCOPED_TRACE(name);
    using Function = StandIn<Result, Parameters...>;
    const auto arguments = []<std::size_t... Positions>(std::index_sequence<Positions...>)
    {
        return typename Function::Arguments(Argument<Parameters>::Make(Positions)...);
    }
    (std::index_sequence_for<Parameters...>());
    const auto call = [&](const auto&... kept) -> Result {
        const ImportPatch patch(importPlace, reinterpret_cast<void*>(&Function::Function));
        return (api.*operation)(Argument<Parameters>::Pass(kept)...);
    };

    Function::s_calls = 0;
    Function::s_received = typename Function::Arguments();
    if constexpr (std::is_void_v<Result>)
    {
        std::apply(call, arguments);
    }
    else
    {
        const Result result = std::apply(call, arguments);
        EXPECT_EQ(result, Argument<Result>::Make(11));
    }
    EXPECT_EQ(Function::s_calls, 1);
    EXPECT_TRUE(Function::s_received == arguments);
}
} // namespace KVTest

// To be used on the list of an interface's operations; KV_INTERFACE names the interface.

// The place of a system function in the import table, as the linker names it.
#define KV_DECLARE_IMPORT(operation) extern "C" void* __imp_##operation;

#define KV_EXPECT_NEXT_SLOT(operation)                                                                                 \
    EXPECT_EQ(KVTest::SlotOf(&KV_INTERFACE::operation), expectedSlot++) << #operation;

#define KV_EXPECT_FORWARDS(operation)                                                                                  \
    KVTest::ExpectForwards(*api, &KV_INTERFACE::operation, __imp_##operation, #operation);

#define KV_IGNORE(operation)
