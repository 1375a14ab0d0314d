#include "logging/line/LineFormat.h"

#include <windows.h>

#include <ctime>

#include "logging/line/TextFormat.h"
#include "logging/LogFlags.h"
#include "logging/system/PerformanceClock.h"

namespace KVLogging
{
namespace
{
constexpr std::int64_t kCounterModulus = 10'000'000'000; // ten digits

bool IsOn(std::uint32_t word, std::uint32_t bit) noexcept
{
    return (word & bit) != 0;
}

void AppendTime(std::wstring& prefix, ScratchBuffer& buffer, const wchar_t* format, const std::tm& time)
{
    prefix.append(buffer.data(), std::wcsftime(buffer.data(), buffer.size(), format, &time));
}

void AppendDateAndTime(std::wstring& prefix, ScratchBuffer& buffer, std::uint32_t options)
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    if (localtime_s(&local, &now) != 0)
    {
        return;
    }
    const bool isCompact = IsOn(options, kOptionCompactTime);
    if (IsOn(options, kOptionDate))
    {
        AppendTime(prefix, buffer, isCompact ? L"%Y%m%d" : L"%Y/%m/%d ", local);
    }
    if (IsOn(options, kOptionTime))
    {
        AppendTime(prefix, buffer, isCompact ? L"%H%M%S" : L"%H:%M:%S ", local);
    }
}

void AppendCounter(std::wstring& prefix, ScratchBuffer& buffer, std::uint32_t options)
{
    if (IsOn(options, kOptionCompactTime))
    {
        prefix += L':';
    }
    AppendFormatted(prefix, buffer, L"%10.10I64d ", TicksToMicroseconds(GetPerformanceTicks()) % kCounterModulus);
}

void AppendSincePrevious(std::wstring& prefix, ScratchBuffer& buffer, std::int64_t previousLine)
{
    const std::int64_t microseconds = TicksToMicroseconds(GetPerformanceTicks() - previousLine);
    AppendFormatted(prefix, buffer, L"(%6.6I64d ms) ", microseconds / 1000);
}

void AppendLineNumber(std::wstring& prefix, ScratchBuffer& buffer, int lineNumber)
{
    if (lineNumber == 0)
    {
        prefix += L"      ";
    }
    else
    {
        AppendFormatted(prefix, buffer, L"%04d: ", lineNumber);
    }
}
} // namespace

std::wstring ComposePrefix(const LinePrefix& parts, ScratchBuffer& buffer)
{
    std::wstring prefix;
    if (IsOn(parts.options, kOptionDate | kOptionTime))
    {
        AppendDateAndTime(prefix, buffer, parts.options);
    }
    if (IsOn(parts.options, kOptionCounterAndLine))
    {
        AppendCounter(prefix, buffer, parts.options);
    }
    if (IsOn(parts.options, kOptionSincePrevious))
    {
        AppendSincePrevious(prefix, buffer, parts.previousLine);
    }
    if (IsOn(parts.options, kOptionProcessTag))
    {
        prefix += parts.processTag;
    }
    if (IsOn(parts.options, kOptionThreadId))
    {
        AppendFormatted(prefix, buffer, L"{tid: 0x%04X} ", static_cast<unsigned>(::GetCurrentThreadId()));
    }
    if (IsOn(parts.options, kOptionCounterAndLine))
    {
        AppendLineNumber(prefix, buffer, parts.lineNumber);
    }
    return prefix += ComposeTags(parts.flags, buffer);
}

std::wstring ComposeTags(std::uint32_t flags, ScratchBuffer& buffer)
{
    struct Tag
    {
        std::uint32_t flag;
        const wchar_t* text; // formatted with the detail level
    };
    // Not in the order of the bits: failures come first.
    static constexpr Tag kTags[] = {
        {kLogException, L"(EX) "}, {kLogError, L"(##) "},     {kLogWarning, L"(WN) "}, {kLogHeader, L"(++) "},
        {kLogInfo, L"(I%d) "},     {kLogStatus, L"(ST) "},    {kLogDebug, L"(DB) "},   {kLogEntry, L"(->) "},
        {kLogExit, L"(<-) "},      {kLogErrorCode, L"(**) "}, {kLogLocking, L"(LK) "}, {kLogInterProcess, L"(IP) "},
    };
    std::wstring tags;
    for (const Tag& tag : kTags)
    {
        if (IsOn(flags, tag.flag))
        {
            AppendFormatted(tags, buffer, tag.text, flags & kLogDetailLevelMask);
        }
    }
    if (IsOn(flags, kLogMarkerMask))
    {
        AppendFormatted(tags, buffer, L"(M%d) ", (flags & kLogMarkerMask) >> kLogMarkerShift);
    }
    return tags;
}
} // namespace KVLogging
