#include "logging/line/FormatCheck.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

// Everything here is decided by the compiler; what must not compile is in FormatRefusals.cpp.
namespace
{
using KVLogging::FormatFits;

enum Unscoped : int
{
    kUnscoped
};
enum class Scoped : int
{
    kScoped
};
struct Anything
{
};

TEST(FormatCheckTests, TextWithoutConversions_WantsNoArguments)
{
    static_assert(FormatFits<>(L""));
    static_assert(FormatFits<>(L"text"));
    static_assert(FormatFits<>(L"100%% sure"));
    static_assert(!FormatFits<int>(L"text"));
    static_assert(!FormatFits<int>(L"100%%"));
}

TEST(FormatCheckTests, NumberOfArguments_MustBeExact)
{
    static_assert(FormatFits<int, const wchar_t*>(L"%d is %s"));
    static_assert(!FormatFits<int>(L"%d is %s"));
    static_assert(!FormatFits<>(L"%d"));
    static_assert(!FormatFits<int, int>(L"%d"));
}

TEST(FormatCheckTests, Integers_BySize)
{
    static_assert(FormatFits<int, unsigned, long, DWORD, short, wchar_t, bool>(L"%d %u %ld %lu %hd %x %i"));
    static_assert(FormatFits<Unscoped>(L"%d"));
    static_assert(FormatFits<std::int64_t, std::uint64_t, std::size_t>(L"%I64d %llu %Iu"));
    static_assert(FormatFits<int>(L"%I32d"));
    static_assert(!FormatFits<std::int64_t>(L"%d"));
    static_assert(!FormatFits<std::int64_t>(L"%ld"));
    static_assert(!FormatFits<int>(L"%I64d"));
    static_assert(!FormatFits<double>(L"%d"));
    static_assert(!FormatFits<const wchar_t*>(L"%x"));
    static_assert(!FormatFits<Scoped>(L"%d"));
    static_assert(!FormatFits<Anything>(L"%d"));
}

TEST(FormatCheckTests, Characters_AreIntegers)
{
    static_assert(FormatFits<wchar_t, char, int>(L"%c%C%hc"));
    static_assert(!FormatFits<const wchar_t*>(L"%c"));
}

TEST(FormatCheckTests, Texts_AreWideUnlessTheFormatSaysNarrow)
{
    static_assert(FormatFits<const wchar_t*, wchar_t*, const wchar_t*>(L"%s %ls %ws"));
    static_assert(FormatFits<const char*, char*>(L"%hs %S"));
    static_assert(FormatFits<const wchar_t*>(L"%lS"));
    static_assert(!FormatFits<const char*>(L"%s"));
    static_assert(!FormatFits<const wchar_t*>(L"%S"));
    static_assert(!FormatFits<const wchar_t*>(L"%hs"));
    static_assert(!FormatFits<std::nullptr_t>(L"%s"));
    static_assert(!FormatFits<const void*>(L"%s"));
    static_assert(!FormatFits<int>(L"%s"));
}

TEST(FormatCheckTests, FloatingPointNumbers_AreDoubles)
{
    static_assert(FormatFits<double, float, double, double>(L"%f %g %E %lf"));
    static_assert(!FormatFits<int>(L"%f"));
    static_assert(!FormatFits<double>(L"%Lf"));
}

TEST(FormatCheckTests, Pointers_AreOfAnyType)
{
    static_assert(FormatFits<const void*, HANDLE, const wchar_t*>(L"%p %p %p"));
    static_assert(!FormatFits<std::uintptr_t>(L"%p"));
}

TEST(FormatCheckTests, FlagsWidthAndPrecision)
{
    static_assert(FormatFits<int, int, double, const wchar_t*>(L"%-08d %#x %+10.3f %.5s"));
    static_assert(FormatFits<int, int>(L"%*d"));
    static_assert(FormatFits<int, int, const wchar_t*>(L"%-*.*s"));
    static_assert(!FormatFits<int>(L"%*d"));
    static_assert(!FormatFits<std::int64_t, int>(L"%*d"));
}

TEST(FormatCheckTests, UnknownAndUnfinishedConversions_AreRefused)
{
    static_assert(!FormatFits<int*>(L"%n"));
    static_assert(!FormatFits<int>(L"%q"));
    static_assert(!FormatFits<int>(L"%"));
    static_assert(!FormatFits<int>(L"%-5"));
    static_assert(!FormatFits<std::size_t>(L"%zu"));
}
} // namespace
