#include "logging/line/LineFormat.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "logging/LogFlags.h"
#include "logging/system/PerformanceClock.h"
#include "utils/base/Decimal.h"

namespace KVLogging
{
namespace
{
constexpr std::int64_t kCounterModulus = 10'000'000'000; // ten digits

bool IsOn(std::uint32_t word, std::uint32_t bit) noexcept
{
    return (word & bit) != 0;
}

// With zeros before the number up to that many digits.
void AppendPadded(std::wstring& text, std::int64_t number, std::size_t digitCount)
{
    const KVUtils::CDecimalText decimal(number);
    std::wstring_view digits = decimal.View();
    if (number < 0)
    {
        text += L'-';
        digits.remove_prefix(1);
    }
    text.append(digitCount - std::min(digitCount, digits.size()), L'0');
    text += digits;
}

// Three numbers between separators, then a blank; a compact time has neither. The second and third have two digits.
void AppendTriple(std::wstring& prefix, std::wstring_view separator, std::size_t digitCount,
                  const std::array<WORD, 3>& numbers)
{
    AppendPadded(prefix, numbers[0], digitCount);
    prefix += separator;
    AppendPadded(prefix, numbers[1], 2);
    prefix += separator;
    AppendPadded(prefix, numbers[2], 2);
    prefix += separator.empty() ? L"" : L" ";
}

void AppendDateAndTime(std::wstring& prefix, std::uint32_t options)
{
    SYSTEMTIME now{};
    ::GetLocalTime(&now);
    const bool isCompact = IsOn(options, kOptionCompactTime);
    if (IsOn(options, kOptionDate))
    {
        AppendTriple(prefix, isCompact ? L"" : L"/", 4, {now.wYear, now.wMonth, now.wDay});
    }
    if (IsOn(options, kOptionTime))
    {
        AppendTriple(prefix, isCompact ? L"" : L":", 2, {now.wHour, now.wMinute, now.wSecond});
    }
}

void AppendCounter(std::wstring& prefix, std::uint32_t options)
{
    if (IsOn(options, kOptionCompactTime))
    {
        prefix += L':';
    }
    AppendPadded(prefix, TicksToMicroseconds(GetPerformanceTicks()) % kCounterModulus, 10);
    prefix += L' ';
}

void AppendSincePrevious(std::wstring& prefix, std::int64_t previousLine)
{
    const std::int64_t microseconds = TicksToMicroseconds(GetPerformanceTicks() - previousLine);
    prefix += L'(';
    AppendPadded(prefix, microseconds / 1000, 6);
    prefix += L" ms) ";
}

// In upper-case hexadecimal, of four digits at least.
void AppendThreadId(std::wstring& prefix)
{
    const DWORD id = ::GetCurrentThreadId();
    prefix += L"{tid: 0x";
    for (int shift = 28; shift >= 0; shift -= 4)
    {
        if (shift <= 12 || (id >> shift) != 0)
        {
            prefix += L"0123456789ABCDEF"[(id >> shift) & 0xF];
        }
    }
    prefix += L"} ";
}

void AppendLineNumber(std::wstring& prefix, int lineNumber)
{
    if (lineNumber == 0)
    {
        prefix += L"      ";
        return;
    }
    AppendPadded(prefix, lineNumber, lineNumber < 0 ? 3 : 4); // four characters, with a sign
    prefix += L": ";
}

void AppendTag(std::wstring& prefix, wchar_t letter, std::uint32_t number)
{
    prefix += L'(';
    prefix += letter;
    KVUtils::AppendDecimal(prefix, number);
    prefix += L") ";
}
} // namespace

std::wstring ComposePrefix(const LinePrefix& parts)
{
    constexpr std::size_t kUsualLength = 128;
    std::wstring prefix;
    prefix.reserve(kUsualLength);
    if (IsOn(parts.options, kOptionDate | kOptionTime))
    {
        AppendDateAndTime(prefix, parts.options);
    }
    if (IsOn(parts.options, kOptionCounterAndLine))
    {
        AppendCounter(prefix, parts.options);
    }
    if (IsOn(parts.options, kOptionSincePrevious))
    {
        AppendSincePrevious(prefix, parts.previousLine);
    }
    if (IsOn(parts.options, kOptionProcessTag))
    {
        prefix += parts.processTag;
    }
    if (IsOn(parts.options, kOptionThreadId))
    {
        AppendThreadId(prefix);
    }
    if (IsOn(parts.options, kOptionCounterAndLine))
    {
        AppendLineNumber(prefix, parts.lineNumber);
    }
    AppendTags(prefix, parts.flags);
    return prefix;
}

void AppendTags(std::wstring& prefix, std::uint32_t flags)
{
    struct Tag
    {
        std::uint32_t flag;
        const wchar_t* text; // null: the letter I with the detail level
    };
    // Not in the order of the bits: failures come first.
    static constexpr Tag kTags[] = {
        {kLogException, L"(EX) "}, {kLogError, L"(##) "},     {kLogWarning, L"(WN) "}, {kLogHeader, L"(++) "},
        {kLogInfo, nullptr},       {kLogStatus, L"(ST) "},    {kLogDebug, L"(DB) "},   {kLogEntry, L"(->) "},
        {kLogExit, L"(<-) "},      {kLogErrorCode, L"(**) "}, {kLogLocking, L"(LK) "}, {kLogInterProcess, L"(IP) "},
    };
    for (const Tag& tag : kTags)
    {
        if (!IsOn(flags, tag.flag))
        {
            continue;
        }
        if (tag.text != nullptr)
        {
            prefix += tag.text;
        }
        else
        {
            AppendTag(prefix, L'I', flags & kLogDetailLevelMask);
        }
    }
    if (IsOn(flags, kLogMarkerMask))
    {
        AppendTag(prefix, L'M', (flags & kLogMarkerMask) >> kLogMarkerShift);
    }
}
} // namespace KVLogging
