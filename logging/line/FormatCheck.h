#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

// The compilers' own checks of printf formats know narrow formats only, or run in separate tools. What is checked here:
// each conversion fits the type and size of its argument, and there are as many arguments as conversions want. Signed
// and unsigned are not told apart. `%n` and conversions that the C runtime of Windows does not know are refused.
namespace KVLogging
{
/// What an argument is to the C runtime, after promotion.
enum class FormatArgument
{
    kInt32,
    kInt64,
    kDouble,
    kWideText,
    kNarrowText,
    kPointer,
    kOther, // fits no conversion
};

/// The kind of an argument of that type.
template <typename Argument> consteval FormatArgument KindOfArgument() noexcept
{
    constexpr std::size_t kInt32Size = 4;
    using Pointee = std::remove_cv_t<std::remove_pointer_t<Argument>>;
    if constexpr (std::is_same_v<Argument, float> || std::is_same_v<Argument, double>)
    {
        return FormatArgument::kDouble;
    }
    else if constexpr (!std::is_floating_point_v<Argument> && std::is_convertible_v<Argument, std::int64_t> &&
                       !std::is_class_v<Argument>)
    {
        return sizeof(Argument) <= kInt32Size ? FormatArgument::kInt32 : FormatArgument::kInt64;
    }
    else if constexpr (std::is_pointer_v<Argument> && std::is_same_v<Pointee, wchar_t>)
    {
        return FormatArgument::kWideText;
    }
    else if constexpr (std::is_pointer_v<Argument> && std::is_same_v<Pointee, char>)
    {
        return FormatArgument::kNarrowText;
    }
    else
    {
        return std::is_pointer_v<Argument> ? FormatArgument::kPointer : FormatArgument::kOther;
    }
}

/// Reads a format and holds it against the kinds of its arguments.
class CFormatCheck
{
public:
    /// arguments: count kinds, in order.
    constexpr CFormatCheck(const wchar_t* format, const FormatArgument* arguments, std::size_t count) noexcept
        : m_next(format), m_argument(arguments), m_left(count)
    {
    }

    /// True if each conversion fits its argument and none of either is left over. To be called once.
    constexpr bool Fits() noexcept
    {
        while (*m_next != L'\0')
        {
            if (*m_next++ == L'%' && !SkipIf(L'%') && !FitsConversion())
            {
                return false;
            }
        }
        return m_left == 0;
    }

private:
    // Of an argument, as the characters before the conversion give it.
    enum class Size
    {
        kNormal,
        kShort, // h
        kLong,  // l, w
        k64,    // ll, I64, and I where addresses have 64 bits
    };

    constexpr bool FitsConversion() noexcept
    {
        while (SkipIf(L'-') || SkipIf(L'+') || SkipIf(L' ') || SkipIf(L'#') || SkipIf(L'0'))
        {
        }
        if (!FitsNumber() || (SkipIf(L'.') && !FitsNumber()))
        {
            return false;
        }
        const Size size = ReadSize();
        const wchar_t conversion = *m_next;
        if (conversion == L'\0' || m_left == 0)
        {
            return false;
        }
        ++m_next;
        --m_left;
        return Accepts(conversion, size, *m_argument++);
    }

    // A width or a precision: digits, an argument for "*", or nothing.
    constexpr bool FitsNumber() noexcept
    {
        if (SkipIf(L'*'))
        {
            return m_left != 0 && m_left-- != 0 && *m_argument++ == FormatArgument::kInt32;
        }
        while (*m_next >= L'0' && *m_next <= L'9')
        {
            ++m_next;
        }
        return true;
    }

    constexpr Size ReadSize() noexcept
    {
        if (SkipIf(L'h'))
        {
            return Size::kShort;
        }
        if (SkipIf(L'I'))
        {
            if (m_next[0] == L'3' && m_next[1] == L'2')
            {
                m_next += 2;
                return Size::kNormal;
            }
            const bool is64 = m_next[0] == L'6' && m_next[1] == L'4';
            m_next += is64 ? 2 : 0;
            return is64 || sizeof(void*) == sizeof(std::int64_t) ? Size::k64 : Size::kNormal;
        }
        if (SkipIf(L'w') || SkipIf(L'l'))
        {
            return m_next[-1] == L'l' && SkipIf(L'l') ? Size::k64 : Size::kLong;
        }
        return Size::kNormal;
    }

    static constexpr bool Accepts(wchar_t conversion, Size size, FormatArgument argument) noexcept
    {
        const bool isPointer = argument == FormatArgument::kPointer || argument == FormatArgument::kWideText ||
                               argument == FormatArgument::kNarrowText;
        switch (conversion)
        {
        case L'd':
        case L'i':
        case L'o':
        case L'u':
        case L'x':
        case L'X':
            return argument == (size == Size::k64 ? FormatArgument::kInt64 : FormatArgument::kInt32);
        case L'c':
        case L'C':
            return size != Size::k64 && argument == FormatArgument::kInt32;
        case L's':
            return size != Size::k64 &&
                   argument == (size == Size::kShort ? FormatArgument::kNarrowText : FormatArgument::kWideText);
        case L'S':
            return size != Size::k64 &&
                   argument == (size == Size::kLong ? FormatArgument::kWideText : FormatArgument::kNarrowText);
        case L'p':
            return size == Size::kNormal && isPointer;
        default:
            return IsFloating(conversion) && (size == Size::kNormal || size == Size::kLong) &&
                   argument == FormatArgument::kDouble;
        }
    }

    static constexpr bool IsFloating(wchar_t conversion) noexcept
    {
        return (conversion >= L'e' && conversion <= L'g') || conversion == L'E' || conversion == L'G' ||
               conversion == L'a' || conversion == L'A';
    }

    constexpr bool SkipIf(wchar_t character) noexcept
    {
        const bool isThere = *m_next == character;
        m_next += isThere ? 1 : 0;
        return isThere;
    }

    const wchar_t* m_next;
    const FormatArgument* m_argument;
    std::size_t m_left; // arguments
};

/// True if the format fits arguments of those types.
template <typename... Arguments> constexpr bool FormatFits(const wchar_t* format) noexcept
{
    constexpr FormatArgument kArguments[] = {KindOfArgument<Arguments>()..., FormatArgument::kOther};
    return CFormatCheck(format, kArguments, sizeof...(Arguments)).Fits();
}

/// Never defined: a call of it is the compiler's error message.
void FormatDoesNotFitItsArguments();

/// A format, a constant, that the compiler has held against the types of its arguments.
template <typename... Arguments> class CCheckedFormat
{
public:
    /// Implicit, so that a literal becomes one in the call. Does not compile with a format that does not fit.
    consteval CCheckedFormat(const wchar_t* format) : m_format(format)
    {
        if (!FormatFits<Arguments...>(format))
        {
            FormatDoesNotFitItsArguments();
        }
    }
    /// The format itself.
    constexpr const wchar_t* Get() const noexcept { return m_format; }

private:
    const wchar_t* m_format;
};
} // namespace KVLogging
