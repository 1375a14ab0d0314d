#pragma once

#include <cstdint>
#include <string>

namespace Protocols::MeasurementParams
{
/// The calendar time in whole seconds since 1970-01-01 UTC, from `GetSystemTime`.
std::int64_t CurrentCalendarTime();

/// Appends the queue-time mark: "#" and the current calendar time in decimal. An empty request stays empty.
void AppendQueueTimeMark(std::wstring& request);

/// What is sent of a stored request at this moment: the mark replaced by "&qt=" and the milliseconds since the marked
/// time, "0" when that lies in the future. A request without "#", or with nothing after it, is returned as it is.
///
/// The first "#" decides, also one that belongs to a value: nothing is escaped in a request.
std::wstring ConvertQueueTimeMark(const std::wstring& request);
} // namespace Protocols::MeasurementParams
