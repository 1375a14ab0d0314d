#include "ga_client/SyncRequestTracker.h"

namespace GAClient
{
CSyncRequestTracker::CSyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion,
                                         bool useSsl)
    : CRequestTracker(applicationName, applicationVersion, useSsl, false)
{
}

bool CSyncRequestTracker::Start()
{
    LoadQueue();
    return true;
}

bool CSyncRequestTracker::Stop()
{
    return SaveQueue();
}
} // namespace GAClient
