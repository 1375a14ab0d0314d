#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "ga_client/QueueFileView.h"

namespace KVAnalyticsDoctor
{
/// The hits that wait for the next run.
struct QueueFindings
{
    std::wstring path; ///< empty if no file is used
    GAClient::QueueFileView view;
    bool isFull = false;                          ///< no further hit is stored
    std::optional<std::int64_t> oldestAgeSeconds; ///< of the hits that carry the time of their making, if any does
};

/// clientFolder: with a backslash at its end, or empty.
QueueFindings FindQueue(const std::wstring& clientFolder);
} // namespace KVAnalyticsDoctor
