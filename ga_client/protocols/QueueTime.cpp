#include "ga_client/protocols/QueueTime.h"

#include <windows.h>

#include <array>
#include <charconv>
#include <cwchar>

#include "ga_client/protocols/Decimal.h"
#include "winapi/KernelApi.h"

namespace Protocols::MeasurementParams
{
namespace
{
constexpr wchar_t kMark = L'#';
constexpr wchar_t kQueueTimeKey[] = L"&qt=";

// The format of a double in a text stream: six significant digits, for example 1.234e+06 for 1234 seconds, which
// servers know. Neither a stream, which follows the program's locale, nor the C runtime, which may write a three-digit
// exponent.
std::wstring FormatMilliseconds(double milliseconds)
{
    constexpr int kSignificantDigits = 6;
    std::array<char, 32> text{}; // the longest is -1.23457e+308
    const auto result = std::to_chars(text.data(), text.data() + text.size(), milliseconds, std::chars_format::general,
                                      kSignificantDigits);
    return std::wstring(text.data(), result.ptr);
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
        AppendDecimal(request, CurrentCalendarTime());
    }
}

std::wstring ConvertQueueTimeMark(const std::wstring& request)
{
    const std::optional<std::int64_t> markedTime = FindMarkedTime(request);
    return markedTime ? request.substr(0, request.find(kMark)) + kQueueTimeKey + QueueTimeSince(*markedTime) : request;
}

std::optional<std::int64_t> FindMarkedTime(const std::wstring& request)
{
    constexpr int kDecimal = 10;
    const std::size_t mark = request.find(kMark);
    if (mark == std::wstring::npos || mark + 1 == request.size())
    {
        return std::nullopt;
    }
    return std::wcstoll(request.c_str() + mark + 1, nullptr, kDecimal);
}
} // namespace Protocols::MeasurementParams
