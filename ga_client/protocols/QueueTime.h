#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Protocols::MeasurementParams
{
/// Whole seconds since 1970-01-01 UTC (`GetSystemTime`).
std::int64_t CurrentCalendarTime();

/// Appends the queue-time mark: "#" and the current calendar time in decimal. An empty request stays empty.
void AppendQueueTimeMark(std::wstring& request);

/// The form of a stored request that is sent now: the mark is replaced by "&qt=" and the milliseconds since the marked
/// time, or "0" if that is in the future. A request without "#", or with nothing after it, is unchanged.
///
/// The first "#" counts as the mark, even if it belongs to a value: nothing is escaped in a request.
std::wstring ConvertQueueTimeMark(const std::wstring& request);

/// The mark of a stored request.
struct QueueTimeMark
{
    std::size_t position = std::wstring::npos; ///< in code units; npos if the request is sent unchanged
    std::int64_t time = 0;                     ///< the number behind the mark, 0 if it is none
};
QueueTimeMark FindQueueTimeMark(const std::wstring& request);
} // namespace Protocols::MeasurementParams
