#include "ga_client/protocols/QueueTime.h"

#include <windows.h>

#include <cwchar>

#include "utils/base/Decimal.h"
#include "winapi/KernelApi.h"

namespace Protocols::MeasurementParams
{
namespace
{
constexpr wchar_t kMark = L'#';
constexpr wchar_t kQueueTimeKey[] = L"&qt=";

// The six significant digits of a number from 100000 on, and the power of ten of the first: 1234000 is 123400 and 6.
struct SignificantDigits
{
    std::uint64_t digits = 0;
    int exponent = 0;
};

// The nearest whole quotient; of two that are equally near the even one. The divisor is below 2^63.
std::uint64_t DivideAndRound(std::uint64_t number, std::uint64_t divisor)
{
    const std::uint64_t quotient = number / divisor;
    const std::uint64_t twice = number % divisor * 2;
    const bool isNearerToNext = twice > divisor || (twice == divisor && quotient % 2 != 0);
    return isNearerToNext ? quotient + 1 : quotient;
}

// Of a whole number from 100000 to 2^75.
SignificantDigits RoundToSixDigits(double number)
{
    constexpr double kTwoTo64 = 18446744073709551616.0;
    constexpr double kTwoTo12 = 4096.0;
    constexpr std::uint64_t kFiveTo12 = 244140625;
    constexpr std::uint64_t kSmallestSixDigits = 100000;
    constexpr std::uint64_t kSmallestSevenDigits = 1000000;
    constexpr int kExponentOfSixDigits = 5;
    // A double from 2^64 on is a multiple of 2^12. Number and power of ten are divided by it, so that both fit.
    const bool isLarge = number >= kTwoTo64;
    const auto whole = static_cast<std::uint64_t>(isLarge ? number / kTwoTo12 : number);
    std::uint64_t power = isLarge ? kFiveTo12 : 1;
    SignificantDigits result{0, isLarge ? 12 + kExponentOfSixDigits : kExponentOfSixDigits};
    for (; whole / power >= kSmallestSevenDigits; power *= 10)
    {
        ++result.exponent;
    }
    result.digits = DivideAndRound(whole, power);
    if (result.digits == kSmallestSevenDigits)
    {
        return {kSmallestSixDigits, result.exponent + 1};
    }
    return result;
}

// The format of a double in a text stream: six significant digits, for example 1.234e+06 for 1234 seconds, which
// servers know. Not by the standard library or the C runtime: a stream follows the program's locale, the runtime may
// write a three-digit exponent, and g++'s std::to_chars of a double adds 174 KB. The milliseconds are whole.
std::wstring FormatMilliseconds(double milliseconds)
{
    constexpr double kFirstWithExponent = 1e6;
    if (milliseconds < kFirstWithExponent)
    {
        return KVUtils::ToDecimal(static_cast<std::int64_t>(milliseconds));
    }
    const auto [digits, exponent] = RoundToSixDigits(milliseconds);
    std::wstring text = KVUtils::ToDecimal(static_cast<std::int64_t>(digits));
    text.insert(1, 1, L'.');
    text.erase(text.find_last_not_of(L'0') + 1);
    if (text.back() == L'.')
    {
        text.pop_back();
    }
    text += exponent < 10 ? L"e+0" : L"e+";
    KVUtils::AppendDecimal(text, exponent);
    return text;
}

std::wstring QueueTimeSince(std::int64_t markedTime)
{
    // Converted before the subtraction, which would overflow for some of the numbers that a file can hold.
    const double seconds = static_cast<double>(CurrentCalendarTime()) - static_cast<double>(markedTime);
    return seconds > 0.0 ? FormatMilliseconds(seconds * 1000.0) : L"0";
}
} // namespace

std::int64_t CurrentCalendarTime()
{
    constexpr std::uint64_t kTicksPerSecond = 10000000;
    constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
    SYSTEMTIME now{};
    FILETIME ticks{};
    KVWinApi::g_kernelApi->GetSystemTime(&now);
    ::SystemTimeToFileTime(&now, &ticks);
    const std::uint64_t since1601 = (static_cast<std::uint64_t>(ticks.dwHighDateTime) << 32) | ticks.dwLowDateTime;
    return static_cast<std::int64_t>(since1601 / kTicksPerSecond) - kSecondsFrom1601To1970;
}

void AppendQueueTimeMark(std::wstring& request)
{
    if (!request.empty())
    {
        request += kMark;
        KVUtils::AppendDecimal(request, CurrentCalendarTime());
    }
}

std::wstring ConvertQueueTimeMark(const std::wstring& request)
{
    const QueueTimeMark mark = FindQueueTimeMark(request);
    if (mark.position == std::wstring::npos)
    {
        return request;
    }
    return request.substr(0, mark.position) + kQueueTimeKey + QueueTimeSince(mark.time);
}

QueueTimeMark FindQueueTimeMark(const std::wstring& request)
{
    constexpr int kDecimal = 10;
    QueueTimeMark mark;
    const std::size_t position = request.find(kMark);
    if (position != std::wstring::npos && position + 1 != request.size())
    {
        mark.position = position;
        mark.time = std::wcstoll(request.c_str() + position + 1, nullptr, kDecimal);
    }
    return mark;
}
} // namespace Protocols::MeasurementParams
