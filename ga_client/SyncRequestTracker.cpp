#include "ga_client/SyncRequestTracker.h"

#include "ga_client/RequestOutbox.h"

namespace GAClient
{
CSyncRequestTracker::CSyncRequestTracker(const std::wstring& applicationName, const std::wstring& applicationVersion,
                                         bool useSsl)
    : CRequestTracker(applicationName, applicationVersion, useSsl, false)
{
}

bool CSyncRequestTracker::Start()
{
    GetOutbox()->Load();
    return true;
}

bool CSyncRequestTracker::Stop()
{
    return GetOutbox()->Save();
}
} // namespace GAClient
