#pragma once

#include <windows.h>

#include <gtest/gtest.h>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tests/support/ImportPatch.h"
#include "tests/support/LoaderPatch.h"
#include "tests/support/Narrow.h"
#include "tests/support/VirtualSlots.h"

// Proves with a stand-in for the system function that an operation of a facade class passes the same arguments in the
// same order to the function of the same name and returns its result, and that it has the same types. An interface's
// test lists its operations:
//
//     SAME(operation)                forwards to the imported function of its name: the stand-in replaces it in the
//                                    program's import table while the operation is called
//     LATE(dll, operation, failure)  forwards to the function of its name in that DLL, which the first call looks up:
//                                    the look-up finds the stand-in. failure: the result if the function is missing, in
//                                    which `error` is the reason; kNothing for no result

namespace KVTest
{
/// How an argument is made up, kept and compared. Every position gets a different value.
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
            return static_cast<Kept>(1); // other values may not belong to the enumeration
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

template <typename... Parameters> auto MakeArguments()
{
    return []<std::size_t... Positions>(std::index_sequence<Positions...>)
    {
        return std::tuple<typename Argument<Parameters>::Kept...>(Argument<Parameters>::Make(Positions)...);
    }
    (std::index_sequence_for<Parameters...>());
}

/// Calls the operation, through `call`, with a different made-up argument at every position. Expects that exactly these
/// arrive at the stand-in, once, and that its result is returned.
template <typename Result, typename... Parameters, typename Call> void ExpectArrival(const Call& call)
{
    using Function = StandIn<Result, Parameters...>;
    const auto arguments = MakeArguments<Parameters...>();
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

template <typename One, typename Other> constexpr bool kIsSameType = std::is_same_v<One, Other>;
#if defined(_MSC_VER) && defined(__clang__)
// Together with the emulator's headers, which declare some results and parameters as int instead of DWORD.
template <std::integral One, std::integral Other> constexpr bool kIsSameType<One, Other> = sizeof(One) == sizeof(Other);
#endif

/// Whether an operation has exactly the parameters and the result of a function of the system.
template <typename Interface, typename Result, typename... Parameters, typename SystemResult,
          typename... SystemParameters>
constexpr bool HasSameTypes(Result (Interface::*)(Parameters...), SystemResult(WINAPI*)(SystemParameters...))
{
    if constexpr (sizeof...(Parameters) == sizeof...(SystemParameters))
    {
        return (kIsSameType<Result, SystemResult> && ... && kIsSameType<Parameters, SystemParameters>);
    }
    else
    {
        return false;
    }
}

/// An operation that forwards to the imported function whose place in the import table is given.
template <typename Interface, typename Result, typename... Parameters>
void ExpectForwards(Interface& api, Result (Interface::*operation)(Parameters...), void*& importPlace, const char* name)
{
    SCOPED_TRACE(name);
    ExpectArrival<Result, Parameters...>([&](const auto&... kept) -> Result {
        const ImportPatch patch(importPlace, reinterpret_cast<void*>(&StandIn<Result, Parameters...>::Function));
        return (api.*operation)(Argument<Parameters>::Pass(kept)...);
    });
}

/// Path of a file in the system folder.
inline std::wstring InSystemFolder(const std::wstring& fileName)
{
    wchar_t folder[MAX_PATH] = {};
    ::GetSystemDirectoryW(folder, MAX_PATH);
    return std::wstring(folder) + L"\\" + fileName;
}

/// Ignores the letter case, which the system reports in more than one way.
inline void ExpectSamePath(const std::wstring& path, const std::wstring& expected)
{
    EXPECT_EQ(::_wcsicmp(path.c_str(), expected.c_str()), 0) << Narrow(path);
}

/// An operation that forwards to the function of its name in a DLL of the system folder, which its first call looks up.
/// imported: that function as the linker's import library finds it. The second call needs no look-up.
template <typename Interface, typename Result, typename... Parameters>
void ExpectForwardsLate(Interface& api, Result (Interface::*operation)(Parameters...), const wchar_t* dll,
                        const void* imported, const char* name)
{
    SCOPED_TRACE(name);
    const auto call = [&](const auto&... kept) -> Result {
        return (api.*operation)(Argument<Parameters>::Pass(kept)...);
    };
    constexpr DWORD kUntouched = 77;
    LoaderPatch loader;
    loader.AnswerWith(reinterpret_cast<void*>(&StandIn<Result, Parameters...>::Function));
    ::SetLastError(kUntouched);
    ExpectArrival<Result, Parameters...>(call);
    EXPECT_EQ(::GetLastError(), kUntouched); // neither the stand-in nor the look-up changed it
    ASSERT_EQ(loader.GetLookUps().size(), 1u);
    const LoaderPatch::LookUp& lookUp = loader.GetLookUps().front();
    EXPECT_EQ(lookUp.name, name);
    EXPECT_EQ(lookUp.found, imported);
    wchar_t path[MAX_PATH] = {};
    ::GetModuleFileNameW(lookUp.module, path, MAX_PATH);
    ExpectSamePath(path, InSystemFolder(dll));

    ExpectArrival<Result, Parameters...>(call);
    EXPECT_EQ(loader.GetLookUps().size(), 1u);
}

struct Nothing
{
};
constexpr Nothing kNothing;

/// The failure in the operation's type, even if that is a number in place of a handle.
template <typename Result, typename Failure> Result FailureAs(Failure failure)
{
    if constexpr (std::is_pointer_v<Result> && std::is_integral_v<Failure>)
    {
        return reinterpret_cast<Result>(static_cast<std::intptr_t>(failure));
    }
    else
    {
        return static_cast<Result>(failure);
    }
}

/// If the function is missing, the result is the given one and the last error is the reason.
template <typename Interface, typename Result, typename... Parameters, typename Failure>
void ExpectFailure(Interface& api, Result (Interface::*operation)(Parameters...), [[maybe_unused]] Failure failure,
                   DWORD error, const char* name)
{
    SCOPED_TRACE(name);
    const auto call = [&](const auto&... kept) -> Result {
        return (api.*operation)(Argument<Parameters>::Pass(kept)...);
    };
    ::SetLastError(ERROR_SUCCESS);
    if constexpr (std::is_void_v<Result>)
    {
        static_assert(std::is_same_v<Failure, Nothing>);
        std::apply(call, MakeArguments<Parameters...>());
    }
    else
    {
        const Result result = std::apply(call, MakeArguments<Parameters...>());
        EXPECT_EQ(result, FailureAs<Result>(failure));
    }
    EXPECT_EQ(::GetLastError(), error);
}
} // namespace KVTest

// For the list of an interface's operations; KV_INTERFACE names the interface, `api` points to it.

#define KV_DECLARE_LATE(dll, operation, failure) KV_DECLARE_IMPORT(operation)

#define KV_EXPECT_NEXT_SLOT(operation)                                                                                 \
    EXPECT_EQ(KVTest::SlotOf(&KV_INTERFACE::operation), expectedSlot++) << #operation;
#define KV_EXPECT_NEXT_SLOT_LATE(dll, operation, failure) KV_EXPECT_NEXT_SLOT(operation)

// A narrower type would still pass every value that is made up here.
#define KV_EXPECT_SAME_TYPES(operation)                                                                                \
    EXPECT_TRUE(KVTest::HasSameTypes(&KV_INTERFACE::operation, &::operation)) << #operation;

#define KV_EXPECT_FORWARDS(operation)                                                                                  \
    KV_EXPECT_SAME_TYPES(operation)                                                                                    \
    KVTest::ExpectForwards(*api, &KV_INTERFACE::operation, __imp_##operation, #operation);
#define KV_EXPECT_FORWARDS_LATE(dll, operation, failure)                                                               \
    KV_EXPECT_SAME_TYPES(operation)                                                                                    \
    KVTest::ExpectForwardsLate(*api, &KV_INTERFACE::operation, dll, __imp_##operation, #operation);

#define KV_EXPECT_FAILURE(dll, operation, failure)                                                                     \
    KVTest::ExpectFailure(*api, &KV_INTERFACE::operation, failure, error, #operation);

// For the late operations of a list, in a process that has called none of them.
#define KV_EXPECT_FAILURES(operations)                                                                                 \
    {                                                                                                                  \
        const DWORD error = ERROR_MOD_NOT_FOUND;                                                                       \
        KVTest::LoaderPatch loader;                                                                                    \
        loader.LackLibraries();                                                                                        \
        operations(KV_IGNORE, KV_EXPECT_FAILURE, KV_IGNORE)                                                            \
    }                                                                                                                  \
    {                                                                                                                  \
        const DWORD error = ERROR_PROC_NOT_FOUND;                                                                      \
        KVTest::LoaderPatch loader;                                                                                    \
        loader.LackFunctions();                                                                                        \
        operations(KV_IGNORE, KV_EXPECT_FAILURE, KV_IGNORE)                                                            \
    }

#define KV_IGNORE(...)
