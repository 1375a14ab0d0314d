#include "doctor/findings/QueueFindings.h"

#include <algorithm>

#include "ga_client/protocols/QueueTime.h"
#include "ga_client/QueueFileFormat.h"
#include "ga_client/QueueFileReading.h"

namespace KVAnalyticsDoctor
{
namespace
{
std::optional<std::int64_t> FindOldestAge(const std::vector<std::wstring>& requests)
{
    const std::int64_t now = Protocols::MeasurementParams::CurrentCalendarTime();
    std::optional<std::int64_t> oldest;
    for (const std::wstring& request : requests)
    {
        const Protocols::MeasurementParams::QueueTimeMark mark =
            Protocols::MeasurementParams::FindQueueTimeMark(request);
        if (mark.position != std::wstring::npos)
        {
            // A file can hold any number; none from before 1970 or from the future is an age.
            const std::int64_t age = now - std::clamp<std::int64_t>(mark.time, 0, now);
            oldest = std::max(oldest.value_or(0), age);
        }
    }
    return oldest;
}
} // namespace

QueueFindings FindQueue(const std::wstring& clientFolder)
{
    QueueFindings findings;
    if (clientFolder.empty())
    {
        return findings;
    }
    findings.path = GAClient::GetQueueFilePath(clientFolder);
    findings.view = GAClient::ViewQueueFile(findings.path);
    findings.isFull = findings.view.size >= GAClient::kFullQueueFileSize;
    findings.oldestAgeSeconds = FindOldestAge(findings.view.requests);
    return findings;
}
} // namespace KVAnalyticsDoctor
